// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Waiting for changes, as long as somebody wants to know of them.
#pragma once

#include <memory>

#include "context.h"

namespace tools::capictl {

class Watcher {
 public:
  // Begins to watch these topics (capi/watch.h). After a wake-up at least this time passes until
  // the next. Needs an Attachment. Throws a Failure.
  explicit Watcher(unsigned topics, int pause_ms = 0);
  ~Watcher();
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  // Waits for a change. Returns its topics, or 0 when it is time to end: the user wants it, by
  // SIGINT or SIGTERM, or nobody reads standard output any more.
  unsigned wait();

 private:
  // False when it is time to end; the latest with the watch readable, or after a time without it.
  bool wait_for(bool wants_watch, int timeout_ms);

  capi_watch watch_{};
  int signals_;
  int pause_ms_;
  bool is_first_ = true;
};

// The record as it was at the last look.
class View {
 public:
  View() { look(); }
  // Returns what it was before.
  std::unique_ptr<cfg_shared_record> look();
  const cfg_shared_record& record() const { return *record_; }

 private:
  std::unique_ptr<cfg_shared_record> record_ = std::make_unique<cfg_shared_record>();
  uint64_t generation_ = 0;
};

// Hands on at once what was printed. False when nobody reads it, or it cannot be written.
bool flush_line();

}  // namespace tools::capictl
