// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The runtime directories of the device.
#pragma once

#include <cstddef>

namespace capi {

enum class RuntimeDir { Work, Data, Log, Bin, Nv, Ivr };

// A directory and its terminator.
inline constexpr size_t kDirSize = 256;
// Room for a directory and a file name in it.
inline constexpr size_t kPathSize = kDirSize + 64;

// Copies a directory, under lock 0. An nv directory that is not set is the data directory. False,
// with an empty text, where there is no record.
bool get_runtime_dir(RuntimeDir which, char (&dir)[kDirSize]);

// The directory for files that are to stay. False where none is named yet: the segment is all zero
// until the master has started.
bool get_nv_dir(char (&dir)[kDirSize]);

}  // namespace capi
