// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/thread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "support/process.h"

namespace capi::test {
namespace {

#ifdef __SANITIZE_THREAD__
constexpr bool kThreadSanitized = true;
#else
constexpr bool kThreadSanitized = false;
#endif
#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = kThreadSanitized;
#endif

constexpr timespec kLongAgo{1, 0};
constexpr timespec kNoTime{1, -1};

class Mutex : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(mtx_init(&mutex_, mtx_plain), 1); }
  void TearDown() override { EXPECT_EQ(mtx_destroy(&mutex_), 0); }

  // What an operation on the mutex gives in another thread.
  template <typename Operation>
  static int elsewhere(Operation operation) {
    int result = -1;
    std::thread([&] { result = operation(); }).join();
    return result;
  }

  mtx_t mutex_;
};

TEST_F(Mutex, IsLockedAndUnlocked) {
  EXPECT_EQ(mtx_lock(&mutex_), 1);
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
  EXPECT_EQ(mtx_trylock(&mutex_), 1);
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
  EXPECT_EQ(mtx_timedlock(&mutex_, &kLongAgo), 1);  // nobody holds it: no deadline counts
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
}

TEST_F(Mutex, HeldByAnotherThreadIsBusy) {
  ASSERT_EQ(mtx_lock(&mutex_), 1);
  EXPECT_EQ(elsewhere([&] { return mtx_trylock(&mutex_); }), 3);
  EXPECT_EQ(elsewhere([&] { return mtx_timedlock(&mutex_, &kLongAgo); }), 2);
  EXPECT_EQ(elsewhere([&] { return mtx_timedlock(&mutex_, &kNoTime); }), 0);
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
}

TEST_F(Mutex, KeepsThreadsApart) {
  int count = 0;
  const auto add = [&] {
    for (int i = 0; i < 10000; ++i) {
      mtx_lock(&mutex_);
      ++count;
      mtx_unlock(&mutex_);
    }
  };
  std::thread other(add);
  add();
  other.join();
  EXPECT_EQ(count, 20000);
}

TEST_F(Mutex, IsRecursiveByBitTwoOnly) {
  for (const int type : {0, 1, 4, 2, 3, 6}) {
    mtx_t mutex;
    ASSERT_EQ(mtx_init(&mutex, type), 1);
    ASSERT_EQ(mtx_lock(&mutex), 1);
    const bool again = mtx_trylock(&mutex) == 1;
    EXPECT_EQ(again, (type & 2) != 0) << type;
    for (int i = again ? 2 : 1; i > 0; --i) EXPECT_EQ(mtx_unlock(&mutex), 1);
    EXPECT_EQ(mtx_destroy(&mutex), 0);
  }
}

TEST_F(Mutex, DestroyTellsWhatPosixTells) {
  if (kThreadSanitized)
    GTEST_SKIP() << "destroying a mutex that is held is what the sanitizer is after";
  ASSERT_EQ(mtx_lock(&mutex_), 1);
  EXPECT_EQ(mtx_destroy(&mutex_), EBUSY);
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
}

TEST_F(Mutex, NullIsAnError) {
  EXPECT_EQ(mtx_init(nullptr, 0), 0);
  EXPECT_EQ(mtx_lock(nullptr), 0);
  EXPECT_EQ(mtx_unlock(nullptr), 0);
  EXPECT_EQ(mtx_trylock(nullptr), 3);
  EXPECT_EQ(mtx_timedlock(nullptr, &kLongAgo), 0);
  EXPECT_EQ(mtx_timedlock(&mutex_, nullptr), 0);
  EXPECT_EQ(mtx_destroy(nullptr), EINVAL);
}

class Condition : public Mutex {
 protected:
  void SetUp() override {
    Mutex::SetUp();
    ASSERT_EQ(cnd_init(&condition_), 1);
  }
  void TearDown() override {
    EXPECT_EQ(cnd_destroy(&condition_), 0);
    Mutex::TearDown();
  }

  // Waits for its turn, and counts that.
  void wait_for_turn() {
    mtx_lock(&mutex_);
    ++waiting_;
    while (turns_ == 0) EXPECT_EQ(cnd_wait(&condition_, &mutex_), 1);
    --turns_;
    mtx_unlock(&mutex_);
  }

  void await_waiting(int count) {
    for (;; std::this_thread::yield()) {
      mtx_lock(&mutex_);
      const bool all = waiting_ == count;
      mtx_unlock(&mutex_);
      if (all) return;
    }
  }

