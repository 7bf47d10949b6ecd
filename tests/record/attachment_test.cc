// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A segment that is removed or replaced under a running process.

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>

#include "record/context.h"
#include "support/adapter.h"
#include "support/faults.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const LogLine kReplaced{kLogWarning, "__cfg_backend_init_shm",
                        "another segment has taken the place of ours, using that"};

LogLine lost(const std::string& reason) {
  return {kLogWarning, "__cfg_backend_init_shm",
          "the segment is lost, reason = [" + reason + "], using the old one"};
}

std::string version() { return get_config("runtime_info", "option_runtime_info_fw_version"); }

// From now on a second has passed since the last look.
void let_a_second_pass() { context()->looked_at = -1; }

std::string version_a_second_later() {
  let_a_second_pass();
  return version();
}

void remove_segment() { EXPECT_EQ(shmctl(context()->shm_id, IPC_RMID, nullptr), 0); }

int find_segment(const char* tool = kToolPath) { return shmget(ftok(tool, 250), 0, 0); }

// The same tool in another file, as an update of the device brings it.
void replace_tool() {
  install_recording_tool("/usr/sbin/vsdk_cmd.new");
  std::filesystem::rename("/usr/sbin/vsdk_cmd.new", kToolPath);
}

class AttachmentTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    write_file("/tmp/info.sys", "fw_verison=v1\n");
    in_other_process([this] { start_master(); });
    start_client();
    ASSERT_EQ(version(), "v1");
    clear_log();
  }

  void TearDown() override {
    clear_faults();
    Adapter::TearDown();
  }

  // In a process of its own.
  void start_new_master() {
    write_file("/tmp/info.sys", "fw_verison=v2\n");
    in_other_process([this] {
      capi_uninit();  // what fork() handed down
      start_master();
    });
  }
};

TEST_F(AttachmentTest, AClientGoesOnWithTheSegmentThatIsMadeAnew) {
  remove_segment();
  start_new_master();
  EXPECT_EQ(version_a_second_later(), "v2");
  EXPECT_EQ(version_a_second_later(), "v2");
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(kReplaced));
}

TEST_F(AttachmentTest, AClientGoesOnWithTheSegmentOfAReplacedTool) {
  replace_tool();
  EXPECT_EQ(version_a_second_later(), "v1");
  start_new_master();
  EXPECT_EQ(version_a_second_later(), "v2");
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("No such file or directory"), kReplaced));
}

TEST_F(AttachmentTest, WhatAClientSetsThenIsSeenByOthers) {
  remove_segment();
  start_new_master();
  let_a_second_pass();
  const capi_line_cs_reg_stat status{{1, 2, 3, 4, 5}};
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(1, &status), 0);
  in_client([] {
    capi_line_cs_reg_stat seen{};
    EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(1, &seen), 0);
    EXPECT_THAT(seen.value, ElementsAre(1, 2, 3, 4, 5));
  });
}

TEST_F(AttachmentTest, AStackFileIsWrittenFromTheNewSegment) {
  remove_segment();
  write_file("/tmp/voice.cfg.default", "[basic_sip]\nlocal_port=5099\n");
  start_new_master();
  let_a_second_pass();
  EXPECT_EQ(capi_make_config_file(1), 0);
  EXPECT_THAT(read_lines("/tmp/vosip.conf.voip"), testing::Contains("local_udp_tcp_port=5099"));
}

TEST_F(AttachmentTest, TheRecordKeepsItsAddressAndTheOldSegmentGoes) {
  const int old_segment = context()->shm_id;
  const cfg_shared_record* address = &segment();
  remove_segment();
  start_new_master();
  version_a_second_later();
  EXPECT_EQ(&segment(), address);
  EXPECT_STREQ(address->fw_version, "v2");
  shmid_ds status{};
  EXPECT_EQ(shmctl(old_segment, IPC_STAT, &status), -1);
  ASSERT_EQ(shmctl(find_segment(), IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_nattch, 1u);
  capi_uninit();
  ASSERT_EQ(shmctl(find_segment(), IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_nattch, 0u);
}

TEST_F(AttachmentTest, AChildOfAForkLooksForItself) {
  Baton replaced;
  Process child([&] {
    replaced.await();
    EXPECT_EQ(version_a_second_later(), "v2");
    EXPECT_THAT(captured_log(kLogInfo), ElementsAre(kReplaced));
  });
  remove_segment();
  start_new_master();
  replaced.pass();
  EXPECT_TRUE(child.succeeded());
  EXPECT_EQ(version_a_second_later(), "v2");
}

TEST_F(AttachmentTest, ARunningMasterGoesOnWithItToo) {
  capi_uninit();
  start_master();
  remove_segment();
  start_new_master();
  EXPECT_EQ(version_a_second_later(), "v2");
}

TEST_F(AttachmentTest, ARemovedSegmentIsUsedUntilThereIsAnother) {
  remove_segment();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(version_a_second_later(), "v1");
  EXPECT_EQ(find_segment(), -1);
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("No such file or directory")));
  start_new_master();
  EXPECT_EQ(version_a_second_later(), "v2");
}

