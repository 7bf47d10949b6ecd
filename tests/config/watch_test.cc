// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/watch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "record/context.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kVersion[] = "option_runtime_info_fw_version";

constexpr int kSoon = 10000;  // milliseconds, for what has to happen

bool is_readable(const capi_watch& watch, int timeout = 0) {
  pollfd wait{watch.fd, POLLIN, 0};
  return poll(&wait, 1, timeout) == 1;
}

void change(unsigned topic) {
  capi_line_cs_reg_stat status{};
  capi_call_log_record call{};
  capi_sms_record message{};
  switch (topic) {
    case CAPI_TOPIC_CONFIG:
      EXPECT_EQ(capi_config_set("voice_switch", "option_voice_switch_mode", 0, "3"), 0);
      break;
    case CAPI_TOPIC_DEVICE:
      EXPECT_EQ(capi_config_set("runtime_info", kVersion, 0, "v7"), 0);
      break;
    case CAPI_TOPIC_LINES:
      EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(0, &status), 0);
      break;
    case CAPI_TOPIC_CALLS:
      EXPECT_EQ(capi_voip_add_call_log(0, &call), 0);
      break;
    default:
      EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &message), 0);
  }
}

class Watch : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
    capi_post_init(1);
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
      if (entry.path().filename().string().starts_with("capi_news")) {
        std::filesystem::remove(entry);
      }
    }
  }

  void TearDown() override {
    capi_watch_close(&watch_);
    Adapter::TearDown();
  }

  void open(unsigned topics) { ASSERT_EQ(capi_watch_open(&watch_, topics), 0); }
  bool is_woken() { return is_readable(watch_, kSoon); }

  capi_watch watch_{.fd = -1, .topics = 0, .generation = {}, .file = {}, .spare = 0};
};

TEST_F(Watch, IsToldOfEachTopicAndOfNoOther) {
  for (unsigned topic = 1; topic < CAPI_TOPIC_ALL; topic *= 2) {
    open(topic);
    in_client([topic] { change(topic); });
    EXPECT_TRUE(is_woken()) << topic;
    EXPECT_EQ(capi_watch_changed(&watch_), static_cast<int>(topic));
    in_client([topic] {
      for (unsigned other = 1; other < CAPI_TOPIC_ALL; other *= 2) {
        if (other != topic) change(other);
      }
    });
    EXPECT_FALSE(is_readable(watch_)) << topic;
    EXPECT_EQ(capi_watch_changed(&watch_), 0) << topic;
    capi_watch_close(&watch_);
  }
}

TEST_F(Watch, SaysWhichOfItsTopicsHaveChanged) {
  open(CAPI_TOPIC_ALL);
  change(CAPI_TOPIC_LINES);
  change(CAPI_TOPIC_CALLS);
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_LINES | CAPI_TOPIC_CALLS);
  EXPECT_EQ(capi_watch_changed(&watch_), 0);
}

TEST_F(Watch, ItsGenerationsGrow) {
  open(CAPI_TOPIC_DEVICE | CAPI_TOPIC_CALLS);
  const uint64_t device = watch_.generation[1];
  const uint64_t calls = watch_.generation[3];
  change(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  capi_watch_changed(&watch_);
  EXPECT_EQ(watch_.generation[1], device + 2);
  EXPECT_EQ(watch_.generation[3], calls);
}

TEST_F(Watch, ReadsTheNewValueAfterItWasWoken) {
  Baton ready;
  Process watcher([&] {
    capi_uninit();
    start_client();
    capi_watch watch;
    ASSERT_EQ(capi_watch_open(&watch, CAPI_TOPIC_DEVICE), 0);
    ready.pass();
    ASSERT_TRUE(is_readable(watch, kSoon));
    EXPECT_EQ(capi_watch_changed(&watch), CAPI_TOPIC_DEVICE);
    char value[64];
    EXPECT_EQ(capi_live_get("runtime_info", kVersion, value, sizeof value), 0);
    EXPECT_STREQ(value, "v7");
  });
  ready.await();
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(watcher.succeeded());
}

TEST_F(Watch, IsWokenAgainByEachChangeAfterItLooked) {
  open(CAPI_TOPIC_DEVICE);
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(is_readable(watch_));
    change(CAPI_TOPIC_DEVICE);
    EXPECT_TRUE(is_woken());
    EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE);
  }
}

