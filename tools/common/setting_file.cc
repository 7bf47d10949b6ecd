// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "setting_file.h"

#include <algorithm>
#include <map>

#include "table.h"
#include "value.h"

namespace tools {
namespace {

// The loader's limits: a line with its end, a key, a value.
constexpr size_t kMaxLine = 2047;
constexpr size_t kMaxKey = 255;
constexpr size_t kMaxValue = 1023;

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

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

bool is_quoted(const std::string& text) {
  return text.size() > 1 && text.front() == text.back() &&
         (text.front() == '"' || text.front() == '\'');
}

// Where a name that the section does not have may come from; empty where nobody can tell.
std::string origin_of(const std::string& section, const std::string& name) {
  for (const Key& key : all_keys()) {
    if (key.section == section && key.field() == name) return "; it is spelled " + key.name;
  }
  for (const Key& key : all_keys()) {
    if (key.name == name) return "; that is one of section \"" + key.section + "\"";
  }
  return "";
}

// Reads line by line, as the loader does.
class Reader {
 public:
  void read(std::string line);
  Settings take() { return std::move(settings_); }

 private:
  void add(bool is_error, const std::string& text) {
    settings_.findings.push_back({number_, is_error, text});
  }
  void refuse(const std::string& text) { add(true, text); }
  void warn(const std::string& text) { add(false, text); }

  // The part of a line in front of what the loader cuts off, as it does with a comment.
  std::string cut(const std::string& line);
  void read_section(const std::string& line);
  void read_item(const std::string& line, size_t equals);
  void refuse_item(const std::string& name);
  void read_value(const Key& key, const std::string& name, const std::string& value);
  void look_for_another(const Key& key);
  // The text without its blanks; tells when some within it vanish, which changes a value.
  std::string without_blanks(const std::string& text, const std::string& what,
                             bool is_value = false);