  void give_turns(int count) {
    mtx_lock(&mutex_);
    turns_ += count;
    mtx_unlock(&mutex_);
  }

  cnd_t condition_;
  int waiting_ = 0;
  int turns_ = 0;
};

TEST_F(Condition, SignalWakesAWaiter) {
  std::thread waiter([&] { wait_for_turn(); });
  await_waiting(1);
  give_turns(1);
  EXPECT_EQ(cnd_signal(&condition_), 1);
  waiter.join();
}

TEST_F(Condition, BroadcastWakesAllWaiters) {
  std::thread first([&] { wait_for_turn(); });
  std::thread second([&] { wait_for_turn(); });
  await_waiting(2);
  give_turns(2);
  EXPECT_EQ(cnd_broadcast(&condition_), 1);
  first.join();
  second.join();
}

TEST_F(Condition, ATimedWaitEndsAtItsDeadline) {
  ASSERT_EQ(mtx_lock(&mutex_), 1);
  EXPECT_EQ(cnd_timedwait(&condition_, &mutex_, &kLongAgo), 2);
  EXPECT_EQ(cnd_timedwait(&condition_, &mutex_, &kNoTime), 0);
  EXPECT_EQ(elsewhere([&] { return mtx_trylock(&mutex_); }), 3);  // it is ours again
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
}

TEST_F(Condition, ATimedWaitThatIsSignalledSucceeds) {
  timespec deadline{};
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += 3600;
  ASSERT_EQ(mtx_lock(&mutex_), 1);
  bool signalled = false;
  std::thread signaller([&] {
    mtx_lock(&mutex_);  // granted once the other waits
    signalled = true;
    cnd_signal(&condition_);
    mtx_unlock(&mutex_);
  });
  while (!signalled) EXPECT_EQ(cnd_timedwait(&condition_, &mutex_, &deadline), 1);
  EXPECT_EQ(mtx_unlock(&mutex_), 1);
  signaller.join();
}

TEST_F(Condition, NullIsAnError) {
  EXPECT_EQ(cnd_init(nullptr), 0);
  EXPECT_EQ(cnd_signal(nullptr), 0);
  EXPECT_EQ(cnd_broadcast(nullptr), 0);
  EXPECT_EQ(cnd_wait(nullptr, &mutex_), 0);
  EXPECT_EQ(cnd_wait(&condition_, nullptr), 0);
  EXPECT_EQ(cnd_timedwait(nullptr, &mutex_, &kLongAgo), 0);
  EXPECT_EQ(cnd_timedwait(&condition_, nullptr, &kLongAgo), 0);
  EXPECT_EQ(cnd_timedwait(&condition_, &mutex_, nullptr), 0);
  EXPECT_EQ(cnd_destroy(nullptr), EINVAL);
}

struct Seen {
  thrd_t thread = 0;
  size_t stack = 0;
};

int look_around(void* arg) {
  auto& seen = *static_cast<Seen*>(arg);
  seen.thread = thrd_current();
  pthread_attr_t attributes;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstacksize(&attributes, &seen.stack);
  pthread_attr_destroy(&attributes);
  return 42;
}

size_t stack_of_thread(int stack_kib) {
  Seen seen;
  thrd_t thread = 0;
  EXPECT_EQ(thrd_create(&thread, stack_kib, look_around, &seen), 1);
  EXPECT_EQ(thrd_join(thread, nullptr), 1);
  return seen.stack;
}

TEST(Thread, RunsItsFunctionAndLosesItsResult) {
  Seen seen;
  thrd_t thread = 0;
  ASSERT_EQ(thrd_create(&thread, 64, look_around, &seen), 1);
  int result = 77;
  EXPECT_EQ(thrd_join(thread, &result), 1);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(thrd_equal(thread, seen.thread), 1);
  EXPECT_EQ(thrd_equal(thread, thrd_current()), 0);
}

TEST(Thread, HasTheStackThatItsArgumentTells) {
  if (kSanitized) GTEST_SKIP() << "sanitizers make stacks larger";
  const auto minimum = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
  // Ascending, for a new thread may get the stack of a finished one that is large enough.
  EXPECT_EQ(stack_of_thread(1), minimum);  // what the system refuses is raised
  EXPECT_EQ(stack_of_thread(0), std::max<size_t>(20480, minimum));
  EXPECT_EQ(stack_of_thread(-7), std::max<size_t>(20480, minimum));
  EXPECT_EQ(stack_of_thread(100), 100u * 1024);
  EXPECT_EQ(stack_of_thread(4096), 4096u * 1024);
  EXPECT_EQ(stack_of_thread(4097), 4096u * 1024);
  EXPECT_EQ(stack_of_thread(5000), 4096u * 1024);
}

