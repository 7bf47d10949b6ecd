// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "adapter.h"
#include "text.h"

namespace tools {
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
      Key key{with_number(row->section, section),
              with_number(row->name, number),
              std::max(section, number),
              *row,
              {}};
      capi_keys_describe(row, &key.meaning);
      keys.push_back(std::move(key));
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

// The key of a row that the library takes a spelling for: it answers with that key's value.
const Key* find_odd_spelling(const capi_config_key& row, const std::string& section,
                             const std::string& name) {
  const std::vector<Key>& keys = all_keys();
  const auto record = std::make_unique<cfg_shared_record>();
  for (size_t i = 0; i < keys.size(); ++i) {
    if (keys[i].row.offset == row.offset) mark(*record, keys[i], i);
  }
  char index[1024] = {};
  capi_snapshot_get(record.get(), section.c_str(), name.c_str(), index, sizeof index);
  return &keys[static_cast<size_t>(atoi(index))];
}

// Whether a name ends with this, and not within a word.
bool has_ending(const std::string& name, const std::string& ending) {
  return name.ends_with("." + ending) || name.ends_with("_" + ending);
}

// The label that is nearly spelled so; of a section that there is, the field is.
std::string nearly_spelled(const std::string& section, const std::string& field) {
  std::vector<std::string> labels;
  std::vector<std::string> fields;
  for (const Key& key : all_keys()) {
    labels.push_back(key.label());
    if (key.section == section) fields.push_back(key.field());
  }
  if (fields.empty()) return nearest(section + "." + field, labels);
  const std::string near = nearest(field, fields);
  return near.empty() ? near : section + "." + near;
}

// The label that one was meant to be: with its section, or nearly so spelled. A key of the same
// kind of section goes before any other.
std::string meant_label(const std::string& label) {
  const size_t dot = label.find('.');
  const std::string field = label.substr(dot + 1);  // all of it without a dot
  const std::string section = label.substr(0, label.find_first_of("0123456789."));
  constexpr size_t kShortest = 3;
  for (const std::string& begin : {dot != std::string::npos ? section : "", std::string()}) {
    for (const Key& key : all_keys()) {
      std::string candidate = key.label();
      if (field.size() < kShortest) break;
      if (candidate.starts_with(begin) && has_ending(candidate, field)) return candidate;
    }
  }
  return nearly_spelled(label.substr(0, dot), field);
}

int collect_difference(const char* section, const char* name, const char* before, const char* after,
                       void* user) {
  const Key* key = find_key(section, name);
  static_cast<std::vector<Difference>*>(user)->push_back({key, before, after});
  return 0;
}

std::string stored_number(const Key& key, const std::string& value) {
  long long number = std::clamp<long long>(strtoll(value.c_str(), nullptr, 10),
                                           std::numeric_limits<int32_t>::min(),
                                           std::numeric_limits<int32_t>::max());
  if (key.row.value_max != 0) number = std::clamp<long long>(number, 0, key.row.value_max);
  return std::to_string(number);
}

}  // namespace

std::string Key::field() const { return name.substr(name_prefix(row).size()); }

std::string Key::label() const { return section + "." + field(); }

size_t Key::offset() const {
  const auto stride = static_cast<size_t>(row.stride);
  return static_cast<size_t>(row.offset) + stride * static_cast<size_t>(number - 1);
}

const std::vector<Key>& all_keys() {
  static const std::vector<Key> kKeys = collect_keys();
  return kKeys;
}

const Key* find_key(const std::string& section, const std::string& name) {
  for (const Key& key : all_keys()) {
    if (key.section == section && key.name == name) return &key;
  }
  capi_config_key row;
  const bool is_key = capi_config_find(section.c_str(), name.c_str(), &row) == 0;
  return is_key ? find_odd_spelling(row, section, name) : nullptr;
}

const Key* find_label(const std::string& label) {
  const size_t dot = label.find('.');
  if (dot == std::string::npos) return nullptr;
  const std::string section = label.substr(0, dot);
  const std::string field = label.substr(dot + 1);
  for (const Key& key : all_keys()) {
    if (key.section == section && (key.name == field || key.label() == label)) return &key;
  }
  return nullptr;
}

std::string unknown_key(const std::string& label) {
  const std::string meant = meant_label(label);
  return "there is no key " + label + ". " +
         (meant.empty() ? "All keys: capictl config list" : "Did you mean " + meant + "?");
}

const Key& named_key(const std::string& label) {
  const Key* key = find_label(label);
  if (key == nullptr) throw Failure(unknown_key(label), {kNotFound, label});
  return *key;
}

std::vector<const Key*> keys_of(const std::string& section) {
  const std::string numbered = section + "_" + kPlaceholder;
  std::vector<const Key*> keys;
  for (const Key& key : all_keys()) {
    const bool is_of_kind = key.row.section == numbered;
    if (section.empty() || key.section == section || is_of_kind) keys.push_back(&key);
  }
  if (!keys.empty()) return keys;
  std::string names;
  for (const std::string& name : all_sections()) names += " " + name;
  throw Failure("there is no section " + section + ". The sections:" + names, {kNotFound, section});
}

std::vector<std::string> all_sections() {
  std::vector<std::string> sections;
  for (const Key& key : all_keys()) {
    if (sections.empty() || sections.back() != key.section) sections.push_back(key.section);
  }
  return sections;
}

std::string stored_value(const Key& key, const std::string& value) {
  if (key.row.kind == CAPI_CONFIG_NUMBER) return stored_number(key, value);
  return value.substr(0, static_cast<size_t>(key.row.capacity) - 1);
}

std::string loaded_value(const Key& key, const std::string& value) {
  const std::string stored = stored_value(key, value);
  const bool is_port = key.section.starts_with("sip_server_") && key.name.ends_with("_port");
  return is_port && stored == "0" ? "5060" : stored;
}

void put_value(cfg_shared_record& record, const Key& key, const std::string& value) {
  char* field = reinterpret_cast<char*>(&record) + key.offset();
  const std::string stored = stored_value(key, value);
  if (key.row.kind == CAPI_CONFIG_NUMBER) {
    const int32_t number = atoi(stored.c_str());
    memcpy(field, &number, sizeof number);
  } else {
    memset(field, 0, static_cast<size_t>(key.row.capacity));
    stored.copy(field, stored.size());
  }
}

std::string value_of(const cfg_shared_record& record, const Key& key) {
  char value[1025] = {};
  capi_snapshot_get(&record, key.section.c_str(), key.name.c_str(), value,
                    static_cast<int>(sizeof value));
  return value;
}

std::vector<Difference> differences(const cfg_shared_record& before,
                                    const cfg_shared_record& after) {
  std::vector<Difference> result;
  capi_snapshot_diff(&before, &after, collect_difference, &result);
  return result;
}

}  // namespace tools
