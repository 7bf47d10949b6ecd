// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A set that a master began and did not finish.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "lock/critical_section.h"
#include "support/adapter.h"
#include "support/faults.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::Test;

constexpr int kLocks = 19;

// What is there after a master was killed just before it freed a lock, by number from 0.
void leave_unfinished(int at_lock) {
  Process master([&] {
    inject({.call = Call::Semctl, .nth = at_lock + 1, .is_deadly = true});
    capi_critical_section_lock_create();
  });
  EXPECT_FALSE(master.succeeded());
  EXPECT_EQ(lock_value(static_cast<unsigned>(at_lock)), 0);
}

LogLine finishing_line(int locks) {
  return {kLogWarning, "capi_critical_section_lock_create",
          "CAPI critical section lock set was left unfinished, freeing " + std::to_string(locks) +
              " locks"};
}

class UnfinishedSetTest : public Adapter {
 protected:
  // The next master does not wait, and all locks are free after it.
  void expect_master_starts() {
    EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
    for (unsigned id = 0; id < kLocks; ++id) ASSERT_EQ(lock_value(id), 1) << "lock " << id;
    start_master();
    EXPECT_EQ(capi_post_init(1), 0);
    in_client([] {
      EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "0");
      EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
      EXPECT_EQ(capi_voip_sms_init(), 0);
    });
    capi_uninit();
  }
};

TEST_F(UnfinishedSetTest, TheNextMasterFinishesItWhereverTheFirstWasKilled) {
  for (int at_lock = 0; at_lock < kLocks; ++at_lock) {
    SCOPED_TRACE(at_lock);
    leave_unfinished(at_lock);
    expect_master_starts();
    remove_ipc_objects();
  }
}

TEST_F(UnfinishedSetTest, IsToldOfOnce) {
  leave_unfinished(10);
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_THAT(captured_log(), ElementsAre(finishing_line(9)));
}

TEST_F(UnfinishedSetTest, ALockThatAClientHoldsByThenStaysHeld) {
  leave_unfinished(2);
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_EQ(lock_value(0), 0);
  for (unsigned id = 1; id < kLocks; ++id) EXPECT_EQ(lock_value(id), 1) << "lock " << id;
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
}

TEST_F(UnfinishedSetTest, MayBeLeftUnfinishedOnceMore) {
  leave_unfinished(1);
  Process second([] {
    // The values of all locks and the set's times are asked for first.
    inject({.call = Call::Semctl, .nth = 2 + 9, .is_deadly = true});
    capi_critical_section_lock_create();
  });
  EXPECT_FALSE(second.succeeded());
  EXPECT_EQ(lock_value(8), 1);
  EXPECT_EQ(lock_value(9), 0);
  expect_master_starts();
}

TEST_F(UnfinishedSetTest, WhatNobodyEverOperatedOnIsFreedWhoeverTouchedIt) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  const int set = semget(ftok("/tmp/m_data", 'l'), kLocks, 0);
  for (int id = 0; id < kLocks; ++id) ASSERT_EQ(semctl(set, id, SETVAL, 0), 0);
  clear_log();
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_THAT(captured_log(), ElementsAre(finishing_line(19)));
  expect_master_starts();
}

TEST_F(UnfinishedSetTest, AFinishedOneIsLeftAlone) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  clear_log();
  ASSERT_EQ(capi_critical_section_lock(18), 0);
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_EQ(lock_value(18), 0);
  EXPECT_THAT(captured_log(), ElementsAre());
  EXPECT_EQ(capi_critical_section_unlock(18), 0);
}

bool is_alive(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string word;
  stat >> word >> word >> word;
  return word != "Z";
}

bool has_open(pid_t pid, const std::string& path) {
  std::error_code gone;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", gone)) {
    if (std::filesystem::read_symlink(entry, gone) == path) return true;
  }
  return false;
}

TEST_F(UnfinishedSetTest, IsNotTouchedWhileItsMakerIsAtWork) {
  Baton begun;
  Process second([&] {
    begun.await();
    EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
    EXPECT_THAT(captured_log(), ElementsAre());
  });
  const int maker = open("/tmp/m_data", O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(maker, LOCK_EX), 0);
  const int set = semget(ftok("/tmp/m_data", 'l'), kLocks, IPC_CREAT | 0666);
  begun.pass();
  while (is_alive(second.pid()) && !has_open(second.pid(), "/tmp/m_data")) {
    std::this_thread::yield();
  }
  for (int id = 0; id < kLocks; ++id) EXPECT_EQ(semctl(set, id, SETVAL, 1), 0);
  ASSERT_EQ(capi_critical_section_lock(18), 0);
  close(maker);
  EXPECT_TRUE(second.succeeded());
  EXPECT_EQ(lock_value(18), 0);
  EXPECT_EQ(capi_critical_section_unlock(18), 0);
}

TEST_F(UnfinishedSetTest, IsFinishedThoughSomebodyKeepsTheFileLocked) {
  leave_unfinished(18);
  const int other = open("/tmp/m_data", O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  expect_master_starts();
  close(other);
}

}  // namespace
}  // namespace capi::test
