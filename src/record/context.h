// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a process knows about the shared record: where it is attached, and its own staging copy.
//
// The record is one flat structure in a System V segment, the same for all processes; its layout is
// part of the interface (include/capi/records.h). The staging copy is the process's own: setting
// files are read into it, and only publishing takes it over into the segment. A process works
// without either when it could not attach; every access asks first.
//
// Leaves to its callers the checks of what they find: any process may have written anything into
// the segment, and may do so between two looks at it, where it does not keep to lock 0.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

#include "capi/lifecycle.h"
#include "capi/records.h"
#include "lock/critical_section.h"

namespace capi {

inline constexpr size_t kKeyPathSize = 512;

struct cfg_backend_context {
  int32_t shm_id;          // -1 until there is one
  void* shm_addr;          // what shmat() gave, good or not
  cfg_shared_record* shm;  // null unless attached
  capi_callbacks callbacks;
  cfg_shared_record staging;  // setting files are read into it

  // For the looks whether the segment is still the one that everybody else finds.
  char key_path[kKeyPathSize];    // absolute, for the process may go to another directory
  int32_t seen_id;                // the segment at the last look, -1 for none
  std::atomic<time_t> looked_at;  // in seconds of the coarse clock
};

// The context of this process; null before capi_init() and after capi_uninit(). Whether there is
// one may be asked without the lock; what is in it may not.
cfg_backend_context* context();

// The record in the segment, or null when there is none attached. At most once a second it looks
// whether another segment has taken the place of the attached one, and puts it there: at the same
// address, so that a pointer to the record stays good, also one that is used without the lock.
cfg_shared_record* shared_record() CAPI_REQUIRES(kConfShmLock);

// Runs "body" on the record under lock 0. Returns its result, or -1 when none is attached.
template <typename Body>
int with_shared_record(Body&& body) {
  const CriticalSection section(kConfShmLock);
  cfg_shared_record* record = shared_record();
  return record != nullptr ? body(*record) : -1;
}

}  // namespace capi
