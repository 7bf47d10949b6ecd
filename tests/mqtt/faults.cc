// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// For LD_PRELOAD: looks at the record that do not work as long as there is a certain file.
#include <capi.h>
#include <dlfcn.h>
#include <unistd.h>

extern "C" int capi_live_refresh(cfg_shared_record* snapshot, uint64_t* generation) {
  if (access("/tmp/no-looks", F_OK) == 0) return -1;
  const auto next =
      reinterpret_cast<decltype(&capi_live_refresh)>(dlsym(RTLD_NEXT, "capi_live_refresh"));
  return next(snapshot, generation);
}
