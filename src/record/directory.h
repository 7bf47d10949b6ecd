// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The runtime directories of the device, and the paths of the files in them.
//
// The directories are texts of the record, which the master fills and settings change. They may be
// empty, for the segment is all zero until the master has started; then a file has a fallback,
// which its owner chooses.
//
// A path is either whole or empty: cut, it would be that of somebody else's file. An empty one
// needs no check of its own, since no call of the system opens, deletes or runs it.
//
// Leaves to its callers how long a path is good for (record/kept_path.h), and the file.
#pragma once

#include <cstddef>
#include <string_view>

#include "capi/records.h"
#include "foundation/paths.h"

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

// A directory as it stands in a record; empty where none is named yet.
std::string_view data_dir(const cfg_shared_record& record);

// Makes the path of a file of ours, "dir/name", with "fallback" for a directory that is empty. A
// path that does not fit is empty, which no call of the system opens, deletes or runs: cut, it
// would be that of somebody else's file.
void make_path(char* path, size_t size, std::string_view dir, std::string_view name,
               const char* fallback);

template <size_t N>
void make_path(char (&path)[N], std::string_view dir, std::string_view name,
               const char* fallback = kFallbackDir) {
  make_path(path, N, dir, name, fallback);
}

}  // namespace capi
