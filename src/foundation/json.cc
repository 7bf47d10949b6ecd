// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/json.h"

namespace capi {

bool json_is(const cJSON* item, int type) {
  constexpr int kTypeBits = 0xff;
  return item != nullptr && (item->type & kTypeBits) == type;
}

bool add_json(cJSON* parent, const char* key, Json item) {
  const bool added = key != nullptr ? cJSON_AddItemToObject(parent, key, item.get())
                                    : cJSON_AddItemToArray(parent, item.get());
  if (added) static_cast<void>(item.release());
  return added;
}

}  // namespace capi
