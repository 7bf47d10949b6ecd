// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A FIFO where a file belongs.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace capi::test {

// Who opens it to write would wait for ever. After some time there is a reader, so that the test
// fails and does not hang with him.
class Fifo {
 public:
  explicit Fifo(const char* path) {
    path_ = path;
    std::filesystem::remove_all(path);
    EXPECT_EQ(mkfifo(path, 0666), 0) << path;
    signal(SIGALRM, [](int) { open(path_, O_RDONLY | O_NONBLOCK); });
    alarm(20);
  }

  ~Fifo() {
    alarm(0);
    std::filesystem::remove(path_);
  }

  Fifo(const Fifo&) = delete;
  Fifo& operator=(const Fifo&) = delete;

 private:
  static inline const char* path_ = nullptr;
};

}  // namespace capi::test
