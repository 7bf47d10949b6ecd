// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "lock/critical_section.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::Test;

class CriticalSectionTest : public Adapter {
 protected:
  void create() {
    ASSERT_EQ(capi_critical_section_lock_create(), 0);
    clear_log();
  }

  static int find_set() { return semget(ftok("/tmp/m_data", 108), 19, 0666); }
};

TEST_F(CriticalSectionTest, CreateMakesNineteenFreeSemaphores) {
  EXPECT_EQ(capi_critical_section_lock_create(), 0);
  EXPECT_EQ(captured_log(), lines({{kLogInfo, "capi_critical_section_lock_create",
                                    "CAPI critical section lock CREATED"}}));
  semid_ds status{};
  ASSERT_EQ(semctl(find_set(), 0, IPC_STAT, &status), 0);
  EXPECT_EQ(status.sem_nsems, 19u);
  EXPECT_EQ(status.sem_perm.mode & 0777u, 0666u);
  for (unsigned id = 0; id < 19; ++id) EXPECT_EQ(lock_value(id), 1);
}

TEST_F(CriticalSectionTest, SecondCreateLeavesHeldLocksHeld) {
  create();
  ASSERT_EQ(capi_critical_section_lock(2), 0);
  EXPECT_EQ(capi_critical_section_lock_create(), EEXIST);
  EXPECT_EQ(captured_log().size(), 0u);
  EXPECT_EQ(lock_value(2), 0);
  capi_critical_section_unlock(2);
}

TEST_F(CriticalSectionTest, LockAndUnlockMoveTheValue) {
  create();
  EXPECT_EQ(capi_critical_section_lock(0), 0);
  EXPECT_EQ(lock_value(0), 0);
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
  EXPECT_EQ(lock_value(0), 1);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(CriticalSectionTest, UnlockOfAFreeLockIsRefused) {
  create();
  EXPECT_EQ(capi_critical_section_unlock(2), -1);
  EXPECT_EQ(lock_value(2), 1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_critical_section_unlock",
                    "CAPI critical section lock UNLOCK Failed, lock_type = [CAPI_LOCK_CALL_LOG], "
                    "bad/current sem value = [1]"}}));
}

TEST_F(CriticalSectionTest, LockGoesOnWithABadValueAfterIt) {
  create();
  ASSERT_EQ(semctl(find_set(), 3, SETVAL, 2), 0);
  EXPECT_EQ(capi_critical_section_lock(3), 0);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_critical_section_lock",
                    "CAPI critical section lock LOCK Failed, lock_type = [XXXXX], bad/current sem "
                    "value = [1]"}}));
  capi_critical_section_unlock(3);
}

TEST_F(CriticalSectionTest, WithoutTheKeyFileEverythingFailsAtFtok) {
  ASSERT_EQ(unlink("/tmp/m_data"), 0);
  const std::string reason =
      "CAPI critical section lock failed [ftok], reason = [No such file or "
      "directory]";
  EXPECT_EQ(capi_critical_section_lock_create(), ENOENT);
  EXPECT_EQ(capi_critical_section_lock(0), ENOENT);
  EXPECT_EQ(capi_critical_section_unlock(0), ENOENT);
  EXPECT_EQ(capi_critical_section_lock_stats(), ENOENT);
  EXPECT_EQ(captured_log(),
            lines({{kLogErr, "capi_critical_section_lock_create", reason},
                   {kLogWarning, "capi_critical_section_lock", reason},
                   {kLogWarning, "capi_critical_section_unlock", reason},
                   {kLogWarning, "capi_critical_section_lock_stats",
                    "CAPI critical section lock stats failed [ftok], reason = [No such file or "
                    "directory]"}}));
}

TEST_F(CriticalSectionTest, WithoutTheSetEverythingFailsAtSemget) {
  const std::string reason =
      "CAPI critical section lock failed [semget], reason = [No such file "
      "or directory]";
  EXPECT_EQ(capi_critical_section_lock(0), ENOENT);
  EXPECT_EQ(capi_critical_section_unlock(0), ENOENT);
  EXPECT_EQ(capi_critical_section_lock_stats(), ENOENT);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_critical_section_lock", reason},
                   {kLogWarning, "capi_critical_section_unlock", reason},
                   {kLogWarning, "capi_critical_section_lock_stats",
                    "CAPI critical section lock stats failed [semget], reason = [No such file or "
                    "directory]"}}));
}

