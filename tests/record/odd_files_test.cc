// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A FIFO in the place of a file: nobody may wait for its writer, least of all with a lock held.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "capi/schema.h"
#include "support/adapter.h"
#include "support/fifo.h"

namespace capi::test {
namespace {

using testing::ElementsAre;

void make_fifo(const std::string& path) {
  std::filesystem::remove_all(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0666), 0) << path;
}

LogLine odd(const std::string& path) { return {4, "open_file", path + " is not a regular file"}; }

class OddFilesTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    alarm(60);  // for what waits all the same
  }

  void TearDown() override {
    alarm(0);
    for (const char* path : {"/tmp/m_data", "/tmp/voip_call_log", "/tmp/info.simcard"}) {
      std::filesystem::remove(path);
    }
    Adapter::TearDown();
  }
};

TEST_F(OddFilesTest, AMasterStartsWithoutItsInfoFiles) {
  for (const char* path : {"/tmp/info.simcard", "/tmp/info.sys", "/tmp/info.wan", "/tmp/m_data",
                           "/tmp/voice.cfg.default"}) {
    make_fifo(path);
  }
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_THAT(captured_log(kLogWarning),
              ElementsAre(odd("/tmp/info.simcard"), odd("/tmp/info.sys"), odd("/tmp/info.wan"),
                          odd("/tmp/m_data"), odd("/tmp/voice.cfg.default")));
  EXPECT_EQ(get_config("runtime_info", "option_runtime_info_fw_version"), "v1.0.0");
  EXPECT_EQ(lock_value(0), 1);
}

TEST_F(OddFilesTest, SettingsAreNotLoaded) {
  start_master();
  make_fifo("/tmp/test.settings");
  EXPECT_EQ(capi_init_settings_from_file("/tmp/test.settings"), -1);
  make_fifo("/tmp/lte_net_info.data");
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_THAT(captured_log(kLogWarning),  // the data directory is "/tmp" too
              ElementsAre(odd("/tmp/test.settings"), odd("/tmp/lte_net_info.data"),
                          odd("/tmp/lte_net_info.data")));
  std::filesystem::remove("/tmp/test.settings");
  std::filesystem::remove("/tmp/lte_net_info.data");
}

TEST_F(OddFilesTest, StoresAreNotRead) {
  start_master();
  make_fifo("/tmp/voip_call_log");
  capi_call_log_image image;
  EXPECT_EQ(capi_voip_read_call_log(&image), -1);
  EXPECT_THAT(captured_log(kLogWarning),
              ElementsAre(odd("/tmp/voip_call_log"),
                          LogLine{kLogWarning, "_vkr_voip_read_call_log",
                                  " can not read call log file /tmp/voip_call_log, error = No such "
                                  "file or directory !"}));
  EXPECT_EQ(lock_value(2), 1);
}

// The stores that a master begins with.
class OddStoresTest : public OddFilesTest {
 protected:
  void SetUp() override {
    OddFilesTest::SetUp();
    start_master();
  }

  // Starts the rest, as a master does; nobody was held up, and nothing is.
  static void start_stores() {
    EXPECT_EQ(capi_post_init(1), 0);
    EXPECT_EQ(lock_value(CAPI_LOCK_CALL_LOG), 1);
    EXPECT_EQ(lock_value(CAPI_LOCK_VOICE_SMS), 1);
  }

  void TearDown() override {
    for (const char* path : {"/tmp/sm_recv", "/tmp/sm_send"}) std::filesystem::remove(path);
    OddFilesTest::TearDown();
  }
};

// A FIFO is no file to read and none to write: nothing of it is used, nothing is done to it.
TEST_F(OddStoresTest, AMasterStartsWithoutItsCallLog) {
  make_fifo("/tmp/voip_call_log");
  start_stores();
  EXPECT_THAT(
      captured_log(kLogWarning),
      ElementsAre(odd("/tmp/voip_call_log"),
                  LogLine{kLogWarning, "_vkr_voip_create_call_log_file",
                          " can not create  file /tmp/voip_call_log, error : No such device "
                          "or address !"},
                  LogLine{kLogWarning, "_vkr_voip_init_call_log_file",
                          " fail to create new call log file /tmp/voip_call_log !"}));
  EXPECT_TRUE(std::filesystem::is_fifo("/tmp/voip_call_log"));
  EXPECT_EQ(std::filesystem::file_size("/tmp/sm_recv"), 56u);
  EXPECT_EQ(capi_voip_clean_all_call_log(), 0) << "which takes away whatever is there";
  EXPECT_EQ(std::filesystem::file_size("/tmp/voip_call_log"), 62444u);
}

