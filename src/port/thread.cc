// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/thread.h"

#include <sched.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "foundation/memory.h"

namespace capi {
namespace {

int result_of(int error) { return error == 0 ? thrd_success : thrd_error; }

int timed_result_of(int error) { return error == ETIMEDOUT ? thrd_timedout : result_of(error); }

class MutexAttributes {
 public:
  explicit MutexAttributes(int kind) {
    pthread_mutexattr_init(&attributes_);
    pthread_mutexattr_settype(&attributes_, kind);
  }
  ~MutexAttributes() { pthread_mutexattr_destroy(&attributes_); }
  MutexAttributes(const MutexAttributes&) = delete;
  MutexAttributes& operator=(const MutexAttributes&) = delete;

  const pthread_mutexattr_t* get() const { return &attributes_; }

 private:
  pthread_mutexattr_t attributes_;
};

size_t stack_size(int kib) {
  constexpr int kMaxKib = 4096;
  constexpr size_t kDefault = 20480;
  const size_t wanted = kib <= 0 ? kDefault : static_cast<size_t>(std::min(kib, kMaxKib)) * 1024;
  const long minimum = sysconf(_SC_THREAD_STACK_MIN);
  return minimum > 0 ? std::max(wanted, static_cast<size_t>(minimum)) : wanted;
}

class ThreadAttributes {
 public:
  explicit ThreadAttributes(size_t stack) {
    pthread_attr_init(&attributes_);
    pthread_attr_setstacksize(&attributes_, stack);
  }
  ~ThreadAttributes() { pthread_attr_destroy(&attributes_); }
  ThreadAttributes(const ThreadAttributes&) = delete;
  ThreadAttributes& operator=(const ThreadAttributes&) = delete;

  const pthread_attr_t* get() const { return &attributes_; }

 private:
  pthread_attr_t attributes_;
};

// What a new thread is to do. It belongs to the thread, which frees it first.
struct Start {
  thrd_start_t function;
  void* arg;
};

void* run(void* memory) {
  const Start start = *static_cast<Start*>(memory);
  free(memory);
  start.function(start.arg);
  return nullptr;
}

void sleep_for(long seconds, long microseconds) {
  if (seconds <= 0 && microseconds <= 0) return;
  timeval time{};
  time.tv_sec = seconds;
  time.tv_usec = microseconds;
  select(0, nullptr, nullptr, nullptr, &time);
}

}  // namespace
}  // namespace capi

using namespace capi;

int mtx_init(mtx_t* mutex, int type) {
  if (mutex == nullptr) return thrd_error;
  const bool recursive = (type & mtx_recursive) != 0;
  const MutexAttributes attributes(recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_DEFAULT);
  return result_of(pthread_mutex_init(mutex, attributes.get()));
}

int mtx_lock(mtx_t* mutex) {
  return mutex != nullptr ? result_of(pthread_mutex_lock(mutex)) : thrd_error;
}

int mtx_unlock(mtx_t* mutex) {
  return mutex != nullptr ? result_of(pthread_mutex_unlock(mutex)) : thrd_error;
}

int mtx_timedlock(mtx_t* mutex, const timespec* deadline) {
  if (mutex == nullptr || deadline == nullptr) return thrd_error;
  return timed_result_of(pthread_mutex_timedlock(mutex, deadline));
}

int mtx_trylock(mtx_t* mutex) {
  return mutex != nullptr && pthread_mutex_trylock(mutex) == 0 ? thrd_success : thrd_busy;
}

int mtx_destroy(mtx_t* mutex) { return mutex != nullptr ? pthread_mutex_destroy(mutex) : EINVAL; }

int cnd_init(cnd_t* condition) {
  return condition != nullptr ? result_of(pthread_cond_init(condition, nullptr)) : thrd_error;
}

int cnd_signal(cnd_t* condition) {
  return condition != nullptr ? result_of(pthread_cond_signal(condition)) : thrd_error;
}

int cnd_broadcast(cnd_t* condition) {
  return condition != nullptr ? result_of(pthread_cond_broadcast(condition)) : thrd_error;
}

int cnd_wait(cnd_t* condition, mtx_t* mutex) {
  if (condition == nullptr || mutex == nullptr) return thrd_error;
  return result_of(pthread_cond_wait(condition, mutex));
}

int cnd_timedwait(cnd_t* condition, mtx_t* mutex, const timespec* deadline) {
  if (condition == nullptr || mutex == nullptr || deadline == nullptr) return thrd_error;
  return timed_result_of(pthread_cond_timedwait(condition, mutex, deadline));
}

int cnd_destroy(cnd_t* condition) {
  return condition != nullptr ? pthread_cond_destroy(condition) : EINVAL;
}

int thrd_create(thrd_t* thread, int stack_kib, thrd_start_t function, void* arg) {
  if (thread == nullptr || function == nullptr) return thrd_error;
  *thread = 0;
  Allocated<Start> start(static_cast<Start*>(malloc(sizeof(Start))));
  if (!start) return thrd_nomem;
  *start = {function, arg};
  const ThreadAttributes attributes(stack_size(stack_kib));
  if (pthread_create(thread, attributes.get(), run, start.get()) != 0) {
    *thread = 0;
    return thrd_error;
  }
  static_cast<void>(start.release());
  return *thread != 0 ? thrd_success : thrd_error;
}

thrd_t thrd_current() { return pthread_self(); }

int thrd_equal(thrd_t a, thrd_t b) { return pthread_equal(a, b) != 0 ? 1 : 0; }

void thrd_exit(int /*result*/) { pthread_exit(nullptr); }

int thrd_detach(thrd_t thread) {
  return thread != 0 ? result_of(pthread_detach(thread)) : thrd_error;
}

int thrd_join(thrd_t thread, int* result) {
  if (thread == 0 || pthread_join(thread, nullptr) != 0) return thrd_error;
  if (result != nullptr) *result = 0;
  return thrd_success;
}

int thrd_sleep(const timespec* duration, timespec* remaining) {
  return duration != nullptr ? nanosleep(duration, remaining) : -1;
}

int thrd_yield() { return sched_yield(); }

int port_gettimeofday(timeval* now) { return now != nullptr ? gettimeofday(now, nullptr) : -1; }

// By ldiv(): what the compiler brings along for "/" is 1.5 KB of code on the device.
void os_sleep(int milliseconds) {
  const ldiv_t time = ldiv(milliseconds, 1000);
  sleep_for(time.quot, time.rem * 1000);
}

void os_usleep(int microseconds) {
  const ldiv_t time = ldiv(microseconds, 1000000);
  sleep_for(time.quot, time.rem);
}
