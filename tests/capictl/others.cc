// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Adds the calls that the tests of the tool list: it has no command for that.
#include <capi.h>

#include <cstring>

namespace {

int add(unsigned type, const char* number, const char* name, uint32_t start) {
  capi_call_log_record record{};
  record.endpt = 1;
  record.calltimestart = start;
  record.calltimeconnect = start + 5;
  record.calltimeend = start + 65;
  record.statistics.PacketsLost = 7;
  strncpy(record.number, number, sizeof record.number - 1);
  strncpy(record.displayname, name, sizeof record.displayname - 1);
  return capi_voip_add_call_log(type, &record);
}

}  // namespace

int main() {
  capi_init(nullptr, 0, [](int, const char*) {});
  const int result =
      add(0, "15551230007", "Anna", 1000) | add(2, "15551230008", "\"B\", Carl", 2000);
  capi_uninit();
  return result == 0 ? 0 : 1;
}
