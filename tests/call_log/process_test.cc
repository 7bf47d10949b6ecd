// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Several processes on one call log, and processes that die in the middle of something.

#include <functional>
#include <random>

#include "call_log_test.h"

namespace capi::test {
namespace {

class CallLogProcesses : public CallLog {
 protected:
  void SetUp() override {
    CallLog::SetUp();
    ASSERT_EQ(capi_voip_init_call_log_file(), 0);
  }

  // What every process may do with the log after another one died.
  static void expect_others_go_on() {
    EXPECT_EQ(lock_value(CAPI_LOCK_CALL_LOG), 1);
    EXPECT_EQ(capi_voip_init_call_log_file(), 0);
    const Image image = empty_image();
    EXPECT_EQ(capi_voip_read_call_log(image.get()), 0);
    const auto record = call(1);
    EXPECT_EQ(capi_voip_add_call_log(1, &record), 0);
  }
};

TEST_F(CallLogProcesses, ProcessesThatAddAtOnceLoseNothing) {
  constexpr unsigned kProcesses = 4;
  constexpr unsigned kCalls = 20;
  std::vector<std::unique_ptr<Process>> processes;
  for (unsigned p = 0; p < kProcesses; ++p) {
    processes.push_back(std::make_unique<Process>([p] {
      for (unsigned n = 0; n < kCalls; ++n) {
        const auto record = call(p * kCalls + n);
        EXPECT_EQ(capi_voip_add_call_log(p % CAPI_CALL_LOG_TYPES, &record), 0);
      }
    }));
  }
  for (auto& process : processes) EXPECT_TRUE(process->succeeded());

  const Image image = empty_image();
  ASSERT_EQ(capi_voip_read_call_log(image.get()), 0);
  ASSERT_EQ(image->header.used.count, kProcesses * kCalls);
  std::vector<unsigned> next(kProcesses, 0);
  uint16_t node = image->header.used.head;
  for (unsigned sequence = 0; sequence < kProcesses * kCalls; ++sequence) {
    const capi_call_log_record& entry = image->node[node];
    EXPECT_EQ(entry.sequence, sequence);
    const unsigned process = number_of(entry) / kCalls;
    ASSERT_LT(process, kProcesses);
    EXPECT_EQ(number_of(entry) % kCalls, next[process]++) << "each process's calls are in order";
    node = entry.all_next;
  }
  EXPECT_EQ(posted().size(), kProcesses * kCalls);
}

TEST_F(CallLogProcesses, AProcessThatDiesAtAnyMomentLeavesTheOldCallsOrTheNew) {
  const auto record = call(100);
  const std::function<int()> operations[] = {
      [&] { return capi_voip_add_call_log(0, &record); },
      [] { return capi_voip_delete_call_log_by_node(1, 4); },
      [] { return capi_voip_clean_call_log_by_type(0); },
      [] { return capi_voip_clean_all_call_log(); },
      [] { return capi_voip_verify_call_log_file(); },
  };
  const Image log = image_of({0, 1, 2, 0, 1, 2, 0, 1, 2});
  for (const auto& operation : operations) {
    write_image(*log);
    ASSERT_EQ(operation(), 0);
    const std::string after = read_file(kLogPath);
    bool survived = false;
    for (int moment = 1; !survived; ++moment) {
      write_image(*log);
      Process process([&] {
        die_at_moment(moment);
        operation();
        clear_faults();
      });
      survived = process.succeeded();
      const std::string left = read_file(kLogPath);
      ASSERT_TRUE(left == bytes_of(*log) || left == after) << moment;
      expect_others_go_on();
      ASSERT_FALSE(exists(kSibling));
      ASSERT_LT(moment, 100);
    }
  }
}

TEST_F(CallLogProcesses, AProcessKilledAtARandomMomentStopsNobody) {
  std::mt19937 random(7);
  for (int round = 0; round < 20; ++round) {
    Baton progress;
    Process worker([&] {
      for (unsigned n = 0;; ++n) {
        const auto record = call(n);
        capi_voip_add_call_log(n % 3, &record);
        progress.pass();
        capi_voip_delete_call_log_by_node(n % 3, n % 300);
        progress.pass();
      }
    });
    const unsigned steps = 1 + static_cast<unsigned>(random() % 8);
    for (unsigned i = 0; i < steps; ++i) progress.await();
    for (unsigned i = static_cast<unsigned>(random() % 100000); i > 0; --i) {
      asm volatile("");  // somewhere in the next step
    }
    worker.kill();
    expect_others_go_on();
  }
}

}  // namespace
}  // namespace capi::test
