// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device/sim_file.h"

#include <unistd.h>

#include <cstdio>

#include "capi/util.h"
#include "foundation/text.h"
#include "record/sim_fields.h"

namespace capi {
namespace {

// The pieces of the file for config_file_writer().
int put_line(int index, char* buf, void* ctx) {
  constexpr size_t kBufferSize = 2048;
  const auto& record = *static_cast<const cfg_shared_record*>(ctx);
  if (index == 1) return snprintf(buf, kBufferSize, "[SIM]\n");
  const auto number = static_cast<size_t>(index) - 2;
  if (number >= kSimFields.size()) return 0;
  const auto& [key, field] = kSimFields[number];
  char value[sizeof record.sim_info.IMPI + 1];  // a field may lack its terminator
  get_field(record, field, 0, value, sizeof value);
  const std::string_view text = first_line(value);
  return snprintf(buf, kBufferSize, "%s=%.*s\n", kSimFields.text(key).data(), CAPI_TEXT_ARG(text));
}

constexpr char kName[] = "info.simcard";

}  // namespace

void refresh_sim_file(const cfg_shared_record& record) {
  const CriticalSection section(kVopRunInfoLock);
  const std::string_view dir = data_dir(record);
  char path[kSimPathSize];
  make_path(path, dir, kName);
  if (record.sim_info.ICCID[0] == '\0' || record.sim_info.IMSI[0] == '\0') {
    // While there is no directory there are no values either, and the file in the fallback is what
    // the master is going to read them from.
    if (!dir.empty()) unlink(path);
    return;
  }
  config_file_writer(path, put_line, const_cast<cfg_shared_record*>(&record));
}

void get_sim_file_path(char (&path)[kSimPathSize]) {
  char dir[kDirSize];
  get_runtime_dir(RuntimeDir::Data, dir);
  make_path(path, dir, kName);
}

}  // namespace capi
