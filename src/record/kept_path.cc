// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/kept_path.h"

#include <unistd.h>

namespace capi {

void KeptPath::keep(const FilePath& path) {
  const pid_t self = getpid();
  pid_t keeper = keeper_.load(std::memory_order_relaxed);
  if (keeper == kKept || keeper == self) return;
  if (!keeper_.compare_exchange_strong(keeper, self)) return;
  path_ = path;
  keeper_.store(kKept, std::memory_order_release);
}

}  // namespace capi
