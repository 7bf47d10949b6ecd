// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/path.h"

#include <unistd.h>

#include <cstring>

namespace capi {
namespace {

constexpr char kDefaultPath[] = "/tmp/voip_call_log";

constinit KeptPath kept;

CallLogPath ask_backend() {
  CallLogPath path{};
  char dir[kDirSize];
  get_nv_dir(dir);
  make_path(path.text, dir, "voip_call_log");
  return path;
}

}  // namespace

void KeptPath::keep(const CallLogPath& path) {
  const pid_t self = getpid();
  pid_t keeper = keeper_.load(std::memory_order_relaxed);
  if (keeper == kKept || keeper == self) return;
  if (!keeper_.compare_exchange_strong(keeper, self)) return;
  path_ = path;
  keeper_.store(kKept, std::memory_order_release);
}

CallLogPath call_log_path() {
  if (kept.is_kept()) return kept.path();
  const CallLogPath path = ask_backend();
  if (strcmp(path.text, kDefaultPath) != 0) kept.keep(path);
  return path;
}

}  // namespace capi
