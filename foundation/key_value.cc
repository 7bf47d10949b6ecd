// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/key_value.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "capi/util.h"
#include "foundation/file.h"
#include "foundation/text.h"

namespace capi {
namespace {

constexpr size_t kMaxKey = 255;
constexpr size_t kMaxValue = 1023;

void cut_at(char* text, const char* any_of) { text[strcspn(text, any_of)] = '\0'; }

// Values of these files never hold blanks. Returns the length that is left.
size_t squeeze(char* text, size_t max_length) {
  char* end = std::remove_if(text, text + strlen(text), is_blank_or_control);
  const size_t length = std::min(static_cast<size_t>(end - text), max_length);
  text[length] = '\0';
  return length;
}

}  // namespace

bool KeyValueParser::parse(char* line) {
  if (line[0] == '\n' || line[0] == '\r' || line[0] == '#') return false;
  cut_at(line, ";#");
  if (char* equals = strchr(line, '=')) return parse_item(line, equals);
  enter_section(line);
  return false;
}

bool KeyValueParser::parse_item(char* line, char* equals) {
  *equals = '\0';
  char* value = equals + 1;
  cut_at(value, "\n\r");
  if (squeeze(line, kMaxKey) == 0 || squeeze(value, kMaxValue) == 0) return false;
  key_ = line;
  value_ = value;
  return true;
}

void KeyValueParser::enter_section(char* line) {
  if (line[0] != '[') return;
  char* end = strchr(line, ']');
  if (end == nullptr) return;
  *end = '\0';
  char* name = line + 1;
  const size_t length = squeeze(name, kKeyValueLineSize - 1);
  memcpy(section_, name, length + 1);
}

void for_each_item(FILE* file, ItemHandler handle) {
  KeyValueParser parser;
  char line[kKeyValueLineSize];
  while (fgets(line, sizeof line, file) != nullptr) {
    if (parser.parse(line)) handle(parser.section(), parser.key(), parser.value());
  }
}

bool for_each_item(const char* path, ItemHandler handle) {
  const File file = open_file(path, "r+t");
  if (!file) return false;
  for_each_item(file.get(), handle);
  return true;
}

}  // namespace capi

int config_file_reader(const char* path, config_item_cb item_cb) {
  if (path == nullptr || item_cb == nullptr) return -1;
  return capi::for_each_item(path, item_cb) ? 0 : -1;
}

int config_file_writer(const char* path, config_line_cb line_cb, void* ctx) {
  if (path == nullptr || line_cb == nullptr) return 0;
  unlink(path);
  const capi::File file = capi::open_file(path, "wb+");
  if (!file) return 0;
  char buf[capi::kKeyValueLineSize] = {};
  for (int index = 1;; ++index) {
    const int produced = line_cb(index, buf, ctx);
    if (produced == 0) break;
    if (produced < 0) continue;
    const size_t count = std::min(static_cast<size_t>(produced), sizeof buf - 1);
    buf[count] = '\0';
    fwrite(buf, 1, count, file.get());
  }
  fflush(file.get());
  return 1;
}
