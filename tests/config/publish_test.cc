// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <cstring>

#include "record/context.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PublishTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  static const capi_lte_net_info& lte() { return segment().lte_net_info; }

  // Publishes settings of the "runtime_info" section, given without "option_runtime_info_".
  void publish_runtime(std::initializer_list<std::string> items) {
    std::string text = "[runtime_info]\n";
    for (const std::string& item : items) text += "option_runtime_info_" + item + "\n";
    publish(text);
  }
};

TEST_F(PublishTest, SettingsAreSeenOnlyThen) {
  write_file("/tmp/x.settings", "[voice_stack_1]\noption_voice_stack_enable=1\n");
  EXPECT_EQ(capi_init_settings_from_file("/tmp/x.settings"), 0);
  EXPECT_EQ(context()->staging.voice_stack[0].enable, 1);
  EXPECT_EQ(segment().voice_stack[0].enable, 0);
  EXPECT_EQ(get_config("voice_stack_1", "option_voice_stack_enable"), "0");
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(get_config("voice_stack_1", "option_voice_stack_enable"), "1");
  in_client([] { EXPECT_EQ(get_config("voice_stack_1", "option_voice_stack_enable"), "1"); });
}

TEST_F(PublishTest, PublishesEveryByteOfTheConfiguration) {
  constexpr size_t kLiveState = 21440;
  cfg_shared_record& staging = context()->staging;
  memset(&staging, 'f', sizeof staging);
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(memcmp(&segment(), &staging, kLiveState), 0);
}

TEST_F(PublishTest, LeavesTheLiveStateAlone) {
  cfg_shared_record& record = segment();
  record.cs_reg_stat[0].value[0] = 1;
  record.reg_stat[4][1].registered = 2;
  record.phone_phy_status[1][0] = 'x';
  record.shared_phone_status[1].hook = 3;
  record.ims_voice[0] = 4;
  record.vendor[159] = 5;
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(record.cs_reg_stat[0].value[0], 1);
  EXPECT_EQ(record.reg_stat[4][1].registered, 2);
  EXPECT_EQ(record.phone_phy_status[1][0], 'x');
  EXPECT_EQ(record.shared_phone_status[1].hook, 3);
  EXPECT_EQ(record.ims_voice[0], 4);
  EXPECT_EQ(record.vendor[159], 5);
}

TEST_F(PublishTest, KeepsTheInfoFilesValuesOfTheMaster) {
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_STREQ(segment().hw_info.serial, "2604000123");
  EXPECT_STREQ(segment().fw_version, "v1.0.0");
}

TEST_F(PublishTest, AClientPublishesItsEmptyStagingCopy) {
  in_client([] { EXPECT_EQ(capi_config_finish(), 0); });
  EXPECT_STREQ(segment().fw_version, "");
  EXPECT_STREQ(segment().directory[0], "");
  EXPECT_EQ(segment().sip_registration.reg_interval, 0);
  EXPECT_EQ(segment().sip_server.proxy_port[0], 5060);
  EXPECT_STREQ(lte().act, "7");
}

TEST_F(PublishTest, SipPortsOfZeroBecome5060) {
  publish(
      "[sip_server_1]\noption_sip_server_registrar_port=0\noption_sip_server_proxy_port=5070\n"
      "option_sip_server_outbound_proxy_port=abc\n");
  const capi_voice_sip_server& server = segment().sip_server;
  EXPECT_THAT(server.registrar_port, ElementsAre(5060, 5060));
  EXPECT_THAT(server.proxy_port, ElementsAre(5070, 5060));
  EXPECT_THAT(server.outbound_proxy_port, ElementsAre(5060, 5060));
  EXPECT_EQ(context()->staging.sip_server.registrar_port[0], 0);
}

