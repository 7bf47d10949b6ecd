// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/values.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "capi-keys.h"
#include "keys/key_table.h"
#include "keys/value_rows.h"

namespace capi::keys {

ValueList values_of(Values list) {
  const auto is_listed = [list](const Value& value) { return value.list == list; };
  const Value* first = std::find_if(std::begin(kValues), std::end(kValues), is_listed);
  return {first, std::find_if_not(first, std::end(kValues), is_listed)};
}

const Value* find_value(Values list, int32_t number) {
  for (const Value& value : values_of(list)) {
    if (value.number == number) return &value;
  }
  return nullptr;
}

const Value* find_value(Values list, std::string_view name) {
  for (const Value& value : values_of(list)) {
    const size_t length = strlen(value.name);
    if (length == 0 || length != name.size()) continue;
    if (strncasecmp(value.name, name.data(), length) == 0) return &value;
  }
  return nullptr;
}

namespace {

Values list_of(const char* section, const char* name) {
  capi_config_key key;
  if (capi_config_find(section, name, &key) != 0) return Values::None;
  const KeyRow* row = find_row(key);
  return row != nullptr ? row->allowed.values : Values::None;
}

}  // namespace
}  // namespace capi::keys

using namespace capi::keys;

const char* capi_keys_value_name(const char* section, const char* name, int32_t number) {
  const Value* value = find_value(list_of(section, name), number);
  return value != nullptr && value->name[0] != '\0' ? value->name : nullptr;
}

int capi_keys_value_number(const char* section, const char* name, const char* value_name,
                           int32_t* number) {
  if (value_name == nullptr || number == nullptr) return -1;
  const Value* value = find_value(list_of(section, name), std::string_view(value_name));
  if (value == nullptr) return -1;
  *number = value->number;
  return 0;
}

int capi_keys_for_each_value(const capi_config_key* key, capi_key_value_cb callback, void* user) {
  if (key == nullptr || callback == nullptr) return -1;
  const KeyRow* row = find_row(*key);
  if (row == nullptr) return -1;
  for (const Value& value : values_of(row->allowed.values)) {
    if (const int result = callback(value.number, value.name, user)) return result;
  }
  return 0;
}
