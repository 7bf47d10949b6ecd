// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Shows how deep a function goes into a thread's stack.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <thread>

namespace capi::test {

// Of a thread of the portable layer, and how much of it is left free.
inline constexpr size_t kDefaultStack = 20480;
inline constexpr size_t kSpare = 4096;

// What a thread does here, and how that went. Who ends the thread has answered well.
struct Task {
  bool (*run)();
  bool answered = true;
};

inline void* perform(void* arg) {
  Task& task = *static_cast<Task*>(arg);
  task.answered = task.run();
  return nullptr;
}

// A stack that shows how deep a thread went, what the C library keeps of it for itself included.
// It is large, so that a function that goes too deep is told of by its name.
class PaintedStack {
 public:
  PaintedStack()
      : memory_(static_cast<unsigned char*>(
            mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
  ~PaintedStack() { munmap(memory_, kSize); }
  PaintedStack(const PaintedStack&) = delete;
  PaintedStack& operator=(const PaintedStack&) = delete;

  // Runs a task on it. Returns the depth in bytes.
  size_t run(Task& task) {
    memset(memory_, kPaint, kSize);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, memory_, kSize);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, perform, &task), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const auto* deepest =
        std::find_if(memory_, memory_ + kSize, [](unsigned char byte) { return byte != kPaint; });
    return static_cast<size_t>(memory_ + kSize - deepest);
  }

 private:
  static constexpr size_t kSize = 64 * 1024;
  static constexpr unsigned char kPaint = 0xA5;

  unsigned char* memory_;
};

// The places that the default output goes to: nobody looks at what arrives there.
class DefaultOutput {
 public:
  DefaultOutput() : stderr_(dup(STDERR_FILENO)) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDERR_FILENO);
    close(null);
    EXPECT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0) << strerror(errno);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, "/dev/log");
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    closelog();
    reader_ = std::thread([this] {
      char message[4096];
      while (recv(socket_, message, sizeof message, 0) > 0) continue;
    });
  }
  ~DefaultOutput() {
    shutdown(socket_, SHUT_RDWR);
    reader_.join();
    closelog();
    close(socket_);
    umount2("/dev", MNT_DETACH);
    dup2(stderr_, STDERR_FILENO);
    close(stderr_);
  }
  DefaultOutput(const DefaultOutput&) = delete;
  DefaultOutput& operator=(const DefaultOutput&) = delete;

 private:
  int stderr_;
  int socket_ = socket(AF_UNIX, SOCK_DGRAM, 0);
  std::thread reader_;
};

}  // namespace capi::test