  int number_ = 0;
  std::string section_;
  bool section_is_known_ = true;
  std::map<const Key*, int> lines_;  // where a key was set
  Settings settings_;
};

void Reader::read(std::string line) {
  ++number_;
  if (number_ == 1 && line.starts_with(kByteOrderMark)) {
    refuse("a byte order mark stands in front of the line, which is ignored for it");
    return;
  }
  const size_t end = line.find('\0');
  if (end != std::string::npos) {
    refuse("a NUL character ends the line: what follows is ignored");
    line.erase(end);
  }
  if (line.empty() || line[0] == '\r' || line[0] == '#') return;
  if (line.size() + 1 > kMaxLine) {
    refuse("longer than " + std::to_string(kMaxLine - 1) + " characters: taken in pieces");
    return;
  }
  const std::string kept = cut(line);
  const size_t equals = kept.find('=');
  if (equals != std::string::npos) {
    read_item(kept, equals);
  } else if (kept.size() == line.size() || line.find('=') == std::string::npos ||
             trimmed(kept).empty() || kept[0] == '[') {
    read_section(kept);
  }
}

std::string Reader::cut(const std::string& line) {
  const size_t end = line.find_first_of(";#");
  const size_t equals = line.find('=');
  if (end == std::string::npos || equals == std::string::npos) return line.substr(0, end);
  const std::string character = std::string("\"") + line[end] + "\"";
  const bool is_comment = end > 0 && is_blank(line[end - 1]);
  if (end > equals && !is_comment) {
    refuse(character + " ends the value: what follows is ignored");
  } else if (end < equals && !trimmed(line.substr(0, end)).empty() && line[0] != '[') {
    refuse(character + " cuts the line in front of its \"=\": ignored");
  }
  return line.substr(0, end);
}

void Reader::read_section(const std::string& line) {
  if (trimmed(line).empty()) return;
  const size_t end = line.find(']');
  if (line[0] != '[' || end == std::string::npos) {
    return refuse("neither [SECTION] nor KEY=VALUE: ignored");
  }
  if (!trimmed(line.substr(end + 1)).empty()) warn("what stands behind the \"]\" is ignored");
  section_ = without_blanks(line.substr(1, end - 1), "the section");
  char sentence[CAPI_KEYS_SENTENCE];
  const int wrong = capi_keys_check(section_.c_str(), "", "", sentence, sizeof sentence);
  section_is_known_ = wrong != CAPI_KEY_UNKNOWN_SECTION;
  if (!section_is_known_) refuse(std::string(sentence) + ": all its lines are ignored");
}

void Reader::read_item(const std::string& line, size_t equals) {
  const std::string name = without_blanks(line.substr(0, equals), "the key").substr(0, kMaxKey);
  const std::string written = line.substr(equals + 1);
  const std::string value = without_blanks(written.substr(0, written.find('\r')), name, true);
  if (name.empty()) return refuse("no key in front of \"=\": ignored");
  if (value.empty()) return warn(name + " has no value: ignored");
  if (section_.empty()) return refuse(name + " stands in front of the first section: ignored");
  if (!section_is_known_) return;
  const Key* key = find_key(section_, name);
  if (key == nullptr) return refuse_item(name);
  const bool is_odd = key->section != section_ || key->name != name;
  if (is_odd) {
    char sentence[CAPI_KEYS_SENTENCE];
    capi_keys_check(section_.c_str(), name.c_str(), "", sentence, sizeof sentence);
    warn(sentence);
  }
  look_for_another(*key);
  read_value(*key, name, value);
}

void Reader::refuse_item(const std::string& name) {
  char sentence[CAPI_KEYS_SENTENCE];
  capi_keys_check(section_.c_str(), name.c_str(), "", sentence, sizeof sentence);
  const std::string origin = origin_of(section_, name);
  refuse(origin.empty()
             ? std::string(sentence) + ": ignored"
             : "section \"" + section_ + "\" has no key \"" + name + "\"" + origin + ": ignored");
}

void Reader::look_for_another(const Key& key) {
  const auto [line, is_first] = lines_.try_emplace(&key, number_);
  if (is_first) return;
  warn(key.name + " is set in line " + std::to_string(line->second) +
       " as well, which is without effect");
  line->second = number_;
}

void Reader::read_value(const Key& key, const std::string& name, const std::string& value) {
  settings_.items.push_back({&key, loaded_value(key, value.substr(0, kMaxValue)), number_});
  if (key.meaning.is_read_back != 0) {
    warn(name + " is read from the device's own files, and not meant to be set");
  }
  const std::string wrong = refusal(key, value);
  if (!wrong.empty()) return refuse(name + ": " + wrong);
  if (is_quoted(value)) warn(name + ": the quotes become a part of the value");
  if (key.row.kind == CAPI_CONFIG_NUMBER && loaded_value(key, value) != value) {
    warn(name + ": " + value + " is read as " + loaded_value(key, value));
  }
}

std::string Reader::without_blanks(const std::string& text, const std::string& what,
                                   bool is_value) {
  const std::string inner = trimmed(text);
  std::string result = squeezed(inner);
  if (result.size() != inner.size())
    add(is_value,
        std::string("the blanks in ") + (is_value ? "the value of " : "") + what + " vanish");
  return result;
}

}  // namespace

bool is_overridden(const std::vector<Setting>& settings, size_t i) {
  const auto later = settings.begin() + static_cast<ptrdiff_t>(i) + 1;
  return std::any_of(later, settings.end(), [&](const Setting& other) {
    return other.key->offset() == settings[i].key->offset();
  });
}

bool Settings::has_error() const {
  return std::ranges::any_of(findings, [](const Finding& finding) { return finding.is_error; });
}

Settings read_setting_file(const std::string& content) {
  Reader reader;
  for (std::string& line : lines_of(content)) reader.read(std::move(line));
  return reader.take();
}

Settings read_settings(const std::string& content) {
  const auto first = std::find_if_not(content.begin(), content.end(), is_blank);
  const bool is_document = first != content.end() && *first == '{';
  return is_document ? read_document(content) : read_setting_file(content);
}

}  // namespace tools
