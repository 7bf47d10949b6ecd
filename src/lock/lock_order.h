// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// In debug builds: which locks this thread holds, and that it takes them in rising order and none
// twice. Either mistake could make two processes wait for each other, or one for itself, for ever.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cassert>
#include <cstdint>

namespace capi::lock_order {

#ifdef NDEBUG

inline void check(unsigned) {}
inline void taken(unsigned) {}
inline void freed(unsigned) {}

#else

struct Held {
  pid_t process = 0;   // a child of fork() does not hold its parent's locks
  uint32_t locks = 0;  // a bit a lock
};
inline constinit thread_local Held held;

inline uint32_t& locks_of_this_thread() {
  if (held.process != getpid()) held = {.process = getpid()};
  return held.locks;
}

inline void check(unsigned id) {
  assert(locks_of_this_thread() >> (id & 31) == 0 && "lock taken out of order");
}
inline void taken(unsigned id) { locks_of_this_thread() |= 1U << (id & 31); }
inline void freed(unsigned id) { locks_of_this_thread() &= ~(1U << (id & 31)); }

#endif

}  // namespace capi::lock_order
