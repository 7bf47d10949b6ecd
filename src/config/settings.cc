// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "config/settings.h"

#include "capi/backend.h"
#include "capi/util.h"
#include "config/field_table.h"
#include "foundation/key_value.h"
#include "foundation/log.h"

namespace capi {
namespace {

int apply(cfg_shared_record& record, const FieldMatch& match, const char* value) {
  if (match.lookup == FieldLookup::OutOfRange) return -1;
  if (match.lookup == FieldLookup::Found) set_field(record, *match.field, match.index, value);
  return 0;
}

}  // namespace

void log_setting(const char* section, const char* key, const char* value) {
  CAPI_LOG_AS("setting_item_cb", kLogInfo, "[%s][%s][%s]\n", section != nullptr ? section : "---",
              key, value);
}

int apply_setting(cfg_shared_record& record, const char* section, const char* key,
                  const char* value) {
  if (section == nullptr) return 0;
  return apply(record, find_field(section, key, ColumnChoice::First), value);
}

int apply_setting_everywhere(const char* section, const char* key, const char* value) {
  log_setting(section, key, value);
  cfg_backend_context* ctx = context();
  if (ctx == nullptr) return -1;
  if (section == nullptr) return 0;
  const FieldMatch match = find_field(section, key, ColumnChoice::First);
  const int result = apply(ctx->staging, match, value);
  const cfg_shared_record* record = shared_record();
  if (record != nullptr && match.lookup == FieldLookup::Found) {
    const RecordChange change(*record, topic_at(match.field->offset));
    copy_field(*change, ctx->staging, *match.field, match.index);
  }
  return result;
}

}  // namespace capi

using namespace capi;

int setting_item_cb(const char* section, const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return -1;
  log_setting(section, key, value);
  cfg_backend_context* ctx = context();
  return ctx != nullptr ? apply_setting(ctx->staging, section, key, value) : -1;
}

int capi_cfg_backend_init_settings_from_file(const char* path) {
  if (path == nullptr || context() == nullptr) return -1;
  const CriticalSection guard(kConfShmLock);
  cfg_backend_context* ctx = context();  // again: it may have gone while we waited
  if (ctx == nullptr) return -1;
  const auto take_item = [&](const char* section, const char* key, const char* value) {
    log_setting(section, key, value);
    apply_setting(ctx->staging, section, key, value);
  };
  return for_each_item(path, take_item) ? 0 : -1;
}
