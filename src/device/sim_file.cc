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
  return snprintf(buf, kBufferSize, "%s=%s\n", kSimFields.text(key).data(), value);
}

void format_path(char (&path)[kPathSize], std::string_view data_dir) {
  snprintf(path, sizeof path, "%.*s/info.simcard", CAPI_TEXT_ARG(data_dir));
}

}  // namespace

void refresh_sim_file(const cfg_shared_record& record) {
  const CriticalSection section(kVopRunInfoLock);
  char path[kPathSize];
  format_path(path, bounded(record.directory[static_cast<size_t>(RuntimeDir::Data)]));
  if (record.sim_info.ICCID[0] == '\0' || record.sim_info.IMSI[0] == '\0') {
    unlink(path);
    return;
  }
  config_file_writer(path, put_line, const_cast<cfg_shared_record*>(&record));
}

void get_sim_file_path(char (&path)[kPathSize]) {
  char dir[kDirSize];
  const bool known = get_runtime_dir(RuntimeDir::Data, dir);
  format_path(path, known ? dir : "/tmp");
}

}  // namespace capi