TEST_F(CriticalSectionTest, AnIdThatTheSetLacksIsRefusedByTheKernel) {
  create();
  EXPECT_EQ(capi_critical_section_lock(19), EFBIG);
  EXPECT_EQ(capi_critical_section_lock(65536), EFBIG);  // not lock 0
  EXPECT_EQ(capi_critical_section_unlock(65536), -1);
  EXPECT_EQ(lock_value(0), 1);
}

TEST_F(CriticalSectionTest, AnotherProcessWaitsForTheLock) {
  create();
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  Baton got_it;
  Process other([&] {
    EXPECT_EQ(capi_critical_section_lock(0), 0);
    got_it.pass();
    EXPECT_EQ(capi_critical_section_unlock(0), 0);
  });
  while (semctl(find_set(), 0, GETNCNT) == 0) std::this_thread::yield();  // it waits
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
  got_it.await();
  EXPECT_TRUE(other.succeeded());
  EXPECT_EQ(lock_value(0), 1);
}

TEST_F(CriticalSectionTest, AProcessKilledWhileHoldingBlocksNobody) {
  create();
  for (const unsigned id : {0u, 2u}) {
    Baton held;
    Process holder([&] {
      capi_critical_section_lock(id);
      held.pass();
      pause();
    });
    held.await();
    EXPECT_EQ(lock_value(id), 0);
    holder.kill();
    EXPECT_EQ(capi_critical_section_lock(id), 0);
    EXPECT_EQ(capi_critical_section_unlock(id), 0);
  }
}

TEST_F(CriticalSectionTest, AnInterruptedWaitIsLoggedAndGoesOn) {
  create();
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  Baton interrupted;
  Process other([&] {
    static Baton* baton = nullptr;
    baton = &interrupted;
    signal(SIGUSR1, [](int) {});
    struct sigaction action {};
    action.sa_handler = [](int) { baton->pass(); };
    sigaction(SIGUSR1, &action, nullptr);
    EXPECT_EQ(capi_critical_section_lock(0), 0);
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, "capi_critical_section_lock",
                      "CAPI critical section lock LOCK Failed, lock_type = [CAPI_LOCK_CONF_SHM], "
                      "reason = [Interrupted system call]"}}));
    capi_critical_section_unlock(0);
  });
  while (semctl(find_set(), 0, GETNCNT) == 0) std::this_thread::yield();
  kill(other.pid(), SIGUSR1);
  interrupted.await();
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
  EXPECT_TRUE(other.succeeded());
}

TEST_F(CriticalSectionTest, ASetThatIsRemovedEndsTheWait) {
  create();
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  Process other([&] { EXPECT_EQ(capi_critical_section_lock(0), EIDRM); });
  while (semctl(find_set(), 0, GETNCNT) == 0) std::this_thread::yield();
  ASSERT_EQ(semctl(find_set(), 0, IPC_RMID), 0);
  EXPECT_TRUE(other.succeeded());
}

TEST_F(CriticalSectionTest, StatsShowEveryLock) {
  create();
  ASSERT_EQ(capi_critical_section_lock(18), 0);
  write_file("/tmp/capi_lock_stats", "old\n");
  EXPECT_EQ(capi_critical_section_lock_stats(), 0);
  const std::vector<std::string> dump = read_lines("/tmp/capi_lock_stats");
  const std::string pid = std::to_string(getpid());
  ASSERT_EQ(dump.size(), 5u + 19 * 2);  // three times of day end in a newline of their own
  EXPECT_EQ(dump[0].substr(0, 7), "Now = [");
  EXPECT_EQ(dump[1].substr(0, 22), "], Last semop time = [");
  EXPECT_EQ(dump[2].substr(0, 23), "], Last change time = [");
  EXPECT_EQ(dump[3], "], Total sems = [19]");
  EXPECT_EQ(dump[4], "");
  EXPECT_EQ(dump[5].substr(0, 49), "Type = [CAPI_LOCK_CONF_SHM], Value = [1], PID = [");
  EXPECT_EQ(dump[5 + 36], "Type = [CAPI_LOCK_VOICE_SMS], Value = [0], PID = [" + pid +
                              "], NCNT = [0], ZCNT = [0]");
  EXPECT_EQ(captured_log().size(), 0u);
  capi_critical_section_unlock(18);
}

