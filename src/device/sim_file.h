// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The SIM information file "info.simcard", from which other programs learn about the SIM.
#pragma once

#include "capi/records.h"
#include "lock/critical_section.h"
#include "record/directory.h"

namespace capi {

inline constexpr size_t kSimPathSize = 256;

// Rewrites the file in the data directory, or deletes it when the ICCID or the IMSI is empty. Takes
// lock 10.
void refresh_sim_file(const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock)
    CAPI_EXCLUDES(kVopRunInfoLock);

// The path of the file. Takes lock 0.
void get_sim_file_path(char (&path)[kSimPathSize]) CAPI_EXCLUDES(kConfShmLock);

}  // namespace capi
