// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A path that stays once it is known.
//
// The stores' files are in a directory that is not known before the master has started. A process
// that was early gets along with a fallback; but once a file was found where it belongs, it is
// there for the life of the process, whatever the configuration says later.
//
// Threads need no lock: whichever is first keeps its path, and the others find that one or go on
// with the same of their own. A child that is forked while a thread is keeping a path has no such
// thread; it keeps one itself.
//
// Leaves to its callers when a path is one that stays, and what to use until then.
#pragma once

#include <sys/types.h>

#include <atomic>

#include "record/directory.h"

namespace capi {

struct FilePath {
  char text[kPathSize];
};

class KeptPath {
 public:
  bool is_kept() const { return keeper_.load(std::memory_order_acquire) == kKept; }
  const FilePath& path() const { return path_; }  // when it is kept

  // Keeps the first path that it gets.
  void keep(const FilePath& path);

 private:
  static constexpr pid_t kKept = -1;

  // Until then, the process of which a thread is writing the path; 0 when there is none.
  std::atomic<pid_t> keeper_{0};
  FilePath path_{};
};

}  // namespace capi