TEST_F(OddStoresTest, AMasterStartsWithoutAMessageFile) {
  make_fifo("/tmp/sm_recv");
  start_stores();
  EXPECT_THAT(captured_log(kLogWarning),
              ElementsAre(odd("/tmp/sm_recv"),
                          LogLine{kLogWarning, "_vkr_voip_sms_create_file",
                                  "fopen /tmp/sm_recv failed, reason 6: No such device or address"},
                          LogLine{kLogWarning, "_vkr_voip_sms_init_file",
                                  "_vkr_voip_sms_create_file /tmp/sm_recv failed"}));
  EXPECT_TRUE(std::filesystem::is_fifo("/tmp/sm_recv"));
  EXPECT_EQ(std::filesystem::file_size("/tmp/sm_send"), 56u);
  std::filesystem::remove("/tmp/sm_recv");
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(std::filesystem::file_size("/tmp/sm_recv"), 56u);
}

// Each of these finds the file damaged, keeps a copy of it, and would wait for ever where the copy
// goes to.
TEST_F(OddStoresTest, ADamagedFileIsSetAsideWhereAFifoIs) {
  const std::string damaged(100, 'x');
  capi_sms_record record{};
  capi_sms_counter counter{};
  void* image = nullptr;
  const std::function<int()> uses[] = {
      [] { return capi_post_init(1); },
      [&] { return capi_voip_sms_add(CAPI_SMS_RECEIVED, &record); },
      [&] { return capi_voip_sms_update(CAPI_SMS_RECEIVED, &record) + 1; },
      [&] { return capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1) + 1; },
      [&] { return capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record) + 1; },
      [&] { return capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &counter, &counter) + 1; },
      [&] { return capi_voip_sms_load(CAPI_SMS_RECEIVED, &image) + 1; },
  };
  for (const auto& use : uses) {
    const Fifo fifo("/tmp/sm_recv.err");
    write_file("/tmp/sm_recv", damaged);
    clear_log();
    EXPECT_EQ(use(), 0);
    EXPECT_THAT(captured_log(kLogWarning), testing::Contains(odd("/tmp/sm_recv.err")));
    ASSERT_TRUE(std::filesystem::is_regular_file("/tmp/sm_recv.err"));
    EXPECT_EQ(read_file("/tmp/sm_recv.err"), damaged);
    EXPECT_NE(read_file("/tmp/sm_recv"), damaged);
    EXPECT_EQ(lock_value(CAPI_LOCK_VOICE_SMS), 1);
  }
}

TEST_F(OddFilesTest, ABackupIsNotMade) {
  start_master();
  make_fifo("/tmp/voip_call_log");
  make_fifo("/tmp/sm_recv");
  std::filesystem::remove("/tmp/backup");
  EXPECT_EQ(capi_voip_call_log_backup("/tmp/backup"), -1);
  capi_voip_sms_backup("/tmp/backup");
  EXPECT_FALSE(exists("/tmp/backup"));
  std::filesystem::remove("/tmp/sm_recv");
}

TEST_F(OddFilesTest, FactsAboutTheDeviceAreMissing) {
  start_master();
  for (const char* path : {"/tmp/info.simcard", "/tmp/info.ims_voice", "/etc/firmware_version",
                           "/quorbleconf/config/test_sim_info"}) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    make_fifo(path);
  }
  char buf[512];
  uint32_t carrier = 0;
  EXPECT_EQ(capi_get_simcard_info(CAPI_SIM_IMPU, buf, sizeof buf), 0);
  EXPECT_EQ(capi_check_simcard(), 1);
  EXPECT_EQ(capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, buf, CAPI_IMS_VOICE_BYTES), -1);
  EXPECT_EQ(capi_get_test_sim_info(buf, buf + 8, &carrier), -1);
  segment().fw_version[0] = '\0';
  EXPECT_EQ(capi_get_firmware_version(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "Unknown");
  make_fifo("/tmp/schema.json");
  EXPECT_EQ(vkrJson_Init("/tmp/schema.json"), nullptr);
  for (const char* path : {"/tmp/info.ims_voice", "/etc/firmware_version", "/tmp/schema.json",
                           "/quorbleconf/config/test_sim_info"}) {
    std::filesystem::remove(path);
  }
}

}  // namespace
}  // namespace capi::test
