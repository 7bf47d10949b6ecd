// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "capi/thread.h"

namespace capi::test {
namespace {

class Waitor : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(waitor_init(&waitor_), 1); }
  void TearDown() override { EXPECT_EQ(waitor_destroy(&waitor_), 1); }

  waitor_t waitor_;
};

TEST_F(Waitor, StaysSignalledUntilItIsReset) {
  EXPECT_EQ(waitor_get(&waitor_), 0);
  EXPECT_EQ(waitor_set(&waitor_, -5), 1);
  EXPECT_EQ(waitor_get(&waitor_), -5);
  EXPECT_EQ(waitor_waitfor(&waitor_), 1);
  EXPECT_EQ(waitor_waitfor(&waitor_), 1);
  EXPECT_EQ(waitor_waitfor_timeout(&waitor_, 0), 1);
  EXPECT_EQ(waitor_get(&waitor_), -5);
  EXPECT_EQ(waitor_set(&waitor_, 0), 1);
  EXPECT_EQ(waitor_get(&waitor_), 0);
}

TEST_F(Waitor, WakesAllThatWait) {
  std::atomic<int> results{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { results += waitor_waitfor(&waitor_); });
  waiters.emplace_back([&] { results += waitor_waitfor_timeout(&waitor_, 3600000); });
  EXPECT_EQ(waitor_set(&waitor_, 0), 1);  // wakes nobody
  std::this_thread::yield();
  EXPECT_EQ(results, 0);
  EXPECT_EQ(waitor_set(&waitor_, 1), 1);
  for (std::thread& waiter : waiters) waiter.join();
  EXPECT_EQ(results, 4);
}

TEST_F(Waitor, ATimeoutDoesNotEndTheCall) {
  for (const int timeout : {1, 0, -1000000, 999}) {
    waitor_set(&waitor_, 0);
    std::atomic<bool> ended{false};
    std::thread waiter([&] {
      EXPECT_EQ(waitor_waitfor_timeout(&waitor_, timeout), 1);
      ended = true;
    });
    if (timeout <= 1) os_sleep(50);  // many times the timeout: a wait that ends with it, ends here
    EXPECT_FALSE(ended);
    EXPECT_EQ(waitor_set(&waitor_, 1), 1);
    waiter.join();
  }
}

TEST_F(Waitor, NullIsAnError) {
  EXPECT_EQ(waitor_init(nullptr), 0);
  EXPECT_EQ(waitor_set(nullptr, 1), 0);
  EXPECT_EQ(waitor_get(nullptr), 0);
  EXPECT_EQ(waitor_waitfor(nullptr), 0);
  EXPECT_EQ(waitor_waitfor_timeout(nullptr, 1), 0);
  EXPECT_EQ(waitor_destroy(nullptr), 0);
}

}  // namespace
}  // namespace capi::test
