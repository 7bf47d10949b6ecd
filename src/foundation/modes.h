// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Who may use what the library makes: everybody, or with CAPI_GROUP_ONLY one group.
#pragma once

#include <sys/types.h>

namespace capi {

#ifdef CAPI_GROUP_ONLY
inline constexpr bool kGroupOnly = true;
inline constexpr mode_t kOthersDenied = 0007;
#else
inline constexpr bool kGroupOnly = false;
inline constexpr mode_t kOthersDenied = 0;
#endif

// Of the segment and of the semaphores.
inline constexpr int kIpcMode = 0666 & ~kOthersDenied;
// Of new files and directories, from which the process's mask takes more.
inline constexpr mode_t kFileMode = 0666 & ~kOthersDenied;
inline constexpr mode_t kDirectoryMode = 0777 & ~kOthersDenied;
// Of lock files, which a group can only share when all of it may write them.
inline constexpr mode_t kLockFileMode = kGroupOnly ? 0770 : 0755;

}  // namespace capi
