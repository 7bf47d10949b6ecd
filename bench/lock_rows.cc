// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The lock pair, alone and with others after the same lock.

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <new>
#include <vector>

#include "bench.h"
#include "capi.h"
#include "floor.h"

namespace bench {
namespace {

void our_pair() {
  capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
  capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
}

void floor_pair() { const floor::Lock guard(CAPI_LOCK_CONF_SHM); }

using Pair = void (*)();

// Processes that are after the lock as long as this lives.
class Rivals {
 public:
  Rivals(int count, Pair pair) {
    void* shared =
        mmap(nullptr, sizeof *stop_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(shared != MAP_FAILED, "memory can be shared");
    stop_ = new (shared) std::atomic<bool>(false);
    for (int i = 0; i < count; ++i) processes_.push_back(start(pair));
  }
  ~Rivals() {
    *stop_ = true;
    for (const pid_t process : processes_) waitpid(process, nullptr, 0);
    munmap(stop_, sizeof *stop_);
  }
  Rivals(const Rivals&) = delete;
  Rivals& operator=(const Rivals&) = delete;

 private:
  pid_t start(Pair pair) {
    const pid_t process = fork();
    if (process != 0) return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (!*stop_) pair();
    _exit(0);
  }

  std::atomic<bool>* stop_;
  std::vector<pid_t> processes_;
};

std::function<void(benchmark::State&)> contest(int processes, Pair pair) {
  return [=](benchmark::State& state) {
    const Rivals rivals(processes - 1, pair);
    for (auto iteration : state) pair();
  };
}

}  // namespace

Rows lock_rows() {
  Rows rows{{"lock and unlock", 1.02, {{"ours", repeat(our_pair)}, {"floor", repeat(floor_pair)}}}};
  for (const int processes : {2, 4, 8}) {
    rows.push_back(
        {"the same, " + std::to_string(processes) + " processes contending",
         1.10,
         {{"ours", contest(processes, our_pair)}, {"floor", contest(processes, floor_pair)}},
         Clock::Wall});
  }
  return rows;
}

}  // namespace bench
