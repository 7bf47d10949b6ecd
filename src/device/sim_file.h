// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The SIM information file "info.simcard", from which other programs learn about the SIM.
//
// The voice stack's programs read it when their own file was written, so it is refreshed together
// with that one (stack/stack_file.cc), and by itself when a program asks for it. Its readers here
// look at it under the same lock, 10.
//
// It exists only while the SIM is known: without an ICCID or an IMSI it is deleted, so that nobody
// works with the values of a SIM that was taken out.
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
