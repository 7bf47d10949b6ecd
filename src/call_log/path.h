// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the call-log file is.
#pragma once

#include "lock/critical_section.h"
#include "record/directory.h"

namespace capi {

struct CallLogPath {
  char text[kPathSize];
};

// The file in the nv directory, or in "/tmp" as long as there is no other directory to be told.
// Takes lock 0 until the path is one that stays.
CallLogPath call_log_path() CAPI_EXCLUDES(kConfShmLock, kCallLogLock);

}  // namespace capi
