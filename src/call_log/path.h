// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the call-log file is.
#pragma once

#include <sys/types.h>

#include <atomic>

#include "lock/critical_section.h"
#include "record/directory.h"

namespace capi {

struct CallLogPath {
  char text[kPathSize];
};

// A path that stays once it is known, whichever thread finds it first.
class KeptPath {
 public:
  bool is_kept() const { return keeper_.load(std::memory_order_acquire) == kKept; }
  const CallLogPath& path() const { return path_; }  // when it is kept

  // Keeps the first path that it gets.
  void keep(const CallLogPath& path);

 private:
  static constexpr pid_t kKept = -1;

  // Until then, the process of which a thread is writing the path; 0 when there is none. A child
  // that is forked meanwhile has no such thread and writes it itself.
  std::atomic<pid_t> keeper_{0};
  CallLogPath path_{};
};

// The file in the nv directory, or in "/tmp" as long as there is no other directory to be told.
// Takes lock 0 until the path is one that stays.
CallLogPath call_log_path() CAPI_EXCLUDES(kConfShmLock, kCallLogLock);

}  // namespace capi
