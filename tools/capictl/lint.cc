// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "lint.h"

#include <algorithm>
#include <sstream>

#include "keys.h"
#include "table.h"

namespace capictl {
namespace {

// The loader's limits: a line with its end, a key, a value.
constexpr size_t kMaxLine = 2047;
constexpr size_t kMaxKey = 255;
constexpr size_t kMaxValue = 1023;

bool is_blank(char c) { return static_cast<unsigned char>(c) <= ' '; }

std::string trimmed(const std::string& text) {
  const auto first = std::find_if_not(text.begin(), text.end(), is_blank);
  const auto last = std::find_if_not(text.rbegin(), text.rend(), is_blank).base();
  return first < last ? std::string(first, last) : "";
}

std::string squeezed(std::string text) {
  text.erase(std::remove_if(text.begin(), text.end(), is_blank), text.end());
  return text;
}

// Checks line by line, as the loader reads.
class Linter {
 public:
  void check(const std::string& line);
  std::vector<Finding> take() { return std::move(findings_); }

 private:
  void find(const std::string& text) { findings_.push_back({number_, text}); }
  void check_section(const std::string& line);
  void check_item(const std::string& line, size_t equals);
  void check_value(const Key& key, const std::string& name, const std::string& value);
  // The text without its blanks; tells when some within it vanish.
  std::string without_blanks(const std::string& text, const std::string& what);

  int number_ = 0;
  std::string section_;
  bool in_section_ = false;
  bool section_is_known_ = true;
  std::vector<Finding> findings_;
};

void Linter::check(const std::string& line) {
  ++number_;
  if (line.empty() || line[0] == '\r' || line[0] == '#') return;
  if (line.size() + 1 > kMaxLine) {
    find("longer than " + std::to_string(kMaxLine - 1) + " characters: taken in pieces");
    return;
  }
  const size_t cut = line.find_first_of(";#");
  const std::string kept = line.substr(0, cut);
  const size_t equals = kept.find('=');
  if (equals == std::string::npos) {
    if (line.find('=') != std::string::npos && !trimmed(kept).empty()) {
      find(std::string("\"") + line[cut] + "\" cuts the line in front of its \"=\": ignored");
    } else {
      check_section(kept);
    }
    return;
  }
  if (cut != std::string::npos) {
    find(std::string("\"") + line[cut] + "\" ends the value: what follows is ignored");
  }
  check_item(kept, equals);
}

void Linter::check_section(const std::string& line) {
  if (trimmed(line).empty()) return;
  const size_t end = line.find(']');
  if (line[0] != '[' || end == std::string::npos) {
    find("neither [SECTION] nor KEY=VALUE: ignored");
    return;
  }
  section_ = without_blanks(line.substr(1, end - 1), "section");
  in_section_ = true;
  const Meaning meaning = meaning_of_section(section_);
  section_is_known_ = meaning == Meaning::Key;
  if (meaning == Meaning::UnknownSection) {
    find("unknown section \"" + section_ + "\": all its lines are ignored");
  } else if (meaning == Meaning::OutOfRange) {
    find("there is no section \"" + section_ +
         "\", its number is out of range: all its lines are "
         "ignored");
  }
}

void Linter::check_item(const std::string& line, size_t equals) {
  const std::string name = without_blanks(line.substr(0, equals), "key").substr(0, kMaxKey);
  const std::string value = without_blanks(line.substr(equals + 1), "value");
  if (name.empty()) return find("no key in front of \"=\": ignored");
  if (value.empty()) return find(name + " has no value: ignored");
  if (!in_section_) return find(name + " stands in front of the first section: ignored");
  if (!section_is_known_) return;
  switch (meaning_of(section_, name)) {
    case Meaning::Key:
      check_value(*find_key(section_, name), name, value);
      break;
    case Meaning::OutOfRange:
      find("the number in " + name + " is out of range: ignored");
      break;
    case Meaning::UnknownKey:
    case Meaning::UnknownSection:
      find("unknown key " + name + ": ignored");
      break;
  }
}

void Linter::check_value(const Key& key, const std::string& name, const std::string& value) {
  const Stored stored = loaded_value(key, value.substr(0, kMaxValue));
  if (!stored.loss.empty()) return find(name + ": " + stored.loss);
  if (value.size() > kMaxValue)
    find(name + ": too long: cut to " + std::to_string(kMaxValue) + " characters");
}

std::string Linter::without_blanks(const std::string& text, const std::string& what) {
  const std::string inner = trimmed(text);
  std::string result = squeezed(inner);
  if (result.size() != inner.size())
    find("the blanks in the " + what + " vanish: " + printable(result));
  return result;
}

}  // namespace

std::vector<Finding> lint(const std::string& content) {
  Linter linter;
  std::istringstream in(content);
  for (std::string line; std::getline(in, line);) linter.check(line);
  return linter.take();
}

}  // namespace capictl