TEST_F(Watch, StaysReadableUntilItLooked) {
  open(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
  EXPECT_TRUE(is_readable(watch_));
  capi_watch_changed(&watch_);
  EXPECT_FALSE(is_readable(watch_));
}

TEST_F(Watch, ASlowOneDoesNotKeepOthersFromBeingTold) {
  open(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  capi_watch other;
  ASSERT_EQ(capi_watch_open(&other, CAPI_TOPIC_DEVICE), 0);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_readable(other, kSoon));
  EXPECT_EQ(capi_watch_changed(&other), CAPI_TOPIC_DEVICE);
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE);
  capi_watch_close(&other);
}

TEST_F(Watch, IsToldWhereItsFileWasRemoved) {
  open(CAPI_TOPIC_DEVICE);
  EXPECT_EQ(unlink("/tmp/capi_news.device"), 0);
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), 0);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE);
}

TEST_F(Watch, IsToldWhereItsFileWasReplaced) {
  open(CAPI_TOPIC_DEVICE);
  write_file("/tmp/other", "");
  std::filesystem::rename("/tmp/other", "/tmp/capi_news.device");
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), 0);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
}

TEST_F(Watch, DoesNotFollowALinkThatSomebodyPlanted) {
  write_file("/tmp/precious", "");
  const auto before = std::filesystem::last_write_time("/tmp/precious");
  std::filesystem::create_symlink("/tmp/precious", "/tmp/capi_news.device");
  open(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(std::filesystem::last_write_time("/tmp/precious"), before);
}

TEST_F(Watch, EverybodyMayTouchItsFileWhateverTheMask) {
  const mode_t mask = umask(077);
  open(CAPI_TOPIC_DEVICE);
  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat("/tmp/capi_news.device", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0666U);
  EXPECT_EQ(status.st_size, 0);
}

TEST_F(Watch, AChangeThatNobodyAskedForTouchesNothing) {
  change(CAPI_TOPIC_DEVICE);
  EXPECT_FALSE(std::filesystem::exists("/tmp/capi_news.device"));
  open(CAPI_TOPIC_DEVICE);
  change(CAPI_TOPIC_DEVICE);
  const auto touched = std::filesystem::last_write_time("/tmp/capi_news.device");
  capi_watch_close(&watch_);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_EQ(std::filesystem::last_write_time("/tmp/capi_news.device"), touched);
}

TEST_F(Watch, IsToldBeforeTheChange) {
  open(CAPI_TOPIC_DEVICE);
  const CriticalSection section(kConfShmLock);
  const RecordChange change(*shared_record(), CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
}

TEST_F(Watch, IsToldOfEachWayToChangeAStore) {
  change(CAPI_TOPIC_CALLS);
  change(CAPI_TOPIC_CALLS);
  change(CAPI_TOPIC_MESSAGES);
  capi_sms_record message{};
  message.id = 1;
  open(CAPI_TOPIC_CALLS | CAPI_TOPIC_MESSAGES);
  const std::pair<unsigned, std::function<void()>> ways[] = {
      {CAPI_TOPIC_CALLS, [] { capi_voip_delete_call_log_by_node(0, 1); }},
      {CAPI_TOPIC_CALLS, [] { capi_voip_clean_call_log_by_type(0); }},
      {CAPI_TOPIC_CALLS, [] { capi_voip_clean_all_call_log(); }},
      {CAPI_TOPIC_CALLS, [] { capi_voip_delete_call_log_file(); }},
      {CAPI_TOPIC_CALLS, [] { capi_voip_init_call_log_file(); }},
      {CAPI_TOPIC_MESSAGES, [&] { capi_voip_sms_update(CAPI_SMS_RECEIVED, &message); }},
      {CAPI_TOPIC_MESSAGES, [] { capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1); }},
      {CAPI_TOPIC_MESSAGES, [] { capi_voip_sms_clean(CAPI_SMS_RECEIVED); }},
  };
  for (const auto& [topic, way] : ways) {
    way();
    EXPECT_TRUE(is_readable(watch_, kSoon));
    EXPECT_EQ(capi_watch_changed(&watch_), static_cast<int>(topic));
  }
}

TEST_F(Watch, WhoReadsADamagedStoreThatCannotBeMendedDoesNotWakeItself) {
  ASSERT_TRUE(std::filesystem::exists("/tmp/sm_recv"));
  write_file("/tmp/sm_recv", "damaged");
  open(CAPI_TOPIC_MESSAGES);
  in_other_process([] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit nothing{0, 0};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &nothing), 0);
    void* messages = nullptr;
    EXPECT_EQ(capi_voip_sms_load(CAPI_SMS_RECEIVED, &messages), -1);
  });
  EXPECT_EQ(read_file("/tmp/sm_recv"), "damaged");
  EXPECT_FALSE(is_readable(watch_));
}

