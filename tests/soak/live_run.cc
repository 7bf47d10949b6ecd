// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Readers without the lock, beside setters that are killed at random.
#include <sys/ipc.h>
#include <sys/shm.h>
#include <time.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

#include "capi/live.h"
#include "device.h"
#include "operations.h"
#include "pattern.h"
#include "record/news.h"
#include "runs.h"
#include "support/kernel.h"
#include "support/process.h"

namespace capi::soak {
namespace {

constexpr size_t kSetters = 2;
constexpr size_t kReaders = 2;
constexpr long kLongestLife = 3000000;  // nanoseconds between two kills
constexpr uint64_t kReadsEachKill = 20000;
constexpr unsigned kEnoughKills = 500;  // to find what is torn without the counter, too
constexpr unsigned kRefreshEach = 16;

// The segment, as somebody attaches it who knows nothing of the library.
const cfg_shared_record& raw_record() {
  static const void* const address =
      shmat(shmget(ftok("/usr/sbin/vsdk_cmd", 250), 0, 0), nullptr, SHM_RDONLY);
  return *static_cast<const cfg_shared_record*>(address);
}

// Each filled with one letter: a mixture shows.
template <typename Record>
Record filled(uint32_t number) {
  Record record;
  memset(&record, letter(number), sizeof record);
  return record;
}

template <typename Record>
bool is_whole(const Record& record) {
  return is_uniform({reinterpret_cast<const uint8_t*>(&record), sizeof record});
}

void set_for_ever(uint32_t number) {
  for (;; ++number) {
    const auto basic = filled<capi_voice_basic>(number);
    const auto parameter = filled<capi_voice_parameter>(number);
    if (capi_set_voice_basic(&basic) != 0) fail("setting a record");
    if (capi_set_voice_parameter(&parameter) != 0) fail("setting a record");
  }
}

// The same read by somebody who does not look at the counter.
template <typename Record>
void look_without_counter(const Record& shared) {
  Record record;
  memcpy(&record, &shared, sizeof record);
  ++board().plain_reads;
  if (!is_whole(record)) ++board().torn_plain_reads;
}

template <typename Record>
void check(const Record& record) {
  ++board().live_reads;
  if (is_whole(record)) return;
  ++board().torn_live_reads;
  fail("a live read is torn");
}

void read_for_ever() {
  auto snapshot = std::make_unique<cfg_shared_record>();
  uint64_t generation = 0;
  for (unsigned i = 0;; ++i) {
    capi_voice_basic basic;
    capi_voice_parameter parameter;
    if (capi_live_get_voice_basic(&basic) != 0) fail("a live read");
    if (capi_live_get_voice_parameter(&parameter) != 0) fail("a live read");
    check(basic);
    check(parameter);
    look_without_counter(raw_record().voice_parameter);
    if (i % kRefreshEach != 0) continue;
    if (capi_live_refresh(snapshot.get(), &generation) < 0) fail("refreshing");
    check(snapshot->voice_basic);
    check(snapshot->voice_parameter);
  }
}

void rest(long nanoseconds) {
  const timespec time{0, nanoseconds};
  nanosleep(&time, nullptr);
}

}  // namespace

void run_live(const KillPlan& plan) {
  Random random(plan.seed);
  const auto basic = filled<capi_voice_basic>(0);
  const auto parameter = filled<capi_voice_parameter>(0);
  capi_set_voice_basic(&basic);
  capi_set_voice_parameter(&parameter);

  std::array<std::unique_ptr<test::Process>, kReaders> readers;
  for (auto& reader : readers) {
    reader = std::make_unique<test::Process>([] {
      start_process();
      read_for_ever();
    });
  }
  std::array<std::unique_ptr<test::Process>, kSetters> setters;
  const auto start = [&](size_t i) {
    const auto number = static_cast<uint32_t>(random());
    setters[i] = std::make_unique<test::Process>([number] {
      start_process();
      set_for_ever(number);
    });
  };
  for (size_t i = 0; i < kSetters; ++i) start(i);
  unsigned left_odd = 0;
  const Board& notes = board();
  // Elsewhere a kill may leave half of a record, and no read can make that whole.
  const bool kills_cut_nothing = test::kernel_copies_memory();
  unsigned kills = 0;
  for (unsigned turn = 0; turn < plan.kills || notes.live_reads < kReadsEachKill * plan.kills;
       ++turn) {
    rest(static_cast<long>(random() % kLongestLife));
    if (!kills_cut_nothing) continue;
    const size_t victim = random() % kSetters;
    setters[victim]->kill();
    ++kills;
    left_odd += news_of(raw_record()).generation.load() % 2;
    start(victim);
  }
  for (auto& process : setters) process->kill();
  for (auto& process : readers) process->kill();

  printf("seed %u: %u setters killed\n", plan.seed, kills);
  printf("%-28s %12llu reads, %llu torn\n", "with the counter",
         static_cast<unsigned long long>(notes.live_reads.load()),
         static_cast<unsigned long long>(notes.torn_live_reads.load()));
  printf("%-28s %12llu reads, %llu torn\n", "without it",
         static_cast<unsigned long long>(notes.plain_reads.load()),
         static_cast<unsigned long long>(notes.torn_plain_reads.load()));
  printf("a generation was odd after a kill %u times\n", left_odd);
  if (kills >= kEnoughKills && notes.torn_plain_reads == 0) fail("the check finds nothing");
}

}  // namespace capi::soak
