// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The owner of a file descriptor: whatever way a function is left, its descriptors are closed, and
// errno is still that of what went wrong before.
//
// Leaves to its callers how a file is opened. Close-on-exec is theirs to ask for: programs that
// other threads start must inherit nothing of ours.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace capi {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    const int error = errno;
    close();
    errno = error;
  }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }

  // Gives it away, as to a stream that closes it.
  int release() { return std::exchange(fd_, -1); }

  // False, with errno set, where that did not go well; it is closed all the same. Who does not need
  // to know leaves it to the destructor, which leaves errno alone.
  bool close() { return fd_ < 0 || ::close(std::exchange(fd_, -1)) == 0; }

 private:
  int fd_ = -1;
};

}  // namespace capi
