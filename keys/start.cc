// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the configuration is before anybody has set anything.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "capi-keys.h"
#include "foundation/memory.h"
#include "foundation/text.h"
#include "keys/format.h"
#include "keys/key_table.h"

namespace capi::keys {
namespace {

void store_start(char* field, const KeyRow& row) {
  const char* start = row_text(row.start);
  if (row.allowed.format != CAPI_KEY_NUMBER) {
    strcpy(field, start);
    return;
  }
  int32_t number = 0;
  read_number(start, number);
  memcpy(field, &number, sizeof number);
}

// All instances of a key have the same value.
int fill(const capi_config_key* key, void* user) {
  const KeyRow* row = find_row(*key);
  if (row == nullptr || row->start == 0) return 0;
  const int count = key->stride != 0 ? std::max({key->section_max, key->name_max, 1}) : 1;
  char* field = static_cast<char*>(user) + key->offset;
  for (int i = 0; i < count; ++i, field += key->stride) store_start(field, *row);
  return 0;
}

}  // namespace
}  // namespace capi::keys

int capi_keys_start_record(cfg_shared_record* record) {
  if (record == nullptr) return -1;
  memset(record, 0, sizeof *record);
  return capi_config_for_each(capi::keys::fill, record);
}

int capi_keys_for_each_change(const cfg_shared_record* snapshot, capi_snapshot_change_cb callback,
                              void* user) {
  const capi::Allocated<cfg_shared_record> start(
      static_cast<cfg_shared_record*>(malloc(sizeof(cfg_shared_record))));
  if (!start) return -1;
  capi_keys_start_record(start.get());
  return capi_snapshot_diff(start.get(), snapshot, callback, user);
}
