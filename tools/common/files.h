// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files as programs beside the library write them.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace files {

// Closes a descriptor at the end of its scope; -1 is none.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool is_open() const { return fd_ != -1; }

 private:
  int fd_;
};

// Replaces a file by this content, or leaves it as it was: it is written whole, to the medium,
// before it gets its name. What is no regular file is written to. Two must not do so at the same
// time. Returns 0 or an error number.
int replace(const std::string& path, std::string_view content, mode_t mode);

// Tells a file from another one, and from what it was before, without opening it. All 0 where
// there is none.
using State = std::array<int64_t, 5>;
State state_of(const std::string& path);

// What was renamed in or removed from the directory of this file is so on the medium. Returns 0,
// also where a directory cannot be synced, or an error number.
int sync_directory_of(const std::string& path);

}  // namespace files
