// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "capi/lock.h"
#include "capi/log.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/process.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/a.lock";

class FileLock : public testing::Test {
 protected:
  void SetUp() override {
    capiv2_log_init(capture_log);
    clear_log();
  }

  static void expect_logged(const char* func, const char* text) {
    const std::vector<LogLine> expected = {{kLogWarning, func, text}};
    EXPECT_EQ(captured_log(), expected);
    clear_log();
  }

  // Whether anybody holds the lock, asked from outside.
  static bool is_held(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_NE(fd, -1) << path;
    const bool held = flock(fd, LOCK_EX | LOCK_NB) != 0;
    close(fd);
    return held;
  }

  // The descriptor of this process that stands for a path, or -1.
  static int descriptor_of(const std::string& path) {
    for (int fd = 3; fd < 1024; ++fd) {
      char target[256] = {};
      const std::string link = "/proc/self/fd/" + std::to_string(fd);
      if (readlink(link.c_str(), target, sizeof target - 1) > 0 && path == target) return fd;
    }
    return -1;
  }

  // Returns once no signal is pending for a process.
  static void await_signal_taken(pid_t pid) {
    const std::string path = "/proc/" + std::to_string(pid) + "/status";
    while (read_file(path).find("ShdPnd:\t0000000000000000\n") == std::string::npos) {
      std::this_thread::yield();
    }
  }

  // Returns once a process waits for a file lock.
  static void await_waiter(pid_t pid) {
    const std::string mark = "-> FLOCK  ADVISORY  WRITE " + std::to_string(pid) + " ";
    for (;; std::this_thread::yield()) {
      std::ifstream locks("/proc/locks");
      for (std::string line; std::getline(locks, line);) {
        if (line.find(mark) != std::string::npos) return;
      }
    }
  }
};

