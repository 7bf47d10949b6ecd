// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>

#include "capi/thread.h"
#include "support/process.h"

namespace capi::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class PipeTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(pipe_init(fds_), 0); }
  void TearDown() override { EXPECT_EQ(pipe_destroy(fds_), 0); }

  int fds_[2] = {7, 7};
};

TEST_F(PipeTest, MovesBytesFromItsSecondEndToItsFirst) {
  EXPECT_EQ(pipe_get_read_fd(fds_), fds_[0]);
  EXPECT_EQ(pipe_get_write_fd(fds_), fds_[1]);
  EXPECT_EQ(pipe_write(fds_, "hello", 5), 5);
  char buf[8] = {};
  EXPECT_EQ(pipe_read(fds_, buf, 2), 2);
  EXPECT_EQ(pipe_read(fds_, buf + 2, 6), 3);  // a short count is returned as it is
  EXPECT_STREQ(buf, "hello");
}

TEST_F(PipeTest, DoesNotBlockAndIsNotInherited) {
  for (const int fd : fds_) {
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
  }
}

TEST_F(PipeTest, ReadingAnEmptyOneGivesUpAfterTenPauses) {
  char byte = 0;
  const auto start = Clock::now();
  EXPECT_EQ(pipe_read(fds_, &byte, 1), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_GE(Clock::now() - start, milliseconds(100));
}

TEST_F(PipeTest, WritingAFullOneGivesUpAfterTenPauses) {
  const std::string much(1 << 20, 'x');
  const int room = pipe_write(fds_, much.data(), static_cast<int>(much.size()));
  EXPECT_GT(room, 0);
  EXPECT_LT(room, 1 << 20);
  const auto start = Clock::now();
  EXPECT_EQ(pipe_write(fds_, "x", 1), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_GE(Clock::now() - start, milliseconds(100));
}

TEST_F(PipeTest, ReadingEndsWithItsWriter) {
  close(fds_[1]);
  fds_[1] = -1;
  char byte = 0;
  EXPECT_EQ(pipe_read(fds_, &byte, 1), 0);
}

TEST_F(PipeTest, WhatIsNoPipeFailsAtOnce) {
  const int none[2] = {-1, -1};
  char byte = 0;
  // The machine may stall, but not each time.
  Clock::duration quickest = Clock::duration::max();
  for (int i = 0; i < 20; ++i) {
    const auto start = Clock::now();
    EXPECT_EQ(pipe_read(none, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(pipe_write(none, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    quickest = std::min(quickest, Clock::now() - start);
  }
  EXPECT_LT(quickest, milliseconds(100));
}

TEST_F(PipeTest, DestroyClosesBothEnds) {
  const int ends[2] = {fds_[0], fds_[1]};
  EXPECT_EQ(pipe_destroy(fds_), 0);
  for (const int end : ends) EXPECT_EQ(fcntl(end, F_GETFD), -1);
  EXPECT_EQ(fds_[0], -1);
  EXPECT_EQ(fds_[1], -1);
  EXPECT_EQ(pipe_destroy(fds_), 0);
}

TEST_F(PipeTest, WithoutDescriptorsBothAreMinusOne) {
  in_other_process([] {
    const rlimit none{0, 0};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    int fds[2] = {7, 7};
    EXPECT_EQ(pipe_init(fds), 0);
    EXPECT_EQ(fds[0], -1);
    EXPECT_EQ(fds[1], -1);
  });
}

TEST_F(PipeTest, BadArgumentsAreRefused) {
  char byte = 0;
  EXPECT_EQ(pipe_init(nullptr), 0);
  EXPECT_EQ(pipe_destroy(nullptr), 0);
  EXPECT_EQ(pipe_get_read_fd(nullptr), -1);
  EXPECT_EQ(pipe_get_write_fd(nullptr), -1);
  EXPECT_EQ(pipe_read(nullptr, &byte, 1), -1);
  EXPECT_EQ(pipe_read(fds_, nullptr, 1), -1);
  EXPECT_EQ(pipe_read(fds_, &byte, -1), -1);
  EXPECT_EQ(pipe_write(nullptr, &byte, 1), -1);
  EXPECT_EQ(pipe_write(fds_, nullptr, 1), -1);
  EXPECT_EQ(pipe_write(fds_, &byte, -1), -1);
}

TEST_F(PipeTest, NonBlockingModeNeedsADescriptor) {
  EXPECT_EQ(setSocketNonBlocking(-1), -1);
  const int fd = open("/dev/null", O_RDWR | O_APPEND | O_CLOEXEC);
  EXPECT_EQ(setSocketNonBlocking(fd), 0);
  EXPECT_EQ(fcntl(fd, F_GETFL) & (O_NONBLOCK | O_APPEND), O_NONBLOCK | O_APPEND);
  close(fd);
  EXPECT_EQ(setSocketNonBlocking(fd), -1);
}

}  // namespace
}  // namespace capi::test
