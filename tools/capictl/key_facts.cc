// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "key_facts.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "places.h"

namespace capictl {
namespace {

// In the order of enum capi_key_origin.
constexpr const char* kOrigins[] = {"interface", "standard", "unknown"};

std::string source_in_words(const Source& source) {
  if (source.kind == "file") return source.file + ", line " + std::to_string(source.line);
  if (source.kind == "start") return "a start without settings";
  if (source.kind == "device") return "the device's own files";
  return "set since the start";
}

std::string numbered(const char* pattern, int max) {
  return pattern + std::string(", 1 to ") + std::to_string(max);
}

void add_text(Table& table, const char* name, const std::string& text) {
  if (!text.empty()) table.add({name, text});
}

std::string kind_of(const Key& key) {
  if (key.row.kind == CAPI_CONFIG_NUMBER) return "number";
  return "text of at most " + std::to_string(key.meaning.longest) + " characters";
}

void add_structure(Table& table, const Key& key) {
  const capi_config_key& row = key.row;
  table.add({"kind", kind_of(key)});
  if (row.section_max != 0) table.add({"sections", numbered(row.section, row.section_max)});
  if (row.name_max != 0) table.add({"keys", numbered(row.name, row.name_max)});
  if (row.is_shared != 0) table.add({"shared", "all sections of the number have one value"});
  table.add({"setting file", "[" + key.section + "] " + key.name + "=..."});
}

Table facts_of(const Key& key, const std::optional<KeyState>& state, const Context& context) {
  const capi_key_meaning& meaning = key.meaning;
  Table table = Table::of_facts("key");
  table.add({"key", key.label()});
  if (state) {
    table.add({"value", told_value(key, state->value, context)});
    table.add({"from", source_in_words(state->source)});
  }
  const std::string start = told_value(key, meaning.start, context);
  table.add({"start", start.empty() ? "(empty)" : start});
  table.add({"allowed", allowed_values(key)});
  add_text(table, "unit", meaning.unit);
  table.add({"meaning", meaning.meaning});
  add_text(table, "standard", meaning.standard);
  add_text(table, "note", meaning.note);
  if (meaning.origin == CAPI_KEY_UNKNOWN) table.add({"stated", "nowhere: any value is taken"});
  if (meaning.is_secret != 0) table.add({"secret", "shown with --show-secrets only"});
  if (meaning.is_read_back != 0) {
    table.add({"read back", "from the device's own files; not meant to be set"});
  }
  add_structure(table, key);
  return table;
}

void add_if_any(cJSON* json, const char* name, const char* text) {
  if (text[0] != '\0') cJSON_AddStringToObject(json, name, text);
}

cJSON* typed(const Key& key, const std::string& value, const Context& context) {
  if (key.row.kind == CAPI_CONFIG_NUMBER) return cJSON_CreateRaw(value.c_str());
  return cJSON_CreateString(json_text(shown_value(key, value, context)).c_str());
}

void add_state(cJSON* json, const Key& key, const KeyState& state, const Context& context) {
  cJSON_AddItemToObject(json, "value", typed(key, state.value, context));
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
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(kSettingsDirectory, error)) {
    if (entry.path().extension() == ".settings") files.push_back(entry.path());
  }
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

std::vector<Table> key_tables(const Key& key, const std::optional<KeyState>& state,
                              const Context& context) {
  Table places("written to",
               {{"files"}, {"section"}, {"line"}, {.title = "when", .is_long = true}});
  for (const Place& place : places_of(key)) {
    places.add({place.files, place.section, place.line, place.when});
  }
  return {facts_of(key, state, context), places};
}

cJSON* key_json(const Key& key, const std::optional<KeyState>& state, const Context& context) {
  const capi_key_meaning& meaning = key.meaning;
  const bool is_number = key.row.kind == CAPI_CONFIG_NUMBER;
  cJSON* json = cJSON_CreateObject();
  cJSON_AddStringToObject(json, "key", key.label().c_str());
  cJSON_AddStringToObject(json, "section", key.section.c_str());
  cJSON_AddStringToObject(json, "name", key.name.c_str());
  cJSON_AddStringToObject(json, "type", is_number ? "integer" : "string");
  if (state) add_state(json, key, *state, context);
  cJSON_AddItemToObject(json, "default", typed(key, meaning.start, context));
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
    std::istringstream names(place.files);
    for (std::string name; names >> name;) {
      cJSON_AddItemToArray(files, cJSON_CreateString(name.c_str()));
    }
    cJSON_AddStringToObject(item, "section", place.section.c_str());
    cJSON_AddStringToObject(item, "line", place.line.c_str());
    if (!place.when.empty()) cJSON_AddStringToObject(item, "when", place.when.c_str());
  }
}

}  // namespace capictl
