// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The values of the SIM.

#include <iterator>

#include "backend/context.h"
#include "backend/sim_fields.h"
#include "capi/device.h"
#include "config/line_lookup.h"
#include "config/segment_text.h"
#include "config/sim_file.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/text.h"

namespace capi {
namespace {

const Field* sim_field(int index) {
  const bool known = index >= 0 && static_cast<size_t>(index) < std::size(kSimFields);
  return known ? &kSimFields[index] : nullptr;
}

// Null for "field" is a value that no SIM file has.
int look_up_sim_file(const Field* field, char* buf, int len) {
  char path[kPathSize];
  get_sim_file_path(path);
  const CriticalSection section(kVopRunInfoLock);
  const File file = open_file(path, "r");
  if (!file) {
    CAPI_LOG_AS("capi_get_simcard_info", kLogWarning, "open %s failed!", path);
    return -1;
  }
  if (field == nullptr) return -1;
  return look_up_line(file.get(), bounded(field->key), buf, buffer_size(len)) ? 0 : -1;
}

int get_sim_value(int index, char* buf, int len) {
  if (buf == nullptr) return -1;
  memset(buf, 0, buffer_size(len));
  const Field* field = sim_field(index);
  if (field != nullptr && get_segment_text(*field, buf, len, IfEmpty::Succeed) == 0) return 0;
  return look_up_sim_file(field, buf, len);
}

}  // namespace
}  // namespace capi

int capi_get_simcard_info(int index, char* buf, int len) {
  const int result = capi::get_sim_value(index, buf, len);
  if (result == -1) CAPI_LOG(capi::kLogNotice, "Can't get simcard info index-%d,  error!", index);
  return result;
}

int capi_cfg_update_simcard_file() {
  using namespace capi;
  with_shared_record([](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    refresh_sim_file(record);
    return 0;
  });
  return 0;
}
