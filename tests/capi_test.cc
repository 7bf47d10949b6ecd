// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <set>

#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

class CapiTest : public Adapter {};

TEST_F(CapiTest, ATypicalRequestGoesThroughThreeProcesses) {
  write_file("/tmp/voice.settings",
             "[sip_line_1]\noption_sip_line_enable=1\noption_sip_line_display_name=Frontdesk\n"
             "option_sip_line_auth_name=auth\noption_sip_line_user_name=100\n"
             "[runtime_info]\noption_runtime_info_work_directory=/tmp/made/here\n");
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_EQ(capi_init_settings_from_file("/tmp/voice.settings"), 0);
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(capi_post_init(1), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tmp/made/here"));
  in_client([] {  // the web front end
    EXPECT_EQ(capi_post_init(0), 0);
    capi_voice_sip_line line{};
    EXPECT_EQ(capi_get_voice_sip_line(&line, 1), 0);
    EXPECT_STREQ(line.display_name, "Frontdesk");
    strcpy(line.display_name, "Reception");
    EXPECT_EQ(capi_set_voice_sip_line(&line, 1), 0);
    EXPECT_EQ(capi_make_config_file(1), 0);
    EXPECT_EQ(capi_fire_internal_event("vop_sig_cfg_changed"), 0);
  });
  in_client([] {  // the voice application
    EXPECT_EQ(get_config("sip_line_1", "option_sip_line_display_name"), "Reception");
    EXPECT_THAT(read_file("/tmp/vosip.conf.voip"),
                HasSubstr("[LINE1_SUBSCRIBER]\ndisplayname=Reception\nusername=auth\npassword=\n"
                          "number=100\nenable=1\nclir_enable=0\n\n"));
    EXPECT_THAT(posted(), Contains("signal simple vop_sig_cfg_changed"));
  });
}

TEST_F(CapiTest, InitStoresTheSinkBeforeAnythingElse) {
  capiv2_log_init(nullptr);
  std::filesystem::remove("/tmp/m_data");
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_EQ(captured_log().at(0),
            (LogLine{kLogErr, "capi_critical_section_lock_create",
                     "CAPI critical section lock failed [ftok], reason = [No such file or "
                     "directory]"}));
}

TEST_F(CapiTest, OnlyTheMasterMakesTheLocks) {
  EXPECT_EQ(capi_init(&no_callbacks_, 0, capture_log), 0);
  EXPECT_EQ(lock_value(0), -1);
  capi_uninit();
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_EQ(lock_value(0), 1);
}

TEST_F(CapiTest, ASecondMasterLeavesHeldLocksHeld) {
  start_master();
  ASSERT_EQ(capi_critical_section_lock(2), 0);
  in_other_process([&] {
    capi_uninit();
    start_master();
    EXPECT_EQ(lock_value(2), 0);
  });
  EXPECT_EQ(lock_value(2), 0);
  EXPECT_EQ(capi_critical_section_unlock(2), 0);
}

TEST_F(CapiTest, AProcessThatStartsBeforeTheMasterLeavesTheRootAlone) {
  const auto root = [] {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/")) names.insert(entry.path());
    return names;
  };
  constexpr char kSim[] = "IMSI=001011234567890\n";
  write_file("/tmp/info.simcard", kSim);  // the master's, which is still to come
  write_file("/info.simcard", kSim);
  const std::set<std::string> before = root();
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();
  char block[CAPI_IMS_VOICE_BYTES] = "block";
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_post_init(1), 0);
  EXPECT_EQ(capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block), 0);
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(capi_cfg_update_simcard_file(), 0);
  EXPECT_EQ(capi_make_config_file(0), 0);
  EXPECT_EQ(root(), before);
  EXPECT_EQ(read_file("/info.simcard"), kSim);
  EXPECT_EQ(read_file("/tmp/info.simcard"), kSim);
  EXPECT_EQ(read_file("/tmp/info.ims_voice").substr(0, 5), "block");
  EXPECT_TRUE(exists("/tmp/shared_phone_status"));
  EXPECT_TRUE(exists("/tmp/voip_call_log"));
  std::filesystem::remove("/info.simcard");
}

TEST_F(CapiTest, AProcessMayComeAndGoAgain) {
  start_master();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(capi_uninit(), 0);
    EXPECT_EQ(capi_uninit(), 0);
    start_client();
    EXPECT_EQ(get_config("runtime_info", "option_runtime_info_fw_version"), "v1.0.0");
  }
}

TEST_F(CapiTest, InitAndUninitLeaveNoDescriptorOpen) {
  const size_t before = open_descriptors();
  start_master();
  capi_uninit();
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(CapiTest, AForkedChildUsesTheLibraryOfItsParent) {
  start_master();
  in_other_process([] {
    EXPECT_EQ(capi_config_set("sms", "option_sms_enable", 0, "1"), 0);
    EXPECT_EQ(capi_uninit(), 0);
  });
  EXPECT_EQ(get_config("sms", "option_sms_enable"), "1");
}

}  // namespace
}  // namespace capi::test
