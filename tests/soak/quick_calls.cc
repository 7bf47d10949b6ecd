// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What would take most of a run's time without being what it is about, in place of the C library's:
// waiting for all disks of the machine, while the stores of a private view are in memory, and
// starting a shell for each signal.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

extern "C" void sync() noexcept {}

extern "C" int system(const char* command) {
  using System = int (*)(const char*);
  static const auto real_system = reinterpret_cast<System>(dlsym(RTLD_NEXT, "system"));
  return strstr(command, "/vsdk_cmd signal ") != nullptr ? 0 : real_system(command);
}
