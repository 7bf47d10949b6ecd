// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <memory>

#include "inspection.h"
#include "operations.h"
#include "runs.h"
#include "support/kernel.h"
#include "support/process.h"

namespace capi::soak {
namespace {

constexpr size_t kWorkers = 4;
constexpr unsigned kPatience = 60;      // seconds, for a machine that is busy otherwise
constexpr long kLongestLife = 4000000;  // nanoseconds between two kills

double seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void rest(long nanoseconds) {
  const timespec time{0, nanoseconds};
  nanosleep(&time, nullptr);
}

void give_up(int) {
  constexpr char kText[] = "FAILED: nothing moves: a lock is still held\n";
  if (write(STDERR_FILENO, kText, sizeof kText - 1) < 0) _exit(2);
  _exit(1);
}

class Workers {
 public:
  explicit Workers(Random& random) : random_(random) {
    for (size_t i = 0; i < kWorkers; ++i) start(i);
  }

  // Kills one of them and returns what it was about to write.
  Store kill_one(size_t victim) {
    processes_[victim]->kill();
    Board::Worker& worker = board().worker[victim];
    return worker.at.exchange(Store::Nothing);
  }

  void start(size_t i) {
    Board::Worker& worker = board().worker[i];
    const uint32_t seed = static_cast<uint32_t>(random_());
    processes_[i] = std::make_unique<test::Process>([&worker, seed] {
      start_process();
      for (Random random(seed);;) do_any_operation(worker, random);
    });
  }

  // Waits until every one has finished two operations more: the second began after the call.
  void await_progress() const {
    std::array<uint32_t, kWorkers> goal;
    for (size_t i = 0; i < kWorkers; ++i) goal[i] = board().worker[i].operations + 2;
    for (size_t i = 0; i < kWorkers; ++i) {
      while (static_cast<int32_t>(board().worker[i].operations - goal[i]) < 0) rest(200000);
    }
  }

 private:
  Random& random_;
  std::array<std::unique_ptr<test::Process>, kWorkers> processes_;
};

struct Row {
  Store store;
  char name[40];
  char loses[24];
};
constexpr Row kRows[] = {
    {Store::CallLog, "call log, added and cleaned", "calls"},
    {Store::CallLogNodes, "call log, an entry deleted", "calls"},
    {Store::Received, "received messages", "messages"},
    {Store::Sent, "sent messages", "messages"},
    {Store::StatusFiles, "status files", ""},
    {Store::SimFile, "SIM file", ""},
    {Store::StackFiles, "voice-stack files", ""},
    {Store::VoiceBlock, "file of the IMS voice block", ""},
    {Store::Records, "records in the segment", ""},
};

void print_table(const Inspection& inspection) {
  printf("%-36s %10s %8s %6s  %s\n", "", "operations", "kills", "cut", "lost with it");
  for (const Row& row : kRows) {
    const auto store = static_cast<size_t>(row.store);
    const Tally& tally = inspection.tallies()[store];
    printf("%-36s %10llu %8u %6u", row.name,
           static_cast<unsigned long long>(board().operations[store]), tally.kills, tally.cut);
    if (row.loses[0] != '\0') printf("  %u %s", tally.lost, row.loses);
    printf("\n");
  }
  const Tally& reading = inspection.tallies()[static_cast<size_t>(Store::Nothing)];
  printf("%-36s %10llu %8u\n", "reading only",
         static_cast<unsigned long long>(board().operations[0]), reading.kills);
  printf("readers saw half of a record %u times\n", board().halves_seen.load());
}

}  // namespace

void run_kills(const KillPlan& plan) {
  Random random(plan.seed);
  signal(SIGALRM, give_up);
  alarm(kPatience);
  Inspection inspection(random);
  Workers workers(random);
  const double start = seconds();
  unsigned kills = 0;
  while (kills < plan.kills && (plan.minutes == 0 || seconds() - start < 60 * plan.minutes)) {
    alarm(kPatience);
    rest(static_cast<long>(random() % kLongestLife));
    const auto victim = static_cast<size_t>(random() % kWorkers);
    const Store at = workers.kill_one(victim);
    workers.start(victim);
    inspection.after_kill(at);
    workers.await_progress();
    ++kills;
  }
  alarm(0);
  printf("seed %u: %u kills in %.0f s\n", plan.seed, kills, seconds() - start);
  print_table(inspection);
  const unsigned cut = inspection.tallies()[static_cast<size_t>(Store::Records)].cut;
  if (test::kernel_copies_memory() && cut + board().halves_seen > 0) fail("half of a record");
}

}  // namespace capi::soak
