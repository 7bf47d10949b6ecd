// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "backend/settings.h"

#include "backend/field_table.h"
#include "capi/backend.h"
#include "capi/util.h"
#include "foundation/key_value.h"
#include "foundation/log.h"

namespace capi {

void log_setting(const char* section, const char* key, const char* value) {
  CAPI_LOG_AS("setting_item_cb", kLogInfo, "[%s][%s][%s]\n", section != nullptr ? section : "---",
              key, value);
}

int apply_setting(cfg_shared_record& record, const char* section, const char* key,
                  const char* value) {
  if (section == nullptr) return 0;
  const FieldPlace place = find_field(section, key, ColumnChoice::First);
  if (place.lookup == FieldLookup::OutOfRange) return -1;
  if (place.lookup == FieldLookup::Found) set_field(record, *place.field, place.index, value);
  return 0;
}

void publish_setting(cfg_shared_record& to, const cfg_shared_record& from, const char* section,
                     const char* key) {
  if (section == nullptr) return;
  const FieldPlace place = find_field(section, key, ColumnChoice::First);
  if (place.lookup == FieldLookup::Found) copy_field(to, from, *place.field, place.index);
}

}  // namespace capi

int setting_item_cb(const char* section, const char* key, const char* value) {
  using namespace capi;
  if (key == nullptr || value == nullptr) return -1;
  log_setting(section, key, value);
  cfg_backend_context* ctx = context();
  return ctx != nullptr ? apply_setting(ctx->staging, section, key, value) : -1;
}

int capi_cfg_backend_init_settings_from_file(const char* path) {
  using namespace capi;
  if (path == nullptr || context() == nullptr) return -1;
  const CriticalSection section(kConfShmLock);
  const config_item_cb apply = setting_item_cb;
  return for_each_item(path, apply) ? 0 : -1;
}
