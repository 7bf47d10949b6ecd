// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A FIFO in the place of a file: nobody may wait for its writer, least of all with a lock held.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "capi/schema.h"
#include "support/adapter.h"

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
