// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "context.h"

namespace capictl {
namespace {

constexpr char kPlaceholder[] = "%d";

std::string without_placeholder(const std::string& pattern) {
  const size_t place = pattern.find(kPlaceholder);
  return place == std::string::npos ? pattern : pattern.substr(0, place);
}

std::string with_number(const std::string& pattern, int number) {
  const std::string base = without_placeholder(pattern);
  return base == pattern ? base : base + std::to_string(number);
}

// "option_sip_line_" for the rows of "sip_line_%d".
std::string name_prefix(const capi_config_key& row) {
  std::string section = without_placeholder(row.section);
  if (section.back() != '_') section += '_';
  return "option_" + section;
}

int collect(const capi_config_key* row, void* user) {
  auto& keys = *static_cast<std::vector<Key>*>(user);
  for (int section = 1; section <= std::max(row->section_max, 1); ++section) {
    for (int number = 1; number <= std::max(row->name_max, 1); ++number) {
      keys.push_back({with_number(row->section, section), with_number(row->name, number),
                      std::max(section, number), *row});
    }
  }
  return 0;
}

// The instances of a section together, so that a setting file made of the keys is well ordered.
std::vector<Key> collect_keys() {
  std::vector<Key> keys;
  capi_config_for_each(collect, &keys);
  for (auto first = keys.begin(); first != keys.end();) {
    const std::string pattern = first->row.section;
    const auto last =
        std::find_if(first, keys.end(), [&](const Key& key) { return pattern != key.row.section; });
    std::stable_sort(first, last, [](const Key& a, const Key& b) { return a.section < b.section; });
    first = last;
  }
  return keys;
}

// Gives a key a value that tells which key it is.
void mark(cfg_shared_record& record, const Key& key, size_t index) {
  char* field = reinterpret_cast<char*>(&record) + key.offset();
  const auto number = static_cast<int32_t>(index);
  if (key.row.kind == CAPI_CONFIG_TEXT) {
    strcpy(field, std::to_string(number).c_str());
  } else {
    memcpy(field, &number, sizeof number);
  }
}

// The key of a section that the library takes a spelling for: it answers with that key's value.
const Key* find_odd_spelling(const std::string& section, const std::string& name) {
  const std::vector<Key>& keys = all_keys();
  const auto record = std::make_unique<cfg_shared_record>();
  for (size_t i = 0; i < keys.size(); ++i) {
    if (keys[i].section == section) mark(*record, keys[i], i);
  }
  char index[1024] = {};
  capi_snapshot_get(record.get(), section.c_str(), name.c_str(), index, sizeof index);
  return &keys[static_cast<size_t>(atoi(index))];
}

// The first key of a section of this kind, whatever its number.
const Key* first_of_section(const std::string& section) {
  for (const Key& key : all_keys()) {
    const bool is_numbered = key.row.section_max != 0;
    const std::string base = without_placeholder(key.row.section);
    if (is_numbered ? section.starts_with(base) : section == base) return &key;
  }
  return nullptr;
}

// A key of the same kind of section before any other, a whole field before the end of one.
std::string nearest_hint(const std::string& label) {
  const size_t dot = label.find('.');
  const std::string field = label.substr(dot + 1);  // all of it without a dot
  const std::string section = label.substr(0, label.find_first_of("0123456789."));
  for (const std::string& begin : {dot != std::string::npos ? section : "", std::string()}) {
    for (const std::string& end : {"." + field, field}) {
      for (const Key& key : all_keys()) {
        const std::string candidate = key.label();
        const bool is_near = candidate.starts_with(begin) && candidate.ends_with(end);
        if (is_near && !field.empty()) return "Did you mean " + candidate + "?";
      }
    }
  }
  return "All keys: capictl config list";
}

int collect_difference(const char* section, const char* name, const char* before, const char* after,
                       void* user) {
  const Key* key = find_key(section, name);
  static_cast<std::vector<Difference>*>(user)->push_back({key, before, after});
  return 0;
}

Stored stored_number(const Key& key, const std::string& value) {
  errno = 0;
  char* end = nullptr;
  const long long given = strtoll(value.c_str(), &end, 10);
  long long number = std::clamp<long long>(given, std::numeric_limits<int32_t>::min(),
                                           std::numeric_limits<int32_t>::max());
  if (key.row.value_max != 0) number = std::clamp<long long>(number, 0, key.row.value_max);
  const std::string text = std::to_string(number);
  if (end == value.c_str()) return {text, "not a number: read as 0"};
  if (*end != '\0') return {text, "not all of it is a number: read as " + text};
  if (number != given || errno == ERANGE) return {text, "out of range: kept as " + text};
  return {text, ""};
}

}  // namespace

std::string Key::label() const { return section + "." + name.substr(name_prefix(row).size()); }

size_t Key::offset() const {
  const auto stride = static_cast<size_t>(row.stride);
  return static_cast<size_t>(row.offset) + stride * static_cast<size_t>(number - 1);
}

const std::vector<Key>& all_keys() {
  static const std::vector<Key> kKeys = collect_keys();
  return kKeys;
}

Meaning meaning_of(const std::string& section, const std::string& name) {
  // The library itself tells: a value that is found fills the buffer.
  static const cfg_shared_record kEmpty{};
  char buf[1024];
  std::fill(std::begin(buf), std::end(buf), '?');
  const int result =
      capi_snapshot_get(&kEmpty, section.c_str(), name.c_str(), buf, static_cast<int>(sizeof buf));
  if (buf[0] != '?') return Meaning::Key;
  if (result != -1) return Meaning::UnknownKey;
  return first_of_section(section) != nullptr ? Meaning::OutOfRange : Meaning::UnknownSection;
}

Meaning meaning_of_section(const std::string& section) {
  const Key* first = first_of_section(section);
  return first != nullptr ? meaning_of(section, first->name) : Meaning::UnknownSection;
}

const Key* find_key(const std::string& section, const std::string& name) {
  for (const Key& key : all_keys()) {
    if (key.section == section && key.name == name) return &key;
  }
  return meaning_of(section, name) == Meaning::Key ? find_odd_spelling(section, name) : nullptr;
}

const Key& named_key(const std::string& label) {
  const size_t dot = label.find('.');
  if (dot != std::string::npos) {
    const std::string section = label.substr(0, dot);
    const std::string field = label.substr(dot + 1);
    for (const Key& key : all_keys()) {
      if (key.section == section && (key.name == field || key.label() == label)) return key;
    }
  }
  throw Failure("there is no key " + label + ". " + nearest_hint(label), {kNotFound, label});
}

std::vector<std::string> all_sections() {
  std::vector<std::string> sections;
  for (const Key& key : all_keys()) {
    if (sections.empty() || sections.back() != key.section) sections.push_back(key.section);
  }
  return sections;
}

Stored stored_value(const Key& key, const std::string& value) {
  if (key.row.kind == CAPI_CONFIG_NUMBER) return stored_number(key, value);
  const auto room = static_cast<size_t>(key.row.capacity) - 1;
  if (value.size() <= room) return {value, ""};
  return {value.substr(0, room), "too long: cut to " + std::to_string(room) + " characters"};
}

Stored loaded_value(const Key& key, const std::string& value) {
  Stored stored = stored_value(key, value);
  const bool is_port = key.section.starts_with("sip_server_") && key.name.ends_with("_port");
  if (!stored.loss.empty() || !is_port || stored.value != "0") return stored;
  return {"5060", "no port: read as 5060"};
}

std::string value_of(const cfg_shared_record& record, const Key& key) {
  char value[1025] = {};
  capi_snapshot_get(&record, key.section.c_str(), key.name.c_str(), value,
                    static_cast<int>(sizeof value));
  return value;
}

bool is_secret(const Key& key) { return key.name.ends_with("password"); }

std::vector<Difference> differences(const cfg_shared_record& before,
                                    const cfg_shared_record& after) {
  std::vector<Difference> result;
  capi_snapshot_diff(&before, &after, collect_difference, &result);
  return result;
}

}  // namespace capictl