TEST(Thread, ExitEndsItAtOnce) {
  static bool went_on = false;
  thrd_t thread = 0;
  ASSERT_EQ(thrd_create(
                &thread, 64,
                [](void*) -> int {
                  thrd_exit(5);
                  went_on = true;
                },
                nullptr),
            1);
  int result = 77;
  EXPECT_EQ(thrd_join(thread, &result), 1);
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(went_on);
}

TEST(Thread, IsNotWaitedForWhenDetached) {
  static std::atomic<bool> may_end{false};
  static std::atomic<bool> ended{false};
  may_end = ended = false;
  thrd_t thread = 0;
  ASSERT_EQ(thrd_create(
                &thread, 64,
                [](void*) {
                  while (!may_end) thrd_yield();
                  ended = true;
                  return 0;
                },
                nullptr),
            1);
  EXPECT_EQ(thrd_detach(thread), 1);
  int result = 77;
  EXPECT_EQ(thrd_join(thread, &result), 0);
  EXPECT_EQ(result, 77);
  may_end = true;
  while (!ended) std::this_thread::yield();
}

TEST(Thread, CannotBeMadeWithoutAFunction) {
  thrd_t thread = 5;
  EXPECT_EQ(thrd_create(&thread, 0, nullptr, nullptr), 0);
  EXPECT_EQ(thrd_create(nullptr, 0, look_around, nullptr), 0);
  EXPECT_EQ(thrd_join(0, nullptr), 0);
  EXPECT_EQ(thrd_detach(0), 0);
}

// Uses up the memory of this process but for what is less than a block. The limit alone does not
// count in an emulator, and without it the search would be long where addresses have 64 bits.
void use_up_memory(size_t block_size) {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_AS, &none);
  // Volatile: a compiler knows what becomes of memory that nobody uses.
  void* volatile block = nullptr;
  do block = malloc(block_size);
  while (block != nullptr);
}

TEST(Thread, HasTheIdZeroWhenTheSystemRefusesIt) {
  if (kSanitized) GTEST_SKIP() << "sanitizers cannot do without memory";
  in_other_process([] {
    use_up_memory(1 << 20);
    thrd_t thread = 5;
    Seen seen;
    EXPECT_EQ(thrd_create(&thread, 4096, look_around, &seen), 0);
    EXPECT_EQ(thread, 0u);
  });
}

TEST(Thread, NeedsMemoryForItsStart) {
  if (kSanitized) GTEST_SKIP() << "sanitizers cannot do without memory";
  in_other_process([] {
    use_up_memory(1 << 20);
    use_up_memory(1);
    thrd_t thread = 5;
    Seen seen;
    const int result = thrd_create(&thread, 64, look_around, &seen);
    _exit(result == 4 && thread == 0 ? 0 : 1);  // there is no memory for expectations
  });
}

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

TEST(Sleep, TakesItsTime) {
  const timespec duration{0, 20000000};
  auto start = Clock::now();
  EXPECT_EQ(thrd_sleep(&duration, nullptr), 0);
  EXPECT_GE(Clock::now() - start, milliseconds(20));
  start = Clock::now();
  os_sleep(20);
  EXPECT_GE(Clock::now() - start, milliseconds(20));
  start = Clock::now();
  os_usleep(20000);
  EXPECT_GE(Clock::now() - start, milliseconds(20));
}

TEST(Sleep, OfNoTimeIsNone) {
  EXPECT_EQ(thrd_sleep(nullptr, nullptr), -1);
  EXPECT_EQ(thrd_sleep(&kNoTime, nullptr), -1);
  EXPECT_EQ(thrd_yield(), 0);
  os_sleep(0);
  os_sleep(-1000000000);
  os_usleep(-1000000000);
}

TEST(Sleep, TimeOfDayIsTheSystems) {
  timeval now{};
  const time_t before = time(nullptr);
  EXPECT_EQ(port_gettimeofday(&now), 0);
  EXPECT_GE(now.tv_sec, before);
  EXPECT_LE(now.tv_sec, time(nullptr) + 1);
  EXPECT_EQ(port_gettimeofday(nullptr), -1);
}

}  // namespace
}  // namespace capi::test
