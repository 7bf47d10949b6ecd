// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The library's own way to take a critical section: a guard on one of the locks below.
#pragma once

#include <pthread.h>

#include "capi/lock.h"
#include "lock/thread_safety.h"

namespace capi {

// One of the inter-process locks.
struct CAPI_CAPABILITY("critical section") Lock {
  capi_lock_id id;
};

inline constexpr Lock kConfShmLock{CAPI_LOCK_CONF_SHM};
inline constexpr Lock kCallLogLock{CAPI_LOCK_CALL_LOG};
inline constexpr Lock kVopRunInfoLock{CAPI_LOCK_VOP_RUN_INFO};
inline constexpr Lock kVoiceSmsLock{CAPI_LOCK_VOICE_SMS};

// Holds off the cancellation of this thread for a scope. Built without exceptions, no destructor of
// ours runs in a thread that is cancelled, and its lock would stay taken until the process ends. A
// cancellation that is asked for meanwhile takes effect at the next cancellation point after it.
class CancellationHold {
 public:
  CancellationHold() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~CancellationHold() { pthread_setcancelstate(before_, nullptr); }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

// Holds a lock for a scope. Without the semaphore set, which is logged, the work goes on unlocked:
// a device whose "/tmp/m_data" got lost still makes calls.
class CAPI_SCOPED_CAPABILITY CriticalSection {
 public:
  explicit CriticalSection(const Lock& lock) CAPI_ACQUIRE(lock);
  ~CriticalSection() CAPI_RELEASE();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

 private:
  const CancellationHold hold_;  // from before the lock is asked for until it is given back
  capi_lock_id id_;
  int set_;  // that it was taken from; -1 without one
  bool refused_;
};

}  // namespace capi
