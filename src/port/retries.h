// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The tries that a call has with a descriptor which does not wait.
//
// A signal that came in between is tried again at once, a descriptor that is not ready after a
// pause; any other failure is final. All waiting together is bounded by the number of tries, for
// callers are threads that have something else to do.
//
// Leaves to its callers what was moved meanwhile: a try that succeeds does not give back tries.
#pragma once

#include <cerrno>

#include "capi/thread.h"

namespace capi {

class Retries {
 public:
  explicit Retries(int count) : left_(count) {}

  // Says whether to try again what failed with this errno, after the pause.
  bool again(int error) {
    if (!may_pass(error) || left_ == 0) return false;
    --left_;
    if (error == EAGAIN) os_sleep(kPause);
    return true;
  }

  // Whether a failure is one that only lasted too long.
  bool used_up(int error) const { return may_pass(error) && left_ == 0; }

 private:
  static constexpr int kPause = 10;  // milliseconds

  static bool may_pass(int error) { return error == EINTR || error == EAGAIN; }

  int left_;
};

}  // namespace capi
