// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/path.h"

#include <atomic>
#include <cstdio>
#include <cstring>

namespace capi {
namespace {

constexpr char kDefaultPath[] = "/tmp/voip_call_log";

enum class Settled : int { No, ByAThreadJustNow, Yes };

// Written once, by whichever thread finds a path to keep first.
constinit CallLogPath kept_path{};
constinit std::atomic<Settled> settled{Settled::No};

void keep(const CallLogPath& path) {
  Settled expected = Settled::No;
  if (!settled.compare_exchange_strong(expected, Settled::ByAThreadJustNow)) return;
  kept_path = path;
  settled.store(Settled::Yes, std::memory_order_release);
}

CallLogPath ask_backend() {
  CallLogPath path{};
  char dir[kDirSize];
  const bool told = get_nv_dir(dir);
  snprintf(path.text, sizeof path.text, "%s/voip_call_log", told ? dir : "/tmp");
  return path;
}

}  // namespace

CallLogPath call_log_path() {
  if (settled.load(std::memory_order_acquire) == Settled::Yes) return kept_path;
  const CallLogPath path = ask_backend();
  if (strcmp(path.text, kDefaultPath) != 0) keep(path);
  return path;
}

}  // namespace capi
