// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// JSON values from outside, which may be anything: looking at them never takes a wrong type.
//
// Every look-up answers null for what is not there, is of another type or is looked for in
// something that is no object, and takes the null of the look-up before it. So a path through a
// document is written down without a check at each step, and the check is one at its end.
//
// Leaves to its callers the numbers (a value's type says nothing about its range), and what a
// missing member means.
#pragma once

#include <cjson/cJSON.h>

#include <memory>

namespace capi {

struct JsonDeleter {
  void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

// Whether a value is there and of a type, as cJSON_Number. cJSON has a function for each type, and
// each call into another library costs more than what it looks at.
bool json_is(const cJSON* item, int type);

// The member of an object, its key compared exactly; null where there is none or no object. cJSON's
// own look-up would take an array.
inline cJSON* json_member(const cJSON* object, const char* key) {
  return json_is(object, cJSON_Object) ? cJSON_GetObjectItemCaseSensitive(object, key) : nullptr;
}

// The text of a string; null for every other value.
inline char* json_text(const cJSON* item) {
  return json_is(item, cJSON_String) ? item->valuestring : nullptr;
}

// Adds a member, or an element where the key is null. False when there is no memory; the item is
// gone then.
bool add_json(cJSON* parent, const char* key, Json item);

}  // namespace capi