TEST_F(FileLock, LockAndUnlockSucceedAndTheFileStays) {
  EXPECT_EQ(capi_lock_file(kPath), 0);
  EXPECT_TRUE(is_held(kPath));
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  EXPECT_FALSE(is_held(kPath));
  EXPECT_EQ(descriptor_of(kPath), -1);
  EXPECT_TRUE(exists(kPath));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(FileLock, TheFileIsCreatedExecutableAndNotEmptied) {
  umask(0);
  EXPECT_EQ(capi_lock_file(kPath), 0);
  struct stat status {};
  ASSERT_EQ(stat(kPath, &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0755u);
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  write_file(kPath, "content");
  EXPECT_EQ(capi_lock_file(kPath), 0);
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  EXPECT_EQ(read_file(kPath), "content");
}

TEST_F(FileLock, UnlockOfWhatIsNotLockedFails) {
  EXPECT_EQ(capi_unlock_file(kPath), -1);  // before any lock
  expect_logged("capi_unlock_file", "File fd ERROR!");
  ASSERT_EQ(capi_lock_file(kPath), 0);
  EXPECT_EQ(capi_unlock_file("/tmp/b.lock"), -1);
  expect_logged("capi_unlock_file", "File fd ERROR!");
  EXPECT_TRUE(is_held(kPath));
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  EXPECT_EQ(capi_unlock_file(kPath), -1);
  expect_logged("capi_unlock_file", "File fd ERROR!");
}

TEST_F(FileLock, AFileThatCannotBeOpenedFails) {
  EXPECT_EQ(capi_lock_file("/tmp/none/a.lock"), -1);
  expect_logged("capi_lock_file", "File open ERROR!");
  EXPECT_EQ(capi_lock_file("/tmp"), -1);
  expect_logged("capi_lock_file", "File open ERROR!");
  EXPECT_EQ(capi_lock_file(nullptr), -1);
  expect_logged("capi_lock_file", "File open ERROR!");
  EXPECT_EQ(capi_unlock_file(nullptr), -1);
  expect_logged("capi_unlock_file", "File fd ERROR!");
}

TEST_F(FileLock, APathMustFitItsSlot) {
  const std::string fits = "/tmp/" + std::string(250, 'x');
  EXPECT_EQ(capi_lock_file(fits.c_str()), 0);
  EXPECT_EQ(capi_unlock_file(fits.c_str()), 0);
  EXPECT_EQ(captured_log().size(), 0u);
  const std::string too_long = "/tmp/" + std::string(251, 'x');
  EXPECT_EQ(capi_lock_file(too_long.c_str()), -1);
  expect_logged("capi_lock_file", "File open ERROR!");
  EXPECT_FALSE(exists(too_long));
}

TEST_F(FileLock, ThirtyTwoAreHeldAndNoMore) {
  const auto path = [](int i) { return "/tmp/" + std::to_string(i) + ".lock"; };
  for (int i = 0; i < 32; ++i) EXPECT_EQ(capi_lock_file(path(i).c_str()), 0);
  EXPECT_EQ(capi_lock_file(path(32).c_str()), -1);
  expect_logged("capi_lock_file", "File Lock table ERROR!");
  EXPECT_FALSE(is_held(path(32)));
  EXPECT_EQ(descriptor_of(path(32)), -1);
  for (int i = 0; i < 32; ++i) EXPECT_TRUE(is_held(path(i)));

  EXPECT_EQ(capi_unlock_file(path(7).c_str()), 0);
  EXPECT_EQ(capi_lock_file(path(32).c_str()), 0);
  EXPECT_EQ(capi_unlock_file(path(32).c_str()), 0);
  for (int i = 0; i < 32; ++i) {
    EXPECT_EQ(capi_unlock_file(path(i).c_str()), i == 7 ? -1 : 0);
    EXPECT_FALSE(is_held(path(i)));
  }
}

TEST_F(FileLock, AnotherProcessWaitsForIt) {
  ASSERT_EQ(capi_lock_file(kPath), 0);
  write_file("/tmp/order", "");
  const auto note = [](const char* text) { std::ofstream("/tmp/order", std::ios::app) << text; };
  Process other([&] {
    EXPECT_EQ(capi_lock_file(kPath), 0);
    note("second");
    EXPECT_EQ(capi_unlock_file(kPath), 0);
  });
  await_waiter(other.pid());
  note("first ");
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  EXPECT_TRUE(other.succeeded());
  EXPECT_EQ(read_file("/tmp/order"), "first second");
}

TEST_F(FileLock, AnInterruptedWaitGoesOn) {
  ASSERT_EQ(capi_lock_file(kPath), 0);
  Process other([] {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    EXPECT_EQ(capi_lock_file(kPath), 0);
    EXPECT_EQ(captured_log().size(), 0u);
  });
  await_waiter(other.pid());
  kill(other.pid(), SIGUSR1);
  await_signal_taken(other.pid());
  EXPECT_EQ(capi_unlock_file(kPath), 0);
  EXPECT_TRUE(other.succeeded());
}

TEST_F(FileLock, IsFreedByTheEndOfItsProcess) {
  Baton held;
  Process holder([&] {
    EXPECT_EQ(capi_lock_file(kPath), 0);
    held.pass();
    pause();
  });
  held.await();
  EXPECT_TRUE(is_held(kPath));
  holder.kill();
  EXPECT_EQ(capi_lock_file(kPath), 0);
  EXPECT_EQ(capi_unlock_file(kPath), 0);
}

TEST_F(FileLock, AChildDoesNotOwnItsParents) {
  ASSERT_EQ(capi_lock_file(kPath), 0);
  in_other_process([] {
    EXPECT_EQ(capi_unlock_file(kPath), -1);
    expect_logged("capi_unlock_file", "File fd ERROR!");
    EXPECT_EQ(capi_lock_file("/tmp/b.lock"), 0);  // its own it has
    EXPECT_EQ(capi_unlock_file("/tmp/b.lock"), 0);
  });
  EXPECT_TRUE(is_held(kPath));
  EXPECT_EQ(capi_unlock_file(kPath), 0);
}

TEST_F(FileLock, ProgramsDoNotInheritIt) {
  ASSERT_EQ(capi_lock_file(kPath), 0);
  EXPECT_NE(fcntl(descriptor_of(kPath), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(capi_unlock_file(kPath), 0);
}

TEST_F(FileLock, ADescriptorThatWasClosedCannotBeUnlocked) {
  ASSERT_EQ(capi_lock_file(kPath), 0);
  close(descriptor_of(kPath));
  EXPECT_EQ(capi_unlock_file(kPath), -1);
  expect_logged("capi_unlock_file", "File Unlock ERROR!");
  EXPECT_EQ(capi_lock_file(kPath), 0);  // the slot is free again
  EXPECT_EQ(capi_unlock_file(kPath), 0);
}

}  // namespace
}  // namespace capi::test
