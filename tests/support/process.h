// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Other processes of the device.
#pragma once

#include <sys/types.h>

#include <functional>

namespace capi::test {

// A forked process that runs "body". It dies with the test at the latest.
class Process {
 public:
  explicit Process(const std::function<void()>& body);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  void kill();  // SIGKILL, and waits

  // Waits for the end. True when the body ended without a failed expectation.
  bool succeeded();

 private:
  int wait();

  pid_t pid_;
};

// Runs "body" in another process, to its end. Failed expectations in it fail the test.
void in_other_process(const std::function<void()>& body);

// A one-way signal between processes that were forked after it was made.
class Baton {
 public:
  Baton();
  ~Baton();
  Baton(const Baton&) = delete;
  Baton& operator=(const Baton&) = delete;

  void pass();
  void await();  // until somebody passes it

 private:
  int fds_[2];
};

}  // namespace capi::test