TEST_F(PublishTest, SplitsTheGlobalCellId) {
  publish_runtime({"lte_netinfo_globalcellid=1A2B3C4", "lte_netinfo_cellid=9",
                   "lte_netinfo_enbid=9", "lte_netinfo_mcc=001", "lte_netinfo_mnc=01",
                   "lte_netinfo_tac=4321", "lte_netinfo_band=7"});
  EXPECT_STREQ(lte().cellid, "196");
  EXPECT_STREQ(lte().enbid, "107187");
  EXPECT_STREQ(lte().act, "7");
  EXPECT_STREQ(lte().mcc, "001");
  EXPECT_STREQ(lte().mnc, "01");
  EXPECT_STREQ(lte().tac, "4321");
  EXPECT_STREQ(lte().band, "7");
}

TEST_F(PublishTest, AGlobalCellIdMayBeAnyText) {
  for (const auto& [text, cell, enb] : {std::tuple{"0x1A2B3C4", "196", "107187"},
                                        {"none", "0", "0"},
                                        {"FF", "255", "0"},
                                        {"FFFFFFF", "255", "1048575"},
                                        {"FFFFFFFF", "255", "1048575"},
                                        {"001011A2B3C4", "196", "107187"},
                                        {"1234567812345678", "120", "144470"},
                                        {"8000000000000000", "0", "0"},
                                        {"FFFFFFFFFFFFFF01", "1", "1048575"},
                                        {"10000000000000000", "255", "1048575"}}) {
    publish_runtime({std::string("lte_netinfo_globalcellid=") + text});
    EXPECT_STREQ(lte().cellid, cell) << text;
    EXPECT_STREQ(lte().enbid, enb) << text;
  }
}

TEST_F(PublishTest, WithoutAGlobalCellIdTheSettingsAreTaken) {
  publish_runtime({"lte_netinfo_cellid=33", "lte_netinfo_enbid=44"});
  EXPECT_STREQ(lte().cellid, "33");
  EXPECT_STREQ(lte().enbid, "44");
  EXPECT_STREQ(lte().act, "7");
}

TEST_F(PublishTest, CutsLteValuesAtSevenCharacters) {
  publish_runtime({"lte_netinfo_cellid=123456789", "lte_netinfo_enbid=123456789",
                   "lte_netinfo_mcc=123456789", "lte_netinfo_mnc=123456789",
                   "lte_netinfo_tac=123456789", "lte_netinfo_band=123456789"});
  for (const char* text :
       {lte().cellid, lte().enbid, lte().mcc, lte().mnc, lte().tac, lte().band}) {
    EXPECT_STREQ(text, "1234567");
  }
  EXPECT_EQ(segment().vendor[0], 0);
}

TEST_F(PublishTest, TakesTheLteFileOfTheDataDirectoryFirst) {
  write_file("/tmp/data/lte_net_info.data", "band=1\n");
  write_file("/tmp/lte_net_info.data", "band=2\ntac=2\n");
  publish_runtime({"data_directory=/tmp/data", "lte_netinfo_band=3", "lte_netinfo_mcc=3"});
  EXPECT_STREQ(lte().band, "1");
  EXPECT_STREQ(lte().tac, "");
  EXPECT_STREQ(lte().act, "");
  EXPECT_STREQ(lte().mcc, "");
}

TEST_F(PublishTest, TakesTheLteFileInTmpNext) {
  write_file("/tmp/lte_net_info.data", "band=2\n");
  publish_runtime({"data_directory=/tmp/elsewhere", "lte_netinfo_band=3"});
  EXPECT_STREQ(lte().band, "2");
  EXPECT_STREQ(lte().act, "");
}

TEST_F(PublishTest, AnEmptyLteFileEmptiesTheBlock) {
  publish_runtime({"lte_netinfo_band=3"});
  write_file("/tmp/lte_net_info.data", "");
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_STREQ(lte().band, "");
  EXPECT_STREQ(lte().act, "");
}

TEST_F(PublishTest, LogsTheItemsOfTheLteFileOnly) {
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_THAT(captured_log(), IsEmpty());
  write_file("/tmp/lte_net_info.data", "band=2\n");
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogDebug, "__lte_net_info_cb", "section= name=band value=2"}));
}

}  // namespace
}  // namespace capi::test
