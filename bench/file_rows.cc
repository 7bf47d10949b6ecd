// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Setting files and the voice stack's file.

#include "bench.h"
#include "capi.h"
#include "device.h"
#include "floor.h"
#include "foundation/log.h"
#include "readers.h"

namespace bench {
namespace {

int ignore_item(const char*, const char*, const char*) { return 0; }

int log_item(const char* section, const char* key, const char* value) {
  CAPI_LOG(capi::kLogInfo, "[%s][%s][%s]\n", section, key, value);
  return 0;
}

template <typename Reader>
Contestant reader(const char* who, const std::string& path, Reader read) {
  return {who, repeat([=] { read(path.c_str()); })};
}

void read_ours(const char* path) { config_file_reader(path, ignore_item); }

Row read_row() {
  const std::string path = write_settings(2000);
  return {
      "read a setting file of 2,000 lines",
      0.5,
      {reader("ours", path, read_ours), reader("inih", path, read_with_inih),
       reader("iniparser", path, read_with_iniparser), reader("floor", path, floor::read_whole)}};
}

// Straight as long as the ratio does not grow.
Row curve_row(int lines) {
  constexpr int kFew = 100;
  Contestant ours = reader("ours", write_settings(lines), read_ours);
  Contestant few = reader("100 lines", write_settings(kFew), read_ours);
  ours.operations = lines;
  few.operations = kFew;
  return {"the same, a line of " + std::to_string(lines) + " lines", 0, {ours, few}};
}

Row load_row() {
  const std::string path = write_settings(2000);
  const auto load = [](const char* file) { capi_init_settings_from_file(file); };
  const auto log = [](const char* file) { config_file_reader(file, log_item); };
  return {"load that file into the staging copy",
          1.6,
          {reader("ours", path, load), reader("reading and logging", path, log)}};
}

Row stack_file_row() {
  constexpr unsigned kVoip = 1;
  constexpr char kPath[] = "/tmp/vosip.conf.voip";
  require(capi_make_config_file(kVoip) == 0, "the voice stack's file can be made");
  const std::string content = read_file(kPath);
  return {"make the voice stack's file",
          0,
          {{"ours", repeat([=] { capi_make_config_file(kVoip); })},
           {"floor", repeat([=] {
              const floor::Lock guard(CAPI_LOCK_CONF_SHM);
              floor::replace_file(kPath, content);
            })}}};
}

}  // namespace

Rows file_rows() {
  Rows rows{read_row()};
  for (const int lines : {1000, 10000, 100000}) rows.push_back(curve_row(lines));
  rows.push_back(load_row());
  rows.push_back(stack_file_row());
  return rows;
}

}  // namespace bench
