// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A disk that is full at every write: the messages stay, and so do the lock and the process.

#include <sys/mount.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "sms_files.h"

namespace capi::test {
namespace {

constexpr char kDisk[] = "/tmp/disk";
constexpr char kFile[] = "/tmp/disk/sm_recv";
const LogLine kFull{kLogWarning, "_vkr_voip_sms_create_file",
                    "fwrite failed, reason 28: No space left on device"};

// The messages are on a disk of eight pages.
class SmsFullDiskTest : public SmsTest {
 protected:
  void SetUp() override {
    SmsTest::SetUp();
    std::filesystem::create_directory(kDisk);
    ASSERT_EQ(mount("tmpfs", kDisk, "tmpfs", 0, "size=32k"), 0) << strerror(errno);
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, kDisk);
    clear_log();
  }

  void TearDown() override {
    EXPECT_FALSE(exists("/tmp/disk/.sm_recv.new"));
    EXPECT_EQ(umount(kDisk), 0);
    SmsTest::TearDown();
  }

  static void store(const std::vector<Message>& messages) {
    for (const Message& message : messages) {
      capi_sms_record record = to_record(message);
      ASSERT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    }
    clear_log();
  }

  // Takes what is left, a page or a byte at a time.
  static void fill() {
    std::ofstream ballast("/tmp/disk/ballast", std::ios::binary);
    while (ballast.write(std::string(4096, 'x').data(), 4096).flush()) {
    }
  }

  static void expect_store_works_again(uint64_t last_id = 0) {
    std::filesystem::remove("/tmp/disk/ballast");
    capi_sms_record record = to_record({});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
    EXPECT_EQ(record.id, last_id + 1);
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
  EXPECT_EQ(captured_log(kLogInfo).back(),
            (LogLine{kLogWarning, "_vkr_voip_sms_add",
                     "_vkr_voip_sms_create_file /tmp/disk/sm_recv failed"}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("1", "0")});
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, AnAddThatDoesNotFitKeepsTheMessages) {
  store({{.text = std::string(15000, 'a')}});
  const std::string before = read_file(kFile);
  capi_sms_record record = to_record({.text = std::string(5000, 'b')});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(captured_log(kLogWarning),
            lines({{kLogWarning, "_vkr_voip_sms_write_file",
                    "fwrite failed, reason 28: No space left on device"}}));
  EXPECT_EQ(new_signals().back(), update_signal("1", "0"));
  EXPECT_EQ(read_file(kFile), before);
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1), 0);
  expect_store_works_again(1);
}

TEST_F(SmsFullDiskTest, AnUpdateThatDoesNotFitKeepsTheMessages) {
  store({{.text = "first"}, {.text = "second"}});
  fill();
  const std::string before = read_file(kFile);
  const capi_sms_record record = to_record({.id = 1, .status = 5});
  EXPECT_EQ(capi_voip_sms_update(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(read_file(kFile), before);
}

TEST_F(SmsFullDiskTest, DeletingAndCleaningStillWork) {
  store({{.text = std::string(6000, 'a')}, {.text = "second"}, {.text = std::string(6000, 'c')}});
  fill();
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 2), 0);
  EXPECT_EQ(ids_in(read_file(kFile)), (std::vector<uint64_t>{1, 3}));
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1), 0);
  EXPECT_EQ(ids_in(read_file(kFile)), (std::vector<uint64_t>{3}));
  fill();
  const uint64_t identity = identity_in(read_file(kFile));
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), 0);
  EXPECT_EQ(ids_in(read_file(kFile)), std::vector<uint64_t>{});
  EXPECT_NE(identity_in(read_file(kFile)), identity);
  EXPECT_EQ(captured_log(kLogWarning), lines({}));
}

TEST_F(SmsFullDiskTest, InitialisingFailsWithoutSpaceForTheFiles) {
  fill();
  EXPECT_EQ(capi_voip_sms_init(), -1);
  EXPECT_EQ(captured_log(kLogWarning),
            lines({kFull,
                   {kLogWarning, "_vkr_voip_sms_init_file",
                    "_vkr_voip_sms_create_file /tmp/disk/sm_recv failed"},
                   kFull,
                   {kLogWarning, "_vkr_voip_sms_init_file",
                    "_vkr_voip_sms_create_file /tmp/disk/sm_send failed"}}));
  expect_store_works_again();
}

TEST_F(SmsFullDiskTest, SendingWithoutSpaceFails) {
  strcpy(segment().sim_info.IMSI, "001019999999999");
  fill();
  EXPECT_EQ(capi_voip_sms_send("+1", 0, "x", 1), -1);
  EXPECT_EQ(new_signals(), std::vector<std::string>{});
}

}  // namespace
}  // namespace capi::test
