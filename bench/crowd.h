// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Processes that do something until they are told to end.
#pragma once

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <vector>

#include "bench.h"

namespace bench {

// Something in memory that all processes share which are forked later.
template <typename T>
class Shared {
 public:
  Shared() {
    void* memory =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "memory can be shared");
    value_ = new (memory) T();
  }
  ~Shared() { munmap(value_, sizeof(T)); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  T& operator*() const { return *value_; }
  T* operator->() const { return value_; }

 private:
  T* value_;
};

class Crowd {
 public:
  Crowd() = default;
  ~Crowd() {
    for (const pid_t process : processes_) kill(process, SIGKILL);
    for (const pid_t process : processes_) waitpid(process, nullptr, 0);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  // Starts a process that runs "work" for ever.
  template <typename Work>
  void start(Work work) {
    const pid_t process = fork();
    require(process != -1, "a process starts");
    if (process == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (;;) work();
    }
    processes_.push_back(process);
  }

 private:
  std::vector<pid_t> processes_;
};

}  // namespace bench
