// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A client of libcapi.so in whose process others use other threads.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "capi/thread.h"

extern "C" int libc_threads_misbehave(void);

namespace {

void expect_ours() {
  mtx_t mutex;
  ASSERT_EQ(mtx_init(&mutex, mtx_plain), thrd_success);
  EXPECT_EQ(mtx_lock(&mutex), 1);
  EXPECT_EQ(mtx_trylock(&mutex), 3);
  EXPECT_EQ(mtx_unlock(&mutex), 1);
  EXPECT_EQ(mtx_destroy(&mutex), 0);
  thrd_t thread = 0;
  int result = 77;
  EXPECT_EQ(thrd_create(
                &thread, 64, [](void*) { return 42; }, nullptr),
            1);
  EXPECT_EQ(thrd_join(thread, &result), 1);
  EXPECT_EQ(result, 0);
}

TEST(ThreadClient, EachSideHasItsOwnThreads) {
  expect_ours();
  EXPECT_EQ(libc_threads_misbehave(), 0);
  expect_ours();
}

TEST(ThreadClient, TheLanguagesThreadsAreUnharmed) {
  std::recursive_mutex mutex;
  std::condition_variable_any changed;
  bool ours_worked = false;
  std::thread other([&] {
    expect_ours();
    const std::lock_guard outer(mutex);
    const std::lock_guard inner(mutex);
    ours_worked = true;
    changed.notify_all();
  });
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return ours_worked; });
    std::thread([&] { EXPECT_FALSE(mutex.try_lock()); }).join();
  }
  other.join();
}

}  // namespace
