// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// writer COUNT: a process of the device that changes a setting so many times, or without an end.
#include <capi.h>

#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  const long count = argc > 1 ? strtol(argv[1], nullptr, 10) : -1;
  capi_init(nullptr, 0, [](int, const char*) {});
  for (long i = 0; i != count; ++i) {
    const std::string value = std::to_string(i);
    if (capi_config_set("sms", "option_sms_sca", static_cast<int>(value.size()) + 1,
                        value.c_str()) != 0)
      return 1;
  }
  return 0;
}
