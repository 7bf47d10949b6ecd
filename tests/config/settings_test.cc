// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "config/settings.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>

#include "support/adapter.h"
#include "support/all_keys.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SettingsTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  static cfg_shared_record& staging() { return context()->staging; }

  int load(const std::string& content) {
    write_file("/tmp/x.settings", content);
    return capi_init_settings_from_file("/tmp/x.settings");
  }

  // Loads settings that must change nothing.
  void expect_ignored(const std::string& content) {
    const cfg_shared_record before = staging();
    EXPECT_EQ(load(content), 0);
    EXPECT_EQ(memcmp(&staging(), &before, sizeof before), 0) << content;
  }
};

TEST_F(SettingsTest, EachItemIsLogged) {
  EXPECT_EQ(load("a=1\n[sms]\noption_sms_enable = 1 ; on\n[x]\ny=z\n"), 0);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogInfo, "setting_item_cb", "[][a][1]"},
                          LogLine{kLogInfo, "setting_item_cb", "[sms][option_sms_enable][1]"},
                          LogLine{kLogInfo, "setting_item_cb", "[x][y][z]"}));
}

TEST_F(SettingsTest, ANullSectionIsShownAsDashesAndIgnored) {
  const cfg_shared_record before = staging();
  EXPECT_EQ(setting_item_cb(nullptr, "option_sms_enable", "1"), 0);
  EXPECT_EQ(memcmp(&staging(), &before, sizeof before), 0);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogInfo, "setting_item_cb", "[---][option_sms_enable][1]"}));
}

TEST_F(SettingsTest, AnItemGoesToTheStagingCopyOnly) {
  EXPECT_EQ(setting_item_cb("voice_stack_1", "option_voice_stack_enable", "1"), 0);
  EXPECT_EQ(staging().voice_stack[0].enable, 1);
  EXPECT_EQ(segment().voice_stack[0].enable, 0);
}

