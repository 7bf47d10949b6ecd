// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>

#include "document.h"
#include "table.h"
#include "value.h"

namespace tools {
namespace {

// What a regular expression can tell of a format. A value that is right fits; where one that fits
// can be wrong nevertheless, loading tells.
struct Pattern {
  int format;
  const char* text;
};
constexpr Pattern kPatterns[] = {
    {CAPI_KEY_IP, "^[0-9A-Fa-f:.]*$"},
    {CAPI_KEY_HOST, "^[0-9A-Za-z:.-]*$"},
    {CAPI_KEY_MAC, "^$|^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}$"},
    {CAPI_KEY_ICCID, "^$|^[0-9]{18,20}$"},
    {CAPI_KEY_IMSI, "^$|^[0-9]{6,15}$"},
    {CAPI_KEY_IMEI, "^$|^[0-9]{15,16}$"},
    {CAPI_KEY_IMPI, "^$|^[^\\x00-\\x20\"#(),:;<>@\\[\\\\\\]]+@[0-9A-Za-z.-]+$"},
    {CAPI_KEY_URI, "^$|^(sips?|tel):[^\\x00-\\x20#;]+$"},
    {CAPI_KEY_PHONE, "^$|^\\+?[0-9*]+$"},
    {CAPI_KEY_TARGET, "^$|^\\+?[0-9*]+$|^(sips?|tel):[^\\x00-\\x20#;]+$"},
    {CAPI_KEY_MSISDN, "^$|^\\+?[0-9]{1,15}$"},
    {CAPI_KEY_INTERFACE, "^[^\\x00-\\x20#;/:]{0,15}$"},
    {CAPI_KEY_HEX, "^[0-9A-Fa-f]{0,8}$"},
    {CAPI_KEY_DIGITS, "^[0-9]{0,7}$"},
    {CAPI_KEY_MCC, "^$|^[0-9]{3}$"},
    {CAPI_KEY_MNC, "^$|^[0-9]{2,3}$"},
    {CAPI_KEY_MODE_SET, "^$|^[0-8](,[0-8])*$"},
    {CAPI_KEY_EVS_BR, "^[0-9.-]*$"},
    {CAPI_KEY_EVS_BW, "^$|^(nb|wb|swb|fb|nb-wb|nb-swb|nb-fb)$"},
};

// What any text is that a setting file can keep.
constexpr char kAnyText[] = "^[^\\x00-\\x20#;]*$";

// A secret may be what stands for it in a document that does not show it.
constexpr char kSecretText[] = "^\\(not set\\)$|^[^\\x00-\\x20#;]*$";

const char* pattern_of(const capi_key_meaning& meaning) {
  if (meaning.is_secret != 0) return kSecretText;
  for (const Pattern& pattern : kPatterns) {
    if (pattern.format == meaning.format) return pattern.text;
  }
  return kAnyText;
}

void add_number(cJSON* json, const char* name, int number) {
  cJSON_AddItemToObject(json, name, cJSON_CreateRaw(std::to_string(number).c_str()));
}

void add_range(cJSON* json, const capi_key_meaning& meaning) {
  add_number(json, "minimum", meaning.min);
  add_number(json, "maximum", meaning.max);
}

// A range and the numbers that have names, or are beside it.
void add_numbers(cJSON* json, const Key& key) {
  const bool has_range = key.meaning.min <= key.meaning.max;
  const std::vector<NamedValue> values = named_values(key);
  if (values.empty()) return add_range(json, key.meaning);
  cJSON* choices = cJSON_AddArrayToObject(json, "anyOf");
  for (const NamedValue& value : values) {
    cJSON* choice = cJSON_CreateObject();
    cJSON_AddItemToArray(choices, choice);
    add_number(choice, "const", value.number);
    if (!value.name.empty()) cJSON_AddStringToObject(choice, "title", value.name.c_str());
  }
  if (!has_range) return;
  cJSON* range = cJSON_CreateObject();
  cJSON_AddItemToArray(choices, range);
  add_range(range, key.meaning);
}

std::string description_of(const Key& key) {
  const capi_key_meaning& meaning = key.meaning;
  std::string text = std::string(meaning.meaning) + " Takes " + allowed_values(key);
  if (meaning.unit[0] != '\0') text += std::string(", in ") + meaning.unit;
  text += ".";
  if (meaning.note[0] != '\0') text += std::string(" ") + meaning.note;
  return text;
}

// A secret may also be the object that stands for it on a broker.
void add_secret_types(cJSON* json) {
  cJSON* types = cJSON_AddArrayToObject(json, "type");
  cJSON_AddItemToArray(types, cJSON_CreateString("string"));
  cJSON_AddItemToArray(types, cJSON_CreateString("object"));
  cJSON* properties = cJSON_AddObjectToObject(json, "properties");
  cJSON* set = cJSON_AddObjectToObject(properties, "set");
  cJSON_AddStringToObject(set, "type", "boolean");
  cJSON_AddItemToArray(cJSON_AddArrayToObject(json, "required"), cJSON_CreateString("set"));
  cJSON_AddFalseToObject(json, "additionalProperties");
}

cJSON* schema_of(const Key& key) {
  const capi_key_meaning& meaning = key.meaning;
  const bool is_number = key.row.kind == CAPI_CONFIG_NUMBER;
  cJSON* json = cJSON_CreateObject();
  cJSON_AddStringToObject(json, "description", description_of(key).c_str());
  if (meaning.is_secret != 0) {
    add_secret_types(json);
  } else {
    cJSON_AddStringToObject(json, "type", is_number ? "integer" : "string");
  }
  if (is_number) {
    add_numbers(json, key);
    add_number(json, "default", atoi(meaning.start));
  } else {
    add_number(json, "maxLength", meaning.longest);
    cJSON_AddStringToObject(json, "pattern", pattern_of(meaning));
    cJSON_AddStringToObject(json, "default", meaning.start);
  }
  if (meaning.unit[0] != '\0') cJSON_AddStringToObject(json, "x-unit", meaning.unit);
  if (meaning.standard[0] != '\0') cJSON_AddStringToObject(json, "x-standard", meaning.standard);
  if (meaning.is_secret != 0) cJSON_AddTrueToObject(json, "writeOnly");
  if (meaning.is_read_back != 0) cJSON_AddTrueToObject(json, "readOnly");
  return json;
}

// Of the sections that differ in their numbers only one tells.
std::string kind_of(const Key& key) {
  const std::string section = key.row.section;
  const size_t end = section.find("_%d");
  return section.substr(0, end);
}

cJSON* add_section(cJSON* sections, const std::string& name) {
  cJSON* section = cJSON_AddObjectToObject(sections, name.c_str());
  cJSON_AddStringToObject(section, "type", "object");
  cJSON_AddFalseToObject(section, "additionalProperties");
  cJSON_AddObjectToObject(section, "properties");
  return section;
}

void add_key(cJSON* sections, const Key& key) {
  const std::string kind = kind_of(key);
  cJSON* section = cJSON_GetObjectItemCaseSensitive(sections, kind.c_str());
  if (section == nullptr) section = add_section(sections, kind);
  cJSON* keys = cJSON_GetObjectItemCaseSensitive(section, "properties");
  const std::string field = key.field();
  if (cJSON_GetObjectItemCaseSensitive(keys, field.c_str()) != nullptr) return;
  cJSON_AddItemToObject(keys, field.c_str(), schema_of(key));
}

void add_reference(cJSON* properties, const Key& key) {
  if (cJSON_GetObjectItemCaseSensitive(properties, key.section.c_str()) != nullptr) return;
  cJSON* section = cJSON_AddObjectToObject(properties, key.section.c_str());
  cJSON_AddStringToObject(section, "$ref", ("#/$defs/" + kind_of(key)).c_str());
}

}  // namespace

cJSON* document_schema() {
  Json json(cJSON_CreateObject());
  cJSON_AddStringToObject(json.get(), "$schema", "https://json-schema.org/draft/2020-12/schema");
  cJSON_AddStringToObject(json.get(), "$id", "urn:capi:settings");
  cJSON_AddStringToObject(json.get(), "title", "Settings of the adapter");
  cJSON_AddStringToObject(json.get(), "type", "object");
  cJSON_AddFalseToObject(json.get(), "additionalProperties");
  cJSON* properties = cJSON_AddObjectToObject(json.get(), "properties");
  cJSON* sections = cJSON_AddObjectToObject(json.get(), "$defs");
  for (const Key& key : all_keys()) {
    add_reference(properties, key);
    add_key(sections, key);
  }
  return json.release();
}

}  // namespace tools
