// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>

namespace tools::mqtt {

// How long to wait between attempts to connect: up to twice as long as after the one before, from a
// second to five minutes, and a random part of that, so that thousands of adapters whose broker was
// gone do not come back at once.
class Backoff {
 public:
  static constexpr int64_t kFirstMs = 1000;
  static constexpr int64_t kMostMs = 300'000;

  // Random gives a number from 0 to below 1.
  explicit Backoff(double (*random)()) : random_(random) {}

  // After another failure.
  int64_t next() {
    const int64_t most = most_;
    most_ = std::min(most_ * 2, kMostMs);
    return static_cast<int64_t>(random_() * static_cast<double>(most));
  }

  // A connection has lasted: one that is lost at once is a failure, as of two adapters with one
  // name, which push each other out.
  void succeeded() { most_ = kFirstMs; }

 private:
  double (*random_)();
  int64_t most_ = kFirstMs;
};

}  // namespace tools::mqtt
