// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the call-log file is, and the way to it: its lock.
//
// The directory is asked for under lock 0, so before lock 2 is taken and never under it.
//
// Leaves to its callers the file itself: that there is a path says nothing about a file.
#pragma once

#include "foundation/function_ref.h"
#include "lock/critical_section.h"
#include "record/kept_path.h"

namespace capi {

// The file in the nv directory, or in the fallback directory as long as there is no other one to be
// told. Takes lock 0 until the path is one that stays.
FilePath call_log_path() CAPI_EXCLUDES(kConfShmLock, kCallLogLock);

// Runs an operation on the file, by its path, under lock 2. Returns its result.
int with_call_log(FunctionRef<int(const char* path)> operation)
    CAPI_EXCLUDES(kConfShmLock, kCallLogLock);

}  // namespace capi
