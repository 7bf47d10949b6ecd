// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The library's own way to take a critical section: a guard on one of the locks below.
//
// The locks are between processes, one System V semaphore each, and the kernel gives back what a
// process held that dies. They are not recursive, and between the threads of a process they are no
// different. They are taken in the order of their ids and never for longer than a piece of work on
// memory or one file; no signal is posted and no callback called under the locks of the stores. The
// callbacks of capi_init() run under lock 0, which is why they must not call back.
//
// Clang checks at compile time who takes and who expects what (lock/thread_safety.h); debug builds
// check the order when they run (lock/lock_order.h).
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
  explicit CriticalSection(const Lock& lock) CAPI_ACQUIRE(lock) : CriticalSection(lock.id) {}
  ~CriticalSection() CAPI_RELEASE();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

 private:
  explicit CriticalSection(capi_lock_id id);

  const CancellationHold hold_;  // from before the lock is asked for until it is given back
  capi_lock_id id_;
  int set_;  // that it was taken from; -1 without one
  bool refused_;
};

// Whether this thread has lock 0 and would wait for itself.
bool has_conf_shm_lock();

// Whether there is a set of locks; logs nothing.
bool are_there_locks();

// The same without a word in the log, for lock 0 alone. Tells whether it was given; without a set,
// or to a thread that has it already, it is not.
class QuietSection {
 public:
  QuietSection();
  ~QuietSection();
  QuietSection(const QuietSection&) = delete;
  QuietSection& operator=(const QuietSection&) = delete;

  explicit operator bool() const { return set_ != -1; }

 private:
  const CancellationHold hold_;
  int set_;
};

}  // namespace capi
