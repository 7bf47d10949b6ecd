// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "key_tables.h"

#include "places.h"

namespace tools::capictl {
namespace {

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

}  // namespace

std::vector<Table> key_tables(const Key& key, const std::optional<KeyState>& state,
                              const Context& context) {
  Table places("written to",
               {{"files"}, {"section"}, {"line"}, {.title = "when", .is_long = true}});
  for (const Place& place : places_of(key)) {
    places.add({place.files, place.section, place.line, place.when});
  }
  return {facts_of(key, state, context), places};
}

}  // namespace tools::capictl
