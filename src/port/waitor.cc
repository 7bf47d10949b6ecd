// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/time.h>

#include <cstdlib>
#include <ctime>

#include "capi/thread.h"

namespace capi {
namespace {

class Guard {
 public:
  explicit Guard(mtx_t& mutex) : mutex_(mutex) { mtx_lock(&mutex_); }
  ~Guard() { mtx_unlock(&mutex_); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  mtx_t& mutex_;
};

// A deadline must be a proper time: a wait that refuses it would keep the mutex.
timespec time_after(int milliseconds) {
  constexpr long kNanosecondsPerSecond = 1000000000;
  const ldiv_t wait = ldiv(milliseconds > 0 ? milliseconds : 0, 1000);
  timeval now{};
  port_gettimeofday(&now);
  timespec time{};
  time.tv_sec = now.tv_sec + wait.quot;
  time.tv_nsec = now.tv_usec * 1000L + wait.rem * 1000000L;
  if (time.tv_nsec >= kNanosecondsPerSecond) {
    time.tv_nsec -= kNanosecondsPerSecond;
    ++time.tv_sec;
  }
  return time;
}

}  // namespace
}  // namespace capi

using namespace capi;

int waitor_init(waitor_t* waitor) {
  if (waitor == nullptr) return thrd_error;
  waitor->value = 0;
  mtx_init(&waitor->mutex, mtx_plain);
  cnd_init(&waitor->condition);
  return thrd_success;
}

int waitor_set(waitor_t* waitor, int value) {
  if (waitor == nullptr) return thrd_error;
  const Guard guard(waitor->mutex);
  waitor->value = value;
  if (value != 0) cnd_broadcast(&waitor->condition);
  return thrd_success;
}

int waitor_get(waitor_t* waitor) {
  if (waitor == nullptr) return 0;
  const Guard guard(waitor->mutex);
  return waitor->value;
}

int waitor_waitfor(waitor_t* waitor) {
  if (waitor == nullptr) return thrd_error;
  const Guard guard(waitor->mutex);
  while (waitor->value == 0) cnd_wait(&waitor->condition, &waitor->mutex);
  return thrd_success;
}

int waitor_waitfor_timeout(waitor_t* waitor, int milliseconds) {
  if (waitor == nullptr) return thrd_error;
  const timespec deadline = time_after(milliseconds);
  const Guard guard(waitor->mutex);
  while (waitor->value == 0) cnd_timedwait(&waitor->condition, &waitor->mutex, &deadline);
  return thrd_success;
}

int waitor_destroy(waitor_t* waitor) {
  if (waitor == nullptr) return thrd_error;
  cnd_destroy(&waitor->condition);
  mtx_destroy(&waitor->mutex);
  return thrd_success;
}
