// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a process knows about the shared record: where it is attached, and its own staging copy.
#pragma once

#include <cstdint>

#include "capi/lifecycle.h"
#include "capi/records.h"
#include "lock/critical_section.h"

namespace capi {

struct cfg_backend_context {
  int32_t is_master;
  int32_t shm_id;          // -1 until there is one
  void* shm_addr;          // what shmat() gave, good or not
  cfg_shared_record* shm;  // null unless attached
  capi_callbacks callbacks;
  cfg_shared_record staging;  // setting files are read into it
};

// The context of this process; null before capi_init() and after capi_uninit(). Whether there is
// one may be asked without the lock; what is in it may not.
cfg_backend_context* context();

// The record in the segment, or null when there is none attached.
cfg_shared_record* shared_record() CAPI_REQUIRES(kConfShmLock);

// Runs "body" on the record under lock 0. Returns its result, or -1 when none is attached.
template <typename Body>
int with_shared_record(Body&& body) {
  const CriticalSection section(kConfShmLock);
  cfg_shared_record* record = shared_record();
  return record != nullptr ? body(*record) : -1;
}

}  // namespace capi