// ---- Another segment ---------------------------------------------------------------------------

TEST_F(Watch, IsToldOfTheSegmentThatTakesThePlaceOfItsOwn) {
  open(CAPI_TOPIC_DEVICE | CAPI_TOPIC_MESSAGES);
  EXPECT_EQ(shmctl(context()->shm_id, IPC_RMID, nullptr), 0);
  in_other_process([this] {
    capi_uninit();
    write_file("/tmp/info.sys", "fw_verison=v2\n");
    start_master();
  });
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE | CAPI_TOPIC_MESSAGES);
  char value[64];
  EXPECT_EQ(capi_live_get("runtime_info", kVersion, value, sizeof value), 0);
  EXPECT_STREQ(value, "v2");
  in_client([] { change(CAPI_TOPIC_DEVICE); });
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE);
}

TEST_F(Watch, ItsOwnSegmentIsKeptWhileThereIsNoOther) {
  open(CAPI_TOPIC_DEVICE);
  EXPECT_EQ(shmctl(context()->shm_id, IPC_RMID, nullptr), 0);
  change(CAPI_TOPIC_DEVICE);
  EXPECT_TRUE(is_woken());
  EXPECT_EQ(capi_watch_changed(&watch_), CAPI_TOPIC_DEVICE);
}

// ---- Errors and owners -------------------------------------------------------------------------

TEST_F(Watch, RefusesWhatItCannotWatch) {
  EXPECT_EQ(capi_watch_open(nullptr, CAPI_TOPIC_ALL), -1);
  EXPECT_EQ(errno, EINVAL);
  for (const unsigned topics : {0U, CAPI_TOPIC_ALL + 1U, ~0U}) {
    EXPECT_EQ(capi_watch_open(&watch_, topics), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(watch_.fd, -1);
  }
  EXPECT_EQ(capi_watch_changed(&watch_), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(capi_watch_changed(nullptr), -1);
  capi_watch_close(nullptr);
  capi_watch_close(&watch_);
}

TEST_F(Watch, NeedsASegment) {
  open(CAPI_TOPIC_ALL);
  capi_uninit();
  EXPECT_EQ(capi_watch_changed(&watch_), -1);
  EXPECT_EQ(errno, ENOTCONN);
  capi_watch other;
  EXPECT_EQ(capi_watch_open(&other, CAPI_TOPIC_ALL), -1);
  EXPECT_EQ(errno, ENOTCONN);
  EXPECT_EQ(other.fd, -1);
}

TEST_F(Watch, LeavesNoDescriptorBehind) {
  const auto count = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = count();
  open(CAPI_TOPIC_ALL);
  EXPECT_EQ(count(), before + 1);
  EXPECT_EQ(fcntl(watch_.fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  capi_watch_close(&watch_);
  EXPECT_EQ(count(), before);
  EXPECT_EQ(watch_.fd, -1);
}

TEST_F(Watch, AUserWhoMayOnlyReadIsTold) {
  open(CAPI_TOPIC_ALL);  // makes the files
  for (const char* topic : {"config", "device", "lines", "calls", "messages"}) {
    ASSERT_EQ(chmod((std::string("/tmp/capi_news.") + topic).c_str(), 0644), 0);
  }
  Baton ready;
  Process watcher([&] {
    capi_uninit();
    if (setgid(1) != 0 || setuid(1) != 0) {
      ready.pass();
      return;  // where only this user is known
    }
    start_client();
    capi_watch watch;
    ASSERT_EQ(capi_watch_open(&watch, CAPI_TOPIC_ALL), 0);
    ready.pass();
    ASSERT_TRUE(is_readable(watch, kSoon));
    EXPECT_EQ(capi_watch_changed(&watch), CAPI_TOPIC_LINES);
  });
  ready.await();
  change(CAPI_TOPIC_LINES);
  EXPECT_TRUE(watcher.succeeded());
}

}  // namespace
}  // namespace capi::test
