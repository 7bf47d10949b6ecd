// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "config/by_name.h"

#include "capi/backend.h"
#include "capi/config.h"
#include "config/field_table.h"
#include "config/settings.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {

GetResult get_by_name(const cfg_shared_record& record, const char* section, const char* name,
                      char* buf, size_t size) {
  constexpr int kUnknownKey = 1;
  const FieldMatch match = find_field(section, name, ColumnChoice::Last);
  switch (match.lookup) {
    case FieldLookup::Found:
      return {0, get_field(record, *match.field, match.index, buf, size)};
    case FieldLookup::UnknownKey:
      return {match.unknown_key_is_success ? 0 : kUnknownKey, size};
    case FieldLookup::UnknownSection:
    case FieldLookup::OutOfRange:
      break;
  }
  return {-1, size};
}

}  // namespace capi

using namespace capi;

int capi_cfg_backend_get_config(const char* section, const char* name, char* buf, int size) {
  if (section == nullptr || name == nullptr || buf == nullptr) return -1;
  const CriticalSection guard(kConfShmLock);
  const cfg_shared_record* record = shared_record();
  GetResult got{-1, buffer_size(size)};
  if (record != nullptr) got = get_by_name(*record, section, name, buf, got.filled);
  // A buffer that was not filled need not hold a text.
  const std::string_view value = bounded(buf, got.filled);
  CAPI_LOG(kLogDebug, "section=%s name=%s value=%.*s\n", section, name, CAPI_TEXT_ARG(value));
  return got.result;
}

int capi_cfg_backend_set_config(const char* section, const char* name, int, const char* value) {
  if (name == nullptr || value == nullptr) return -1;
  const CriticalSection guard(kConfShmLock);
  // The staging copy too, or the next publishing would undo the change.
  return apply_setting_everywhere(section, name, value);
}

int capi_config_get(const char* section, const char* name, char* buf, int size) {
  return capi_cfg_backend_get_config(section, name, buf, size);
}

int capi_config_set(const char* section, const char* name, int size, const char* value) {
  return capi_cfg_backend_set_config(section, name, size, value);
}
