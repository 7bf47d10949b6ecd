// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The device that the operations are done on.
#pragma once

#include <string>
#include <vector>

namespace capi::crash {

inline constexpr char kNvDir[] = "/tmp/nv";
inline constexpr char kDataDir[] = "/tmp/data";

// Puts the device's files in place and starts its master, which ends again.
void make_device();

// Start this process as one of the device's. "log" takes its warnings and errors.
void start_master(std::vector<std::string>* log);
void start_user(std::vector<std::string>* log);

// The shared segment as it is now; puts it back so that one process leaves nothing to the next.
class Segment {
 public:
  Segment();
  ~Segment();
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

  void restore() const;

 private:
  void* memory_;
  std::string content_;
};

}  // namespace capi::crash
