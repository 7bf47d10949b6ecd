// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tools::mqtt {

// Numbers for the states of the settings. The library's own begin anew with each start of the
// device: these grow as long as their file or the clock is right, so that one that somebody has
// read before is never that of other settings.
class Generations {
 public:
  explicit Generations(std::string path) : path_(std::move(path)) {}

  // One that there was not yet. "Now" in seconds since 1970.
  uint64_t next(int64_t now);

 private:
  void reserve(int64_t now);

  std::string path_;
  uint64_t last_ = 0;
  uint64_t end_ = 0;  // those from here on belong to later processes
};

}  // namespace tools::mqtt
