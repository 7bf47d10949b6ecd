// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A disk that is full at every write: the messages are lost, but neither the lock nor the process.

#include <sys/mount.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "sms_files.h"

namespace capi::test {
namespace {

constexpr char kDisk[] = "/tmp/disk";
const LogLine kFull{kLogWarning, "_vkr_voip_sms_create_file",
                    "fwrite failed, reason 28: No space left on device"};

// The received messages are on a disk of eight pages.
class SmsFullDiskTest : public SmsTest {
 protected:
  void SetUp() override {
    SmsTest::SetUp();
    std::filesystem::create_directory(kDisk);
    ASSERT_EQ(mount("tmpfs", kDisk, "tmpfs", 0, "size=32k"), 0) << strerror(errno);
    std::filesystem::create_symlink("/tmp/disk/sm_recv", kReceived);
  }

  void TearDown() override {
    EXPECT_EQ(umount(kDisk), 0);
    SmsTest::TearDown();
  }

  // Takes what is left, a page or a byte at a time.
  static void fill() {
    std::ofstream ballast("/tmp/disk/ballast", std::ios::binary);
    while (ballast.write(std::string(4096, 'x').data(), 4096).flush()) {
    }
  }

  static void expect_store_works_again() {
    std::filesystem::remove("/tmp/disk/ballast");
    capi_sms_record record = to_record({});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    EXPECT_EQ(record.id, 1u);
  }
};

TEST_F(SmsFullDiskTest, AMissingFileIsNotCreated) {
  fill();
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), -1);
  EXPECT_EQ(captured_log(kLogInfo), lines({kFull}));
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, AddingToAMissingFileFails) {
  fill();
  capi_sms_record record = to_record({});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(
      captured_log(kLogInfo).back(),
      (LogLine{kLogWarning, "_vkr_voip_sms_add", "_vkr_voip_sms_create_file /tmp/sm_recv failed"}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("1", "0")});
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, AnAddThatDoesNotFitLosesTheMessages) {
  add(CAPI_SMS_RECEIVED, {{.text = std::string(20000, 'a')}});
  capi_sms_record record = to_record({.text = std::string(20000, 'b')});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(captured_log(kLogWarning),
            lines({{kLogWarning, "_vkr_voip_sms_write_file",
                    "fwrite failed, reason 28: No space left on device"}}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("1", "0")});
  EXPECT_EQ(ids_in(read_file(kReceived)), std::vector<uint64_t>{});
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, InitialisingFailsWithoutSpaceForOneOfTheFiles) {
  fill();
  EXPECT_EQ(capi_voip_sms_init(), -1);
  EXPECT_EQ(captured_log(kLogWarning), lines({kFull,
                                              {kLogWarning, "_vkr_voip_sms_init_file",
                                               "_vkr_voip_sms_create_file /tmp/sm_recv failed"}}));
  EXPECT_TRUE(exists(kSent));
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, SendingWithoutSpaceFails) {
  std::filesystem::create_symlink("/tmp/disk/sm_send", kSent);
  strcpy(segment().sim_info.IMSI, "001019999999999");
  fill();
  EXPECT_EQ(capi_voip_sms_send("+1", 0, "x", 1), -1);
  EXPECT_EQ(new_signals(), std::vector<std::string>{});
}

}  // namespace
}  // namespace capi::test
