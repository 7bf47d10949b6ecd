// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Signals that reach this process while it waits.
#pragma once

#include <signal.h>

#include <string>

namespace capi::test {

// Handles SIGUSR1, for a scope, in the way that lets it interrupt system calls.
class Interruption {
 public:
  Interruption() {
    handled = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { handled = handled + 1; };
    sigaction(SIGUSR1, &action, &before_);
  }
  ~Interruption() { sigaction(SIGUSR1, &before_, nullptr); }
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Shell commands that send the signal as soon as a process, that of the test, waits.
  static std::string of(const std::string& pid) {
    return "until grep -q '^State:.S' /proc/" + pid + "/status; do :; done; kill -USR1 " + pid +
           "; ";
  }

  int count() const { return handled; }

 private:
  static inline volatile sig_atomic_t handled = 0;
  struct sigaction before_ {};
};

}  // namespace capi::test
