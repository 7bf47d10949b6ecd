// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// In debug builds: that a thread takes locks in rising order and none twice. Either mistake could
// make two processes wait for each other, or one for itself, for ever.
//
// A lock belongs to the process, so any of its threads may give back what another one took, and may
// wait for what another one holds. A thread is held to the order only by the locks that it took
// itself and that nobody in the process has given back since: those it cannot wait for.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cassert>

#include "capi/lock.h"

namespace capi::lock_order {

#ifdef NDEBUG

inline void check(unsigned) {}
inline void taken(unsigned) {}
inline void freed(unsigned) {}

#else

// The thread that took each lock which this process holds, by an id that no other process has: a
// child of fork() does not hold its parent's locks.
inline constinit std::atomic<pid_t> takers[CAPI_LOCK_COUNT]{};

inline void check(unsigned id) {
  const pid_t self = gettid();
  for (unsigned other = id; other < CAPI_LOCK_COUNT; ++other) {
    assert(takers[other] != self && "lock taken out of order");
  }
}

// The kernel has given "id", so it is a lock of the set.
inline void taken(unsigned id) { takers[id] = gettid(); }

inline void freed(unsigned id) {
  if (id < CAPI_LOCK_COUNT) takers[id] = 0;
}

#endif

}  // namespace capi::lock_order
