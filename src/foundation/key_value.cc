// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/key_value.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include "capi/util.h"
#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/memory.h"
#include "foundation/text.h"

namespace capi {
namespace {

constexpr size_t kMaxKey = 255;
constexpr size_t kMaxValue = 1023;

// What a character means. Values of these files never hold blanks.
enum Class : uint8_t {
  kText = 0,
  kBlank = 1,  // control characters too; goes
  kLineEnd = 2,
  kCut = 4,  // a comment begins, or the text ends
  kEquals = 8,
};

consteval std::array<uint8_t, 256> classify() {
  std::array<uint8_t, 256> classes{};
  for (size_t c = 0; c < classes.size(); ++c) {
    if (is_blank_or_control(static_cast<char>(c))) classes[c] = kBlank;
  }
  classes['\n'] = classes['\r'] = kBlank | kLineEnd;
  classes['\0'] = classes[';'] = classes['#'] = kCut;
  classes['='] = kEquals;
  return classes;
}

constexpr std::array<uint8_t, 256> kClasses = classify();

uint8_t class_of(char c) { return kClasses[static_cast<unsigned char>(c)]; }

// A piece of a line without its blanks, and where it ended.
struct Squeezed {
  size_t length;
  char* end;
};

// Takes the blanks out of a text, in place, up to a character of one of these classes. Most texts
// have none, so that nothing has to move.
Squeezed squeeze(char* text, unsigned stops) {
  char* to = text;
  char* from = text;
  for (;;) {
    const char* run = from;
    while ((class_of(*from) & (stops | kBlank)) == 0) ++from;
    const auto length = static_cast<size_t>(from - run);
    if (to != run) memmove(to, run, length);
    to += length;
    if ((class_of(*from) & stops) != 0) return {static_cast<size_t>(to - text), from};
    ++from;
  }
}

// Takes a file in the pieces that fgets() would give, in blocks: line by line the C library takes
// longer than all that is done with a line.
class PieceReader {
 public:
  explicit PieceReader(FILE* file) : file_(file) {}

  // The next piece, to be edited at will until the one after it; null at the end of the file.
  char* next() {
    buffer_[begin_] = under_terminator_;
    size_t length = piece_length();
    if (length == 0) {
      refill();
      length = piece_length();
      if (length == 0) length = rest_length();
      if (length == 0) return nullptr;
    }
    char* piece = buffer_ + begin_;
    begin_ += length;
    under_terminator_ = buffer_[begin_];
    buffer_[begin_] = '\0';
    return piece;
  }

 private:
  static constexpr size_t kMaxPiece = kKeyValueLineSize - 1;
  static constexpr size_t kBlock = 2 * kKeyValueLineSize;

  // Of a piece that is here to its end; else 0.
  size_t piece_length() const {
    const char* piece = buffer_ + begin_;
    const size_t size = std::min(end_ - begin_, kMaxPiece);
    const auto* newline = static_cast<const char*>(memchr(piece, '\n', size));
    if (newline != nullptr) return static_cast<size_t>(newline + 1 - piece);
    return size == kMaxPiece ? size : 0;
  }

  // Of what the file ends with. A line that a read error cut is none.
  size_t rest_length() const { return ferror(file_) == 0 ? end_ - begin_ : 0; }

  void refill() {
    end_ -= begin_;
    memmove(buffer_, buffer_ + begin_, end_);
    begin_ = 0;
    end_ += fread(buffer_ + end_, 1, kBlock - end_, file_);
  }

  FILE* file_;
  size_t begin_ = 0;
  size_t end_ = 0;
  char under_terminator_ = '\0';
  char buffer_[kBlock + 1] = {};  // one for a terminator
};

}  // namespace

bool KeyValueParser::parse(char* line) {
  if (line[0] == '\n' || line[0] == '\r' || line[0] == '#') return false;
  const bool is_section = line[0] == '[';
  const Squeezed key = squeeze(line, kEquals | kCut);
  if (*key.end != '=') {
    line[key.length] = '\0';
    if (is_section) enter_section(line);
    return false;
  }
  char* text = key.end + 1;
  const Squeezed value = squeeze(text, kLineEnd | kCut);
  if (key.length == 0 || value.length == 0) return false;
  line[std::min(key.length, kMaxKey)] = '\0';
  text[std::min(value.length, kMaxValue)] = '\0';
  key_ = line;
  value_ = text;
  return true;
}

void KeyValueParser::enter_section(const char* line) {
  const char* name = line + 1;
  const char* end = strchr(name, ']');
  if (end == nullptr) return;
  const auto length = static_cast<size_t>(end - name);
  memcpy(section_, name, length);
  section_[length] = '\0';
}

bool for_each_item(FILE* file, ItemHandler handle) {
  // A thread's stack may be too small for them, and for the handler behind them.
  struct Reading {
    PieceReader pieces;
    KeyValueParser parser;
  };
  const Allocated<Reading> reading(static_cast<Reading*>(malloc(sizeof(Reading))));
  if (!reading) return false;
  auto& [pieces, parser] = *new (reading.get()) Reading{PieceReader(file), {}};
  while (char* piece = pieces.next()) {
    if (parser.parse(piece)) handle(parser.section(), parser.key(), parser.value());
  }
  return true;
}

bool for_each_item(const char* path, ItemHandler handle) {
  const File file = open_file(path, "r+t");
  return file && for_each_item(file.get(), handle);
}

}  // namespace capi

int config_file_reader(const char* path, config_item_cb item_cb) {
  if (path == nullptr || item_cb == nullptr) return -1;
  return capi::for_each_item(path, item_cb) ? 0 : -1;
}

int config_file_writer(const char* path, config_line_cb line_cb, void* ctx) {
  using namespace capi;
  if (path == nullptr || line_cb == nullptr) return 0;
  FileReplacement file(path, OddFile::Replaced);
  char buf[kKeyValueLineSize + 1] = {};  // one for a terminator
  for (int index = 1; file.is_open(); ++index) {
    const int produced = line_cb(index, buf, ctx);
    if (produced == 0) break;
    if (produced < 0) continue;
    const size_t count = std::min(static_cast<size_t>(produced), sizeof buf - 1);
    buf[count] = '\0';
    file.write(buf, count);
  }
  if (!file.is_open() || !file.commit()) log_not_written(__func__, path);
  return file.is_open() ? 1 : 0;
}