TEST_F(AttachmentTest, ASegmentOfAnotherSizeIsNotTaken) {
  remove_segment();
  ASSERT_NE(shmget(ftok(kToolPath, 250), 100, IPC_CREAT | 0666), -1);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(version_a_second_later(), "v1");
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("Invalid argument")));
}

TEST_F(AttachmentTest, AnAttachThatFailsIsTriedAgain) {
  remove_segment();
  start_new_master();
  inject({.call = Call::Shmat, .times = 2, .error = ENOMEM});
  EXPECT_EQ(version_a_second_later(), "v1");
  EXPECT_EQ(version_a_second_later(), "v1");
  EXPECT_EQ(version_a_second_later(), "v2");
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("Cannot allocate memory"), kReplaced));
}

TEST_F(AttachmentTest, AToolThatIsMissingForAWhileChangesNothing) {
  std::filesystem::rename(kToolPath, "/usr/sbin/vsdk_cmd.hidden");
  EXPECT_EQ(version_a_second_later(), "v1");
  std::filesystem::rename("/usr/sbin/vsdk_cmd.hidden", kToolPath);
  EXPECT_EQ(version_a_second_later(), "v1");
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("No such file or directory")));
}

TEST_F(AttachmentTest, AProcessThatGoesToAnotherDirectoryKeepsItsSegment) {
  capi_uninit();
  install_recording_tool("/tmp/device/usr/sbin/vsdk_cmd");
  ASSERT_EQ(chdir("/tmp/device"), 0);
  start_master();
  segment().voice_switch.mode = 7;
  ASSERT_EQ(chdir("/"), 0);
  ASSERT_NE(find_segment(), find_segment("/tmp/device/usr/sbin/vsdk_cmd"));
  let_a_second_pass();
  EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "7");
  EXPECT_THAT(captured_log(kLogInfo), IsEmpty());
  // It still notices that it is replaced.
  remove_segment();
  version_a_second_later();
  EXPECT_THAT(captured_log(kLogInfo), ElementsAre(lost("No such file or directory")));
}

time_t coarse_seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return now.tv_sec;
}

TEST_F(AttachmentTest, ItIsLookedAtAtMostOnceASecond) {
  constexpr int kReads = 20000;
  version();
  const time_t before = context()->looked_at;
  clear_faults();
  for (int i = 0; i < kReads; ++i) version();
  const int looks = count_calls(Call::Shmget);
  EXPECT_EQ(count_calls(Call::Ftok), 2 * kReads + looks);  // a lock and an unlock have one each
  EXPECT_EQ(count_calls(Call::Shmat), 0);
  EXPECT_LE(looks, coarse_seconds() - before);
  version_a_second_later();
  EXPECT_GE(count_calls(Call::Shmget), looks + 1);
}

TEST_F(AttachmentTest, AClientThatMakesTheSegmentSaysSo) {
  const std::vector<LogLine> made{
      {kLogWarning, "__cfg_backend_init_shm", "there was no segment, made an empty one"}};
  const auto start = [&](int is_master) {
    capi_uninit();
    clear_log();
    EXPECT_EQ(capi_init(&no_callbacks_, is_master, capture_log), 0);
    return captured_log(kLogInfo);
  };
  EXPECT_THAT(start(0), IsEmpty());
  remove_segment();
  EXPECT_EQ(start(0), made);
  EXPECT_EQ(version(), "");
  EXPECT_THAT(start(0), IsEmpty());
  remove_segment();
  EXPECT_THAT(start(1), IsEmpty());
}

}  // namespace
}  // namespace capi::test
