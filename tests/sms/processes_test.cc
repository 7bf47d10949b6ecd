// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Several processes at one store, some of which are killed.

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <thread>

#include "sms/path.h"
#include "sms/store.h"
#include "sms_files.h"

namespace capi::test {
namespace {

class SmsProcessesTest : public SmsTest {
 protected:
  void SetUp() override {
    SmsTest::SetUp();
    // Posting is not what is tested here, and would take most of the time.
    write_file(kToolPath, "");
    EXPECT_EQ(capi_voip_sms_init(), 0);
  }

  // Until somebody waits for the lock of the messages.
  static void wait_for_a_waiter() {
    const int set = semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666);
    while (semctl(set, CAPI_LOCK_VOICE_SMS, GETNCNT) == 0) std::this_thread::yield();
  }
};

TEST_F(SmsProcessesTest, MessagesOfAllProcessesGetIdsOfTheirOwn) {
  constexpr int kWriters = 3;
  constexpr int kEach = 15;
  std::vector<std::unique_ptr<Process>> processes;
  for (int writer = 0; writer < kWriters; ++writer) {
    processes.push_back(std::make_unique<Process>([=] {
      uint64_t last = 0;
      for (int i = 0; i < kEach; ++i) {
        capi_sms_record record = to_record({.text = std::to_string(writer)});
        EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
        EXPECT_GT(record.id, last);
        last = record.id;
      }
    }));
  }
  processes.push_back(std::make_unique<Process>([] {
    capi_sms_counter state{};
    uint32_t seen = 0;
    while (seen < kWriters * kEach) {
      const capi_sms_counter previous = state;
      ASSERT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state), 0);
      if (state.count == 0) {
        state = previous;
        continue;
      }
      EXPECT_EQ(state.first_new_id, seen + 1);
      seen += state.count;
      EXPECT_EQ(state.last_new_id, seen);
    }
  }));
  for (const auto& process : processes) EXPECT_TRUE(process->succeeded());

  std::vector<uint64_t> ids = ids_in(read_file(kReceived));
  ASSERT_EQ(ids.size(), static_cast<size_t>(kWriters * kEach));
  for (size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(ids[i], i + 1);
}

TEST_F(SmsProcessesTest, AKilledProcessLeavesAStoreThatCanBeUsed) {
  std::mt19937 random(7);
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  for (int round = 0; round < 60; ++round) {
    Process writer([&] {
      for (;;) {
        capi_sms_record record = to_record({.text = std::string(5000, 'x')});
        const SmsAccess access;  // without the signal, so that it is mostly at its file
        uint64_t id = 0;
        add_sms(access.path(0), record, id);
        if (write(pipe_ends[1], "", 1) != 1) _exit(1);
      }
    });
    // It dies somewhere in the work on one of the next messages.
    for (auto i = random() % 5 + 1; i > 0; --i) {
      char byte = 0;
      ASSERT_EQ(read(pipe_ends[0], &byte, 1), 1);
    }
    for (auto spin = random() % 20000; spin > 0; --spin) asm volatile("");
    writer.kill();

    capi_sms_record record = to_record({.text = "after"});
    ASSERT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    const std::string file = read_file(kReceived);
    const std::vector<Message> messages = messages_in(file);
    EXPECT_EQ(messages.back().id, record.id);
    EXPECT_EQ(messages.back().text, "after");
    EXPECT_EQ(last_id_in(file), record.id);
    EXPECT_TRUE(std::is_sorted(messages.begin(), messages.end(),
                               [](const Message& a, const Message& b) { return a.id < b.id; }));
  }
  close(pipe_ends[0]);
  close(pipe_ends[1]);
}

TEST_F(SmsProcessesTest, AFileThatAKilledProcessCutIsSetAside) {
  const std::string whole = add(CAPI_SMS_RECEIVED, {{.text = "first"}, {.text = "second"}});
  for (size_t size = 0; size < whole.size(); size += 7) {
    write_file(kReceived, whole.substr(0, size));
    in_other_process([&] {
      capi_sms_record record{};
      EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record), -1);
      EXPECT_EQ(read_file("/tmp/sm_recv.err"), whole.substr(0, size));
      EXPECT_EQ(ids_in(read_file(kReceived)), std::vector<uint64_t>{});
    });
  }
}

TEST_F(SmsProcessesTest, AChildForkedAmidAnotherThreadsOperationCanUseTheStore) {
  static Baton is_inside;
  static Baton may_leave;
  capiv2_log_init([](int, const char* text) {
    if (strstr(text, "add short message successfully") == nullptr) return;
    is_inside.pass();
    may_leave.await();
  });
  std::thread adder([] {
    capi_sms_record record = to_record({.text = "of the parent"});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
  });
  is_inside.await();
  Process child([] {
    capiv2_log_init(capture_log);
    capi_sms_record record = to_record({.text = "of the child"});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record), 0);
  });
  wait_for_a_waiter();
  may_leave.pass();
  adder.join();
  EXPECT_TRUE(child.succeeded());
  EXPECT_EQ(ids_in(read_file(kReceived)), (std::vector<uint64_t>{1, 2}));
}

TEST_F(SmsProcessesTest, AnotherProcessWaitsWhileTheLockIsHeld) {
  ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_VOICE_SMS), 0);
  Baton added;
  Process other([&] {
    capi_sms_record record = to_record({});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    added.pass();
  });
  wait_for_a_waiter();
  EXPECT_EQ(count_in(read_file(kReceived)), 0u);
  EXPECT_EQ(capi_critical_section_unlock(CAPI_LOCK_VOICE_SMS), 0);
  added.await();
  EXPECT_EQ(count_in(read_file(kReceived)), 1u);
  EXPECT_TRUE(other.succeeded());
}

}  // namespace
}  // namespace capi::test
