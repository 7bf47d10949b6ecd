// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The library's own way to take a critical section: a guard on one of the locks below.
#pragma once

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

// Holds a lock for a scope. Without the semaphore set, which is logged, the work goes on unlocked:
// a device whose "/tmp/m_data" got lost still makes calls.
class CAPI_SCOPED_CAPABILITY CriticalSection {
 public:
  explicit CriticalSection(const Lock& lock) CAPI_ACQUIRE(lock);
  ~CriticalSection() CAPI_RELEASE();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

 private:
  capi_lock_id id_;
  int set_;  // that it was taken from; -1 without one
  bool refused_;
};

}  // namespace capi
