// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/snapshot.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "capi/config_key.h"
#include "config/by_name.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {
namespace {

struct Difference {
  const cfg_shared_record& before;
  const cfg_shared_record& after;
  capi_snapshot_change_cb callback;
  void* user;
};

// The longest text of a setting, terminator included.
constexpr size_t kValueSize = 1024;

int compare_value(const Difference& difference, const char* section, const char* name) {
  char before[kValueSize];
  char after[kValueSize];
  get_by_name(difference.before, section, name, before, sizeof before);
  get_by_name(difference.after, section, name, after, sizeof after);
  if (strcmp(before, after) == 0) return 0;
  return difference.callback(section, name, before, after, difference.user);
}

int compare_values(const capi_config_key* key, void* user) {
  const auto& difference = *static_cast<const Difference*>(user);
  const int sections = key->is_shared != 0 ? 1 : std::max(key->section_max, 1);
  for (int i = 1; i <= sections; ++i) {
    for (int k = 1; k <= std::max(key->name_max, 1); ++k) {
      char section[sizeof key->section + 2];
      char name[sizeof key->name + 2];
      snprintf(section, sizeof section, key->section, i);
      snprintf(name, sizeof name, key->name, k);
      if (const int result = compare_value(difference, section, name)) return result;
    }
  }
  return 0;
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_snapshot_take(cfg_shared_record* snapshot) {
  if (snapshot == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& record) {
    *snapshot = record;
    return 0;
  });
}

int capi_snapshot_get(const cfg_shared_record* snapshot, const char* section, const char* name,
                      char* buf, int size) {
  if (snapshot == nullptr || section == nullptr || name == nullptr || buf == nullptr) return -1;
  return get_by_name(*snapshot, section, name, buf, buffer_size(size)).result;
}

int capi_snapshot_diff(const cfg_shared_record* before, const cfg_shared_record* after,
                       capi_snapshot_change_cb callback, void* user) {
  if (before == nullptr || after == nullptr || callback == nullptr) return -1;
  Difference difference{*before, *after, callback, user};
  return capi_config_for_each(compare_values, &difference);
}
