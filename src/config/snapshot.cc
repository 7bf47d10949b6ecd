// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/snapshot.h"

#include "config/by_name.h"
#include "foundation/text.h"
#include "record/context.h"

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
