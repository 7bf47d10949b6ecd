// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Threads that are cancelled while the library holds a lock.
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/sem.h>

#include <cstring>
#include <functional>

#include "lock/critical_section.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

// Made for each test; a callback takes no argument of its own.
Baton* inside = nullptr;
Baton* go_on = nullptr;

// Sits at a cancellation point until it may go on.
void stop_here() {
  inside->pass();
  go_on->await();
}

int stop_in_callback(int, int, capi_line_reg_stat*) {
  stop_here();
  return 0;
}

void stop_at_item(int, const char* text) {
  if (strstr(text, "[option_sms_enable]") != nullptr) stop_here();
}

class CancellationTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    inside = &inside_;
    go_on = &go_on_;
  }

  // Runs "call" in a thread that is cancelled where it stops. Returns what became of the thread.
  void* cancel_in(std::function<void()> call) {
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, nullptr, run, &call), 0);
    inside_.await();
    EXPECT_EQ(pthread_cancel(thread), 0);
    go_on_.pass();
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    return result;
  }

  static void* run(void* call) {
    (*static_cast<std::function<void()>*>(call))();
    pthread_testcancel();
    return nullptr;
  }

  void expect_others_go_on() {
    ASSERT_EQ(lock_value(CAPI_LOCK_CONF_SHM), 1);
    in_client([] { EXPECT_EQ(capi_config_set("sms", "option_sms_enable", 0, "1"), 0); });
  }

  Baton inside_;
  Baton go_on_;
};

TEST_F(CancellationTest, WaitsUntilACallbackUnderALockIsThrough) {
  const capi_callbacks callbacks{nullptr, nullptr, stop_in_callback};
  ASSERT_EQ(capi_init(&callbacks, 1, capture_log), 0);
  int result = -1;
  EXPECT_EQ(cancel_in([&] {
              capi_line_reg_stat status{};
              result = capi_set_runtime_line_reg_stat(0, &status, 0);
            }),
            PTHREAD_CANCELED);
  EXPECT_EQ(result, 0);
  expect_others_go_on();
}

TEST_F(CancellationTest, WaitsUntilASettingFileIsLoaded) {
  start_master();
  write_file("/tmp/test.settings", "[sms]\noption_sms_enable=1\n");
  capiv2_log_init(stop_at_item);
  int result = -1;
  EXPECT_EQ(cancel_in([&] { result = capi_init_settings_from_file("/tmp/test.settings"); }),
            PTHREAD_CANCELED);
  EXPECT_EQ(result, 0);
  capiv2_log_init(capture_log);
  expect_others_go_on();
}

TEST_F(CancellationTest, TheStateOfBeforeReturnsWithTheLock) {
  start_master();
  for (const int before : {PTHREAD_CANCEL_DISABLE, PTHREAD_CANCEL_ENABLE}) {
    pthread_setcancelstate(before, nullptr);
    {
      const CriticalSection outer(kConfShmLock);
      { const CriticalSection inner(kVopRunInfoLock); }
      int held = -1;
      pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &held);
      EXPECT_EQ(held, PTHREAD_CANCEL_DISABLE);
    }
    int after = -1;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &after);
    EXPECT_EQ(after, before);
  }
}

// What the lock's call logs behind the taking may be a cancellation point.
TEST_F(CancellationTest, ALockThatACallerAsksForIsTakenOrNot) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  ASSERT_EQ(semctl(semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666), 2, SETVAL, 2), 0);
  capiv2_log_init([](int, const char*) { stop_here(); });  // of the bad value behind it
  int result = -1;
  EXPECT_EQ(cancel_in([&] { result = capi_critical_section_lock(2); }), PTHREAD_CANCELED);
  EXPECT_EQ(result, 0);
  capiv2_log_init(capture_log);
}

}  // namespace
}  // namespace capi::test