TEST_F(SettingsTest, NullKeysAndValuesAreRefused) {
  EXPECT_EQ(setting_item_cb("sms", nullptr, "1"), -1);
  EXPECT_EQ(setting_item_cb("sms", "option_sms_enable", nullptr), -1);
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(SettingsTest, ResultTellsNumbersOutOfRange) {
  EXPECT_EQ(setting_item_cb("sip_line_2", "option_sip_line_enable", "1"), 0);
  EXPECT_EQ(setting_item_cb("sip_line_3", "option_sip_line_enable", "1"), -1);
  EXPECT_EQ(setting_item_cb("voice_stack_6", "option_voice_stack_enable", "1"), -1);
  EXPECT_EQ(setting_item_cb("voice_parameter", "option_voice_parameter_name_13", "x"), -1);
  EXPECT_EQ(setting_item_cb("voice_parameter", "option_voice_parameter_other_1", "x"), 0);
  EXPECT_EQ(setting_item_cb("speed_dial", "option_speed_dial_entry_11", "1"), -1);
  EXPECT_EQ(setting_item_cb("speed_dial", "short", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_white_list", "option_call_white_list_entry_21", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_white_list", "option_call_white_list_entry_0", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_white_list", "option_call_white_list_entry_01", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_white_list", "option_call_white_list_entry_4294967297", "1"), -1);
  EXPECT_EQ(
      setting_item_cb("call_white_list", "option_call_white_list_entry_18446744073709551617", "1"),
      -1);
  EXPECT_EQ(setting_item_cb("call_white_list", "option_call_white_list_entry_", "1"), 0);
  EXPECT_EQ(setting_item_cb("call_redirection", "option_call_redirection_src_number_11", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_redirection", "option_call_redirection_dst_number_01", "1"), -1);
  EXPECT_EQ(setting_item_cb("call_redirection", "option_call_redirection_dst_number_1x", "1"), 0);
  EXPECT_EQ(setting_item_cb("no_section", "x", "1"), 0);
  EXPECT_EQ(setting_item_cb("sip_line_1", "no_key", "1"), 0);
}

TEST_F(SettingsTest, WhatIsUnknownOrOutOfRangeChangesNothing) {
  expect_ignored("[sip_line_3]\noption_sip_line_enable=1\noption_sip_line_display_name=x\n");
  expect_ignored("[sip_line_0]\noption_sip_line_enable=1\n");
  expect_ignored("[sip_line_4294967297]\noption_sip_line_enable=1\n");
  expect_ignored("[voice_stack_6]\noption_voice_stack_enable=1\n");
  expect_ignored("[call_forward_3]\noption_call_forward_busy_forward=1\n");
  expect_ignored("[sip_feature_3]\noption_sip_feature_hotline=1\n");
  expect_ignored("[sip_server_3]\noption_sip_server_sip_domain=x\n");
  expect_ignored("[voice_parameter]\noption_voice_parameter_name_13=x\n");
  expect_ignored("[speed_dial30]\noption_speed_dial30_num_31=1\n");
  expect_ignored("[call_block]\noption_call_block_entry_0=1\nx=1\n");
  expect_ignored("[call_redirection]\noption_call_redirection_src_number_11=1\n");
  expect_ignored("[smsx]\noption_sms_enable=1\n[SMS]\noption_sms_enable=1\n");
  expect_ignored("option_sms_enable=1\n[sms]\nsms_enable=1\noption_sms_Enable=1\n");
}

TEST_F(SettingsTest, SectionsMayTakeTurns) {
  const std::string zeros(70, '0');  // names that begin alike for a long way
  EXPECT_EQ(load("option_sms_enable=9\n"
                 "[voice_stack_1]\noption_voice_stack_priority=1\n"
                 "[voice_stack_2]\noption_voice_stack_priority=2\n"
                 "[sms]\noption_sms_enable=3\noption_voice_stack_priority=4\n"
                 "[no_such_section]\noption_voice_stack_priority=5\n"
                 "[voice_stack_1]\noption_voice_stack_enable=6\n"
                 "[]\noption_voice_stack_enable=7\n"
                 "[voice_stack_" +
                 zeros +
                 "3]\noption_voice_stack_priority=8\n"
                 "[voice_stack_" +
                 zeros +
                 "4]\noption_voice_stack_priority=9\n"
                 "[voice_stack_9]\noption_voice_stack_priority=10\n"),
            0);
  EXPECT_EQ(staging().voice_stack[0].priority, 1);
  EXPECT_EQ(staging().voice_stack[0].enable, 6);
  EXPECT_EQ(staging().voice_stack[1].priority, 2);
  EXPECT_EQ(staging().voice_stack[2].priority, 8);
  EXPECT_EQ(staging().voice_stack[3].priority, 9);
  EXPECT_EQ(staging().voice_stack[4].priority, 0);
  EXPECT_EQ(staging().sms_cfg.enable, 3);
}

TEST_F(SettingsTest, OverlongTextsAreCut) {
  EXPECT_EQ(load("[sip_line_1]\noption_sip_line_display_name=" + std::string(300, 'n') + "\n"), 0);
  EXPECT_EQ(staging().sip_line[0].display_name, std::string(255, 'n'));
  EXPECT_STREQ(staging().sip_line[0].user_name, "");
}

TEST_F(SettingsTest, TheLongestTextFits) {
  EXPECT_EQ(load("[slic_parameter]\noption_slic_parameter_settings=" + std::string(2000, 's')), 0);
  EXPECT_EQ(staging().slic_parameter.settings, std::string(1023, 's'));
}

TEST_F(SettingsTest, TheSipDomainIsCutAt255Characters) {
  EXPECT_EQ(load("[sip_server_2]\noption_sip_server_sip_domain=" + std::string(400, 'd')), 0);
  EXPECT_EQ(staging().sip_server.sip_domain, std::string(255, 'd'));
}

TEST_F(SettingsTest, MalformedNumbersAreZero) {
  staging().sms_cfg.enable = 1;
  EXPECT_EQ(load("[sms]\noption_sms_enable=yes\n"), 0);
  EXPECT_EQ(staging().sms_cfg.enable, 0);
}

TEST_F(SettingsTest, NumbersSaturate) {
  EXPECT_EQ(load("[sms]\noption_sms_enable=9999999999\n"), 0);
  EXPECT_EQ(staging().sms_cfg.enable, INT32_MAX);
  EXPECT_EQ(load("[sms]\noption_sms_enable=-9999999999\n"), 0);
  EXPECT_EQ(staging().sms_cfg.enable, INT32_MIN);
}

TEST_F(SettingsTest, TheCodecCountIsClamped) {
  load("[voice_parameter]\noption_voice_parameter_count=13\n");
  EXPECT_EQ(staging().voice_parameter.count, 12);
  load("[voice_parameter]\noption_voice_parameter_count=-1\n");
  EXPECT_EQ(staging().voice_parameter.count, 0);
}

TEST_F(SettingsTest, TheFirstCodecColumnInAKeyIsSet) {
  EXPECT_EQ(load("[voice_parameter]\nx_code_list_name_2=both\n"), 0);
  EXPECT_STREQ(staging().voice_parameter.name[1], "both");
  EXPECT_STREQ(staging().voice_parameter.code_list[1], "");
}

TEST_F(SettingsTest, AnyPrefixOf24CharactersNamesAnEntry) {
  EXPECT_EQ(load("[speed_dial]\n" + std::string(24, 'x') + "10=100\n"), 0);
  EXPECT_STREQ(staging().speed_dial.entry[9], "100");
}

TEST_F(SettingsTest, BytesOfTheUpperHalfAreText) {
  EXPECT_EQ(load("[sip_line_1]\noption_sip_line_display_name=B\xc3\xbcro\xff\n"), 0);
  EXPECT_STREQ(staging().sip_line[0].display_name, "B\xc3\xbcro\xff");
}

TEST_F(SettingsTest, AValueIsNoFormat) {
  EXPECT_EQ(load("[sip_line_1]\noption_sip_line_display_name=%s%n\n"), 0);
  EXPECT_STREQ(staging().sip_line[0].display_name, "%s%n");
  EXPECT_EQ(captured_log().at(0).text, "[sip_line_1][option_sip_line_display_name][%s%n]");
}

TEST_F(SettingsTest, AFileThatCannotBeOpenedFails) {
  const cfg_shared_record before = staging();
  std::filesystem::create_directories("/tmp/settings.dir");
  EXPECT_EQ(capi_init_settings_from_file("/tmp/no_such.settings"), -1);
  EXPECT_EQ(capi_init_settings_from_file("/tmp/settings.dir"), -1);
  EXPECT_EQ(capi_init_settings_from_file(nullptr), -1);
  EXPECT_EQ(memcmp(&staging(), &before, sizeof before), 0);
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(SettingsTest, AProgramThatIsStartedMeanwhileDoesNotInheritTheFile) {
  capiv2_log_init(
      [](int, const char*) { EXPECT_EQ(system("ls -l /proc/self/fd >/tmp/inherited"), 0); });
  EXPECT_EQ(load("a=1\n"), 0);
  const std::string inherited = read_file("/tmp/inherited");
  EXPECT_THAT(inherited, testing::HasSubstr("/tmp/inherited"));
  EXPECT_THAT(inherited, testing::Not(testing::HasSubstr("/tmp/x.settings")));
}

TEST_F(SettingsTest, HoldsTheLockForTheWholeFile) {
  static int value = -1;
  capiv2_log_init([](int, const char*) { value = lock_value(0); });
  EXPECT_EQ(load("a=1\n"), 0);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(lock_value(0), 1);
}

// ---- Every key ---------------------------------------------------------------------------------

class EveryKeyTest : public SettingsTest {
 protected:
  void SetUp() override {
    SettingsTest::SetUp();
    EXPECT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
    EXPECT_EQ(capi_config_finish(), 0);
  }
};

TEST_F(EveryKeyTest, ReadsBackByNameInAnotherProcess) {
  ASSERT_FALSE(all_settings().empty());
  in_client([] {
    for (const Setting& setting : all_settings()) {
      EXPECT_EQ(get_config(setting.section, setting.key), setting.value)
          << setting.section << " " << setting.key;
    }
  });
}

TEST_F(EveryKeyTest, StandsInItsOwnField) {
  // Emptying a value, which fills its whole field, and setting it again leaves all the others.
  for (const Setting& changed : all_settings()) {
    if (changed.key.find("_sip_domain") != std::string::npos) continue;  // one for both servers
    const cfg_shared_record before = segment();
    ASSERT_EQ(capi_config_set(changed.section.c_str(), changed.key.c_str(), 0, ""), 0);
    ASSERT_NE(get_config(changed.section, changed.key), changed.value) << changed.key;
    capi_config_set(changed.section.c_str(), changed.key.c_str(), 0, changed.value.c_str());
    ASSERT_EQ(memcmp(&segment(), &before, sizeof before), 0) << changed.key;
  }
}

}  // namespace
}  // namespace capi::test
