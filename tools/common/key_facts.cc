// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "key_facts.h"

#include <glob.h>

#include <algorithm>

#include "places.h"
#include "table.h"

namespace tools {
namespace {

// In the order of enum capi_key_origin.
constexpr const char* kOrigins[] = {"interface", "standard", "unknown"};

void add_if_any(cJSON* json, const char* name, const char* text) {
  if (text[0] != '\0') cJSON_AddStringToObject(json, name, text);
}

cJSON* typed(const Key& key, const std::string& value, Secrets secrets) {
  if (key.row.kind == CAPI_CONFIG_NUMBER) return cJSON_CreateRaw(value.c_str());
  return cJSON_CreateString(json_text(shown_value(key, value, secrets)).c_str());
}

void add_state(cJSON* json, const Key& key, const KeyState& state, Secrets secrets) {
  cJSON_AddItemToObject(json, "value", typed(key, state.value, secrets));
  cJSON* source = cJSON_AddObjectToObject(json, "source");
  cJSON_AddStringToObject(source, "kind", state.source.kind.c_str());
  if (state.source.line == 0) return;
  cJSON_AddStringToObject(source, "file", json_text(state.source.file).c_str());
  cJSON_AddNumberToObject(source, "line", state.source.line);
}

void add_named_values(cJSON* json, const Key& key) {
  const std::vector<NamedValue> values = named_values(key);
  if (values.empty()) return;
  cJSON* array = cJSON_AddArrayToObject(json, "values");
  for (const NamedValue& value : values) {
    cJSON* item = cJSON_CreateObject();
    cJSON_AddItemToArray(array, item);
    cJSON_AddNumberToObject(item, "value", value.number);
    if (!value.name.empty()) cJSON_AddStringToObject(item, "name", value.name.c_str());
  }
}

}  // namespace

std::vector<std::string> adapter_setting_files() {
  std::vector<std::string> files;
  glob_t found{};
  if (glob((std::string(kSettingsDirectory) + "/*.settings").c_str(), GLOB_NOSORT, nullptr,
           &found) == 0) {
    files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  const auto is_local = [](const std::string& file) { return file == kLocalSettings; };
  std::ranges::sort(files, [&](const std::string& a, const std::string& b) {
    return is_local(a) != is_local(b) ? is_local(b) : a < b;
  });
  return files;
}

std::vector<SourceFile> read_source_files(const std::vector<std::string>& paths) {
  std::vector<SourceFile> files;
  for (const std::string& path : paths) {
    std::string content;
    if (read_file(path, content)) files.push_back({path, read_setting_file(content).items});
  }
  return files;
}

Source source_of(const Key& key, const std::string& value, const std::vector<SourceFile>& files) {
  Source source;
  bool is_of_file = false;  // the last file that sets it counts
  for (const SourceFile& file : files) {
    for (const Setting& setting : file.settings) {
      if (setting.key != &key) continue;
      source = {"file", file.path, setting.line};
      is_of_file = setting.value == value;
    }
  }
  if (is_of_file) return source;
  if (value == key.meaning.start) return {"start", "", 0};
  return {key.meaning.is_read_back != 0 ? "device" : "set", "", 0};
}

cJSON* key_json(const Key& key, const std::optional<KeyState>& state, Secrets secrets) {
  const capi_key_meaning& meaning = key.meaning;
  const bool is_number = key.row.kind == CAPI_CONFIG_NUMBER;
  cJSON* json = cJSON_CreateObject();
  cJSON_AddStringToObject(json, "key", key.label().c_str());
  cJSON_AddStringToObject(json, "section", key.section.c_str());
  cJSON_AddStringToObject(json, "name", key.name.c_str());
  cJSON_AddStringToObject(json, "type", is_number ? "integer" : "string");
  if (state) add_state(json, key, *state, secrets);
  cJSON_AddItemToObject(json, "default", typed(key, meaning.start, secrets));
  cJSON_AddStringToObject(json, "allowed", allowed_values(key).c_str());
  if (is_number && meaning.min <= meaning.max) {
    cJSON_AddNumberToObject(json, "minimum", meaning.min);
    cJSON_AddNumberToObject(json, "maximum", meaning.max);
  }
  if (!is_number) cJSON_AddNumberToObject(json, "max_length", meaning.longest);
  add_named_values(json, key);
  add_if_any(json, "unit", meaning.unit);
  cJSON_AddStringToObject(json, "meaning", meaning.meaning);
  add_if_any(json, "standard", meaning.standard);
  add_if_any(json, "note", meaning.note);
  cJSON_AddStringToObject(json, "origin", kOrigins[meaning.origin]);
  cJSON_AddBoolToObject(json, "secret", meaning.is_secret);
  cJSON_AddBoolToObject(json, "read_back", meaning.is_read_back);
  return json;
}

void add_places(cJSON* json, const Key& key) {
  cJSON* array = cJSON_AddArrayToObject(json, "lines");
  for (const Place& place : places_of(key)) {
    cJSON* item = cJSON_CreateObject();
    cJSON_AddItemToArray(array, item);
    cJSON* files = cJSON_AddArrayToObject(item, "files");
    for (const std::string& name : words_of(place.files)) {
      cJSON_AddItemToArray(files, cJSON_CreateString(name.c_str()));
    }
    cJSON_AddStringToObject(item, "section", place.section.c_str());
    cJSON_AddStringToObject(item, "line", place.line.c_str());
    if (!place.when.empty()) cJSON_AddStringToObject(item, "when", place.when.c_str());
  }
}

}  // namespace tools
