// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device/sim_info.h"

#include "capi/device.h"
#include "device/sim_file.h"
#include "foundation/file.h"
#include "foundation/line_lookup.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"
#include "record/segment_text.h"
#include "record/sim_fields.h"

namespace capi {
namespace {

constexpr char kFunc[] = "capi_get_simcard_info";

const KeyedField* sim_field(int index) {
  const bool known = index >= 0 && static_cast<size_t>(index) < kSimFields.size();
  return known ? &kSimFields[static_cast<size_t>(index)] : nullptr;
}

// Null for "row" is a value that no SIM file has.
int look_up_sim_file(const KeyedField* row, char* buf, int len) {
  char path[kSimPathSize];
  get_sim_file_path(path);
  const CriticalSection section(kVopRunInfoLock);
  const File file = open_file(path, "r");
  if (!file) {
    CAPI_LOG_AS(kFunc, kLogWarning, "open %s failed!", path);
    return -1;
  }
  if (row == nullptr) return -1;
  return look_up_line(file.get(), kSimFields.text(row->key), buf, buffer_size(len)) ? 0 : -1;
}

int get_sim_value(int index, char* buf, int len) {
  if (buf == nullptr) return -1;
  memset(buf, 0, buffer_size(len));
  const KeyedField* row = sim_field(index);
  if (row != nullptr && get_segment_text(row->field, buf, len, IfEmpty::Succeed) == 0) return 0;
  return look_up_sim_file(row, buf, len);
}

}  // namespace

int get_sim_info(int index, char* buf, int len) {
  const int result = get_sim_value(index, buf, len);
  if (result == -1) {
    CAPI_LOG_AS(kFunc, kLogNotice, "Can't get simcard info index-%d,  error!", index);
  }
  return result;
}

}  // namespace capi

using namespace capi;

int capi_get_simcard_info(int index, char* buf, int len) { return get_sim_info(index, buf, len); }

int capi_cfg_update_simcard_file() {
  with_shared_record([](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    refresh_sim_file(record);
    return 0;
  });
  return 0;
}