TEST_F(CriticalSectionTest, TheOldEntryPointsDoNothing) {
  create();
  EXPECT_EQ(capi_lock(), 0);
  for (unsigned id = 0; id < 19; ++id) EXPECT_EQ(lock_value(id), 1);
  EXPECT_EQ(capi_unlock(), 0);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(CriticalSectionTest, ADebugBuildAloneRefusesALockThatIsTakenOutOfOrderOrTwice) {
  create();
  const auto take_after_run_info = [](unsigned id) {
    capi_critical_section_lock(CAPI_LOCK_VOP_RUN_INFO);
    return capi_critical_section_lock(id);
  };
#ifndef NDEBUG
  EXPECT_DEATH(take_after_run_info(CAPI_LOCK_CALL_LOG), "lock taken out of order");
  EXPECT_DEATH(take_after_run_info(CAPI_LOCK_VOP_RUN_INFO), "lock taken out of order");
  const auto take_in_a_thread = [&] { std::thread(take_after_run_info, 2).join(); };
  EXPECT_DEATH(take_in_a_thread(), "lock taken out of order");
#else
  EXPECT_EQ(take_after_run_info(CAPI_LOCK_CALL_LOG), 0);
  capi_critical_section_unlock(CAPI_LOCK_CALL_LOG);
  capi_critical_section_unlock(CAPI_LOCK_VOP_RUN_INFO);
#endif
}

TEST_F(CriticalSectionTest, AThreadMayTakeAgainWhatAnotherOneGaveBackForIt) {
  create();
  for (const unsigned id : {10u, 2u}) {
    ASSERT_EQ(capi_critical_section_lock(id), 0);
    std::thread([&] { EXPECT_EQ(capi_critical_section_unlock(id), 0); }).join();
  }
  EXPECT_EQ(capi_critical_section_lock(2), 0);
  EXPECT_EQ(capi_critical_section_unlock(2), 0);
}

TEST_F(CriticalSectionTest, AThreadMayWaitForWhatAnotherThreadOfItsProcessHolds) {
  create();
  ASSERT_EQ(capi_critical_section_lock(2), 0);
  std::thread other([] {
    EXPECT_EQ(capi_critical_section_lock(2), 0);
    EXPECT_EQ(capi_critical_section_unlock(2), 0);
  });
  while (semctl(find_set(), 2, GETNCNT) == 0) std::this_thread::yield();
  EXPECT_EQ(capi_critical_section_unlock(2), 0);
  other.join();
}

TEST_F(CriticalSectionTest, AChildMayTakeWhatItsParentHeld) {
  create();
  ASSERT_EQ(capi_critical_section_lock(2), 0);
  Process child([] {
    EXPECT_EQ(capi_critical_section_lock(2), 0);
    EXPECT_EQ(capi_critical_section_unlock(2), 0);
  });
  while (semctl(find_set(), 2, GETNCNT) == 0) std::this_thread::yield();
  EXPECT_EQ(capi_critical_section_unlock(2), 0);
  EXPECT_TRUE(child.succeeded());
}

TEST_F(CriticalSectionTest, AGuardFreesItsLockThoughTheSetIsNotFoundThen) {
  create();
  {
    const CriticalSection section(kConfShmLock);
    std::filesystem::rename("/tmp/m_data", "/tmp/m_data.hidden");
  }
  std::filesystem::rename("/tmp/m_data.hidden", "/tmp/m_data");
  EXPECT_EQ(lock_value(0), 1);
  EXPECT_EQ(captured_log(), (std::vector<LogLine>{{kLogWarning, "capi_critical_section_unlock",
                                                   "CAPI critical section lock failed [ftok], "
                                                   "reason = [No such file or directory]"}}));
}

TEST_F(CriticalSectionTest, AGuardThatFoundNoSetFreesNobodysLock) {
  create();
  std::filesystem::rename("/tmp/m_data", "/tmp/m_data.hidden");
  {
    const CriticalSection section(kConfShmLock);
    std::filesystem::rename("/tmp/m_data.hidden", "/tmp/m_data");
    semctl(find_set(), 0, SETVAL, 0);  // another process took it meanwhile
  }
  EXPECT_EQ(lock_value(0), 0);
  semctl(find_set(), 0, SETVAL, 1);
}

TEST_F(CriticalSectionTest, AGuardDoesNotFreeWhatItWasRefused) {
  create();
  // The kernel refuses an undo entry when the value would leave its range.
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  Process other([&] {
    static int set = 0;
    set = find_set();
    semctl(set, 10, SETVAL, 0);
    Process remover([&] {
      while (semctl(set, 10, GETNCNT) == 0) std::this_thread::yield();
      semctl(set, 0, IPC_RMID);
    });
    { const CriticalSection section(kVopRunInfoLock); }
    EXPECT_EQ(captured_log().size(), 1u);  // the lock's own; no attempt to unlock follows
    EXPECT_TRUE(remover.succeeded());
  });
  EXPECT_TRUE(other.succeeded());
}

}  // namespace
}  // namespace capi::test
