// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// JSON values from outside, which may be anything: looking at them never takes a wrong type.
#pragma once

#include <cjson/cJSON.h>

#include <memory>

namespace capi {

struct JsonDeleter {
  void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

// The member of an object, its key compared exactly; null where there is none or no object. cJSON's
// own look-up would take an array.
inline cJSON* json_member(const cJSON* object, const char* key) {
  return cJSON_IsObject(object) ? cJSON_GetObjectItemCaseSensitive(object, key) : nullptr;
}

// The text of a string; null for every other value.
inline char* json_text(const cJSON* item) {
  return cJSON_IsString(item) ? item->valuestring : nullptr;
}

// Adds a member, or an element where the key is null. False when there is no memory; the item is
// gone then.
bool add_json(cJSON* parent, const char* key, Json item);

}  // namespace capi
