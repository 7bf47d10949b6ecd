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
              ElementsAre(LogLine{6, "setting_item_cb", "[][a][1]"},
                          LogLine{6, "setting_item_cb", "[sms][option_sms_enable][1]"},
                          LogLine{6, "setting_item_cb", "[x][y][z]"}));
}

TEST_F(SettingsTest, ANullSectionIsShownAsDashesAndIgnored) {
  const cfg_shared_record before = staging();
  EXPECT_EQ(setting_item_cb(nullptr, "option_sms_enable", "1"), 0);
  EXPECT_EQ(memcmp(&staging(), &before, sizeof before), 0);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{6, "setting_item_cb", "[---][option_sms_enable][1]"}));
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
  ASSERT_EQ(all_settings().size(), 386u);
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

// A field that is named as its key.
#define EXPECT_NUMBER(section, record, field) \
  EXPECT_EQ((record).field, setting_number(section, #field)) << (section)
#define EXPECT_TEXT(section, record, field) \
  EXPECT_EQ(std::string((record).field), setting(section, #field)) << (section)

void expect_basic(const capi_voice_basic& basic) {
  constexpr char kSection[] = "basic_sip";
  EXPECT_NUMBER(kSection, basic, local_port);
  EXPECT_NUMBER(kSection, basic, local_tls_port);
  EXPECT_NUMBER(kSection, basic, sip_dscp);
  EXPECT_TEXT(kSection, basic, dial_plan);
  EXPECT_NUMBER(kSection, basic, dial_on_hash_key);
  EXPECT_NUMBER(kSection, basic, rtp_port);
  EXPECT_NUMBER(kSection, basic, rtp_dscp);
  EXPECT_NUMBER(kSection, basic, bind_interface);
  EXPECT_TEXT(kSection, basic, country);
  EXPECT_TEXT(kSection, basic, carrier);
  EXPECT_TEXT(kSection, basic, user_agent);
  EXPECT_NUMBER(kSection, basic, transport_protocol);
  EXPECT_NUMBER(kSection, basic, tls_sip_uri_scheme);
  EXPECT_NUMBER(kSection, basic, heartbeat_enable);
  EXPECT_NUMBER(kSection, basic, heartbeat_interval);
  EXPECT_NUMBER(kSection, basic, tcp_keepalive_enable);
  EXPECT_NUMBER(kSection, basic, udp_keepalive_enable);
  EXPECT_NUMBER(kSection, basic, srtp_mode);
  EXPECT_NUMBER(kSection, basic, session_timer_method);
  EXPECT_NUMBER(kSection, basic, session_timer_expires);
  EXPECT_NUMBER(kSection, basic, session_timer_min_se);
  EXPECT_NUMBER(kSection, basic, mwi_enable);
  EXPECT_NUMBER(kSection, basic, subscribe_mwi_event_enable);
  EXPECT_NUMBER(kSection, basic, mwi_subscribe_interval);
  EXPECT_NUMBER(kSection, basic, default_dial_plan_enable);
  EXPECT_TEXT(kSection, basic, ca_cert_file);
  EXPECT_TEXT(kSection, basic, cert_file);
  EXPECT_TEXT(kSection, basic, key_file);
}

void expect_stack(const std::string& section, const capi_voice_stack& stack) {
  EXPECT_NUMBER(section, stack, enable);
  EXPECT_TEXT(section, stack, type);
  EXPECT_NUMBER(section, stack, priority);
  EXPECT_TEXT(section, stack, codec);
  EXPECT_NUMBER(section, stack, t1);
  EXPECT_TEXT(section, stack, access);
}

void expect_line(const std::string& section, const capi_voice_sip_line& line) {
  EXPECT_TEXT(section, line, display_name);
  EXPECT_TEXT(section, line, user_name);
  EXPECT_TEXT(section, line, auth_name);
  EXPECT_TEXT(section, line, auth_password);
  EXPECT_NUMBER(section, line, enable);
  EXPECT_NUMBER(section, line, clir_enable);
}

void expect_feature(const std::string& section, const capi_voice_sip_line_feature& feature) {
  EXPECT_NUMBER(section, feature, hotline_enable);
  EXPECT_TEXT(section, feature, hotline);
  EXPECT_NUMBER(section, feature, callwaiting_enable);
  EXPECT_TEXT(section, feature, conference_uri);
  EXPECT_NUMBER(section, feature, dnd_enable);
  EXPECT_NUMBER(section, feature, auto_dial_enable);
  EXPECT_NUMBER(section, feature, vbd_enable);
  EXPECT_NUMBER(section, feature, cpc_enable);
  EXPECT_NUMBER(section, feature, cpc_duration);
  EXPECT_NUMBER(section, feature, default_ptime);
  EXPECT_NUMBER(section, feature, com_data_dtmf_mode);
  EXPECT_NUMBER(section, feature, com_data_ec_enable);
  EXPECT_NUMBER(section, feature, com_data_tone_detection_enable);
  EXPECT_NUMBER(section, feature, tx_com_data_gain);
  EXPECT_NUMBER(section, feature, rx_com_data_gain);
  EXPECT_NUMBER(section, feature, emergency_call_enable);
}

void expect_codec_slot(const capi_voice_parameter& parameter, int i) {
  constexpr char kSection[] = "voice_parameter";
  const std::string slot = "_" + std::to_string(i + 1);
  EXPECT_EQ(parameter.name[i], setting(kSection, "name" + slot));
  EXPECT_EQ(parameter.packet_time[i], setting(kSection, "packet_time" + slot));
  EXPECT_EQ(parameter.code_list[i], setting(kSection, "code_list" + slot));
  EXPECT_EQ(parameter.code_payload[i], setting_number(kSection, "code_payload" + slot));
  EXPECT_EQ(parameter.code_bitrate[i], setting_number(kSection, "code_bitrate" + slot));
  EXPECT_EQ(parameter.mode_set[i], setting(kSection, "mode_set" + slot));
}

void expect_parameter(const capi_voice_parameter& parameter) {
  constexpr char kSection[] = "voice_parameter";
  EXPECT_NUMBER(kSection, parameter, count);
  for (int i = 0; i < 12; ++i) expect_codec_slot(parameter, i);
  EXPECT_NUMBER(kSection, parameter, evs_mode_switch);
  EXPECT_NUMBER(kSection, parameter, evs_hf_only);
  EXPECT_NUMBER(kSection, parameter, evs_dtx);
  EXPECT_NUMBER(kSection, parameter, evs_cmr);
  EXPECT_TEXT(kSection, parameter, evs_br);
  EXPECT_TEXT(kSection, parameter, evs_bw);
  EXPECT_NUMBER(kSection, parameter, evs_ch_aw_recv);
  EXPECT_NUMBER(kSection, parameter, rfc2833_payload);
  EXPECT_TEXT(kSection, parameter, rfc2833_name);
  EXPECT_NUMBER(kSection, parameter, fax_mode);
  EXPECT_NUMBER(kSection, parameter, dtmf_relay_method);
  EXPECT_NUMBER(kSection, parameter, cng);
  EXPECT_NUMBER(kSection, parameter, ec);
  EXPECT_NUMBER(kSection, parameter, vad);
  EXPECT_NUMBER(kSection, parameter, polarity_reversal_type);
  EXPECT_NUMBER(kSection, parameter, volume);
  EXPECT_NUMBER(kSection, parameter, gate_control_enable);
}

template <size_t N, size_t Width>
void expect_list(const std::string& section, const std::string& field,
                 const char (&entries)[N][Width]) {
  for (size_t i = 0; i < N; ++i) {
    EXPECT_EQ(entries[i], setting(section, field + std::to_string(i + 1))) << section;
  }
}

TEST_F(EveryKeyTest, ReadsBackThroughTheTypedGettersInAnotherProcess) {
  in_client([] {
    capi_voice_switch mode{};
    ASSERT_EQ(capi_get_voice_switch(&mode), 0);
    EXPECT_EQ(mode.mode, setting_number("voice_switch", "mode"));
    capi_system_access access{};
    ASSERT_EQ(capi_get_system_access(&access), 0);
    EXPECT_EQ(access.mode, setting_number("voice_access", "mode"));
    capi_voice_basic basic{};
    ASSERT_EQ(capi_get_voice_basic(&basic), 0);
    expect_basic(basic);
    for (int i = 1; i <= 5; ++i) {
      capi_voice_stack stack{};
      ASSERT_EQ(capi_get_voice_stack(&stack, i), 0);
      expect_stack("voice_stack_" + std::to_string(i), stack);
    }
    for (int i = 1; i <= 2; ++i) {
      capi_voice_sip_line line{};
      ASSERT_EQ(capi_get_voice_sip_line(&line, i), 0);
      expect_line("sip_line_" + std::to_string(i), line);
      capi_voice_sip_line_feature feature{};
      ASSERT_EQ(capi_get_voice_sip_line_feature(&feature, i), 0);
      expect_feature("sip_feature_" + std::to_string(i), feature);
    }
    capi_voice_parameter parameter{};
    ASSERT_EQ(capi_get_voice_parameter(&parameter), 0);
    expect_parameter(parameter);
    capi_voice_speed_dial dial{};
    ASSERT_EQ(capi_get_voice_speed_dial(&dial), 0);
    expect_list("speed_dial", "entry_", dial.entry);
    capi_voice_speed_dial30 dial30{};
    ASSERT_EQ(capi_get_voice_speed_dial30(&dial30), 0);
    expect_list("speed_dial30", "num_", dial30.entry);
    capi_voice_call_white_list white_list{};
    ASSERT_EQ(capi_get_voice_call_white_list(&white_list), 0);
    EXPECT_EQ(white_list.enable, setting_number("call_white_list", "enable"));
    expect_list("call_white_list", "entry_", white_list.entry);
    capi_voice_call_redirection redirection{};
    ASSERT_EQ(capi_get_voice_call_redirection(&redirection), 0);
    EXPECT_EQ(redirection.enable, setting_number("call_redirection", "enable"));
    expect_list("call_redirection", "src_number_", redirection.src_number);
    expect_list("call_redirection", "dst_number_", redirection.dst_number);
    capi_voice_sms_cfg sms{};
    ASSERT_EQ(capi_get_voice_sms_cfg(&sms), 0);
    EXPECT_NUMBER("sms", sms, enable);
    EXPECT_TEXT("sms", sms, sca);
    EXPECT_TEXT("sms", sms, psi);
    capi_slic_parameter slic{};
    ASSERT_EQ(capi_get_slic_parameter(&slic), 0);
    EXPECT_TEXT("slic_parameter", slic, settings);
  });
}

// These records have no getter of their own; other programs see them in the segment.
TEST_F(EveryKeyTest, StandsInTheRecordsWithoutAGetter) {
  in_client([] {
    const cfg_shared_record& record = segment();
    for (int i = 0; i < 2; ++i) {
      const std::string forward = "call_forward_" + std::to_string(i + 1);
      EXPECT_NUMBER(forward, record.call_forward[i], direct_forward);
      EXPECT_NUMBER(forward, record.call_forward[i], busy_forward);
      EXPECT_NUMBER(forward, record.call_forward[i], noanswer_forward);
      EXPECT_NUMBER(forward, record.call_forward[i], noanswer_forward_timeout);
      EXPECT_TEXT(forward, record.call_forward[i], direct_forward_dest);
      EXPECT_TEXT(forward, record.call_forward[i], busy_forward_dest);
      EXPECT_TEXT(forward, record.call_forward[i], noanswer_forward_dest);
      const std::string server = "sip_server_" + std::to_string(i + 1);
      EXPECT_EQ(record.sip_server.registrar[i], setting(server, "registrar"));
      EXPECT_EQ(record.sip_server.registrar_port[i], setting_number(server, "registrar_port"));
      EXPECT_EQ(record.sip_server.registrar_enable[i], setting_number(server, "registrar_enable"));
      EXPECT_EQ(record.sip_server.proxy[i], setting(server, "proxy"));
      EXPECT_EQ(record.sip_server.proxy_port[i], setting_number(server, "proxy_port"));
      EXPECT_EQ(record.sip_server.outbound_proxy[i], setting(server, "outbound_proxy"));
      EXPECT_EQ(record.sip_server.outbound_proxy_port[i],
                setting_number(server, "outbound_proxy_port"));
      EXPECT_EQ(record.sip_server.outbound_proxy_enable[i],
                setting_number(server, "outbound_proxy_enable"));
    }
    EXPECT_NUMBER("sip_server_1", record.sip_server, sip_domain_enable);
    EXPECT_TEXT("sip_server_1", record.sip_server, sip_domain);
    EXPECT_NUMBER("voice_nat", record.voice_nat, mode);
    EXPECT_TEXT("voice_nat", record.voice_nat, stun_server_address);
    EXPECT_NUMBER("voice_nat", record.voice_nat, stun_server_port);
    EXPECT_TEXT("voice_nat", record.voice_nat, stun_username);
    EXPECT_TEXT("voice_nat", record.voice_nat, stun_password);
    EXPECT_NUMBER("voice_nat", record.voice_nat, keepalive_interval);
    EXPECT_TEXT("voice_nat", record.voice_nat, external_router_address);
    EXPECT_NUMBER("voice_nat", record.voice_nat, external_sip_signal_port);
    EXPECT_NUMBER("voice_nat", record.voice_nat, external_base_rtp_port);
    EXPECT_NUMBER("sip_registration", record.sip_registration, reg_interval);
    expect_list("call_block", "entry_", record.call_block.entry);
  });
}

TEST_F(EveryKeyTest, StandsInTheIdentityOfTheDevice) {
  in_client([] {
    const cfg_shared_record& record = segment();
    constexpr char kRuntime[] = "runtime_info";
    const char* const dirs[] = {"work", "data", "log", "bin", "nv", "ivr"};
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(record.directory[i], setting(kRuntime, std::string(dirs[i]) + "_directory"));
    }
    const char* const names[] = {"ims", "voip", "vowifi", nullptr, nullptr, "sos"};
    for (int i = 0; i < 6; ++i) {
      const char* name = names[i];
      EXPECT_EQ(record.stack_if_name[i],
                name != nullptr ? setting(kRuntime, std::string("if_name_") + name) : "");
    }
    EXPECT_EQ(record.sys_uuid, setting(kRuntime, "uuid"));
    EXPECT_EQ(record.device_imei, setting(kRuntime, "imei"));
    EXPECT_EQ(record.lte_if_name, setting(kRuntime, "4g_if_name"));
    EXPECT_TEXT(kRuntime, record, wan_mac);
    EXPECT_TEXT(kRuntime, record, fw_version);
    EXPECT_TEXT(kRuntime, record, fw_build_number);
    EXPECT_TEXT(kRuntime, record, public_ip);
    EXPECT_TEXT(kRuntime, record, wan_ip);
    EXPECT_TEXT(kRuntime, record, device_name);
    EXPECT_TEXT(kRuntime, record, bb_if_name);
    EXPECT_TEXT(kRuntime, record, wan_if_name);
    EXPECT_TEXT(kRuntime, record, xcap_if_name);
    EXPECT_TEXT(kRuntime, record, dns_server);
    EXPECT_TEXT(kRuntime, record, voip_ip);
    EXPECT_TEXT(kRuntime, record, ims_ip);
    EXPECT_TEXT(kRuntime, record, sos_ip);
    EXPECT_TEXT(kRuntime, record, pcscf_addr);
    EXPECT_TEXT(kRuntime, record, sos_pcscf);
    EXPECT_TEXT("sim_info", record.sim_info, ICCID);
    EXPECT_TEXT("sim_info", record.sim_info, IMSI);
    EXPECT_TEXT("sim_info", record.sim_info, IMPI);
    EXPECT_TEXT("sim_info", record.sim_info, IMS_DOMAIN);
    EXPECT_TEXT("sim_info", record.sim_info, IMPU);
    EXPECT_TEXT("sim_info", record.sim_info, MSISDN);
    EXPECT_TEXT("sim_info", record.sim_info, MBDN);
    EXPECT_TEXT("hw_info", record.hw_info, wan_mac);
    EXPECT_TEXT("hw_info", record.hw_info, lan_mac);
    EXPECT_TEXT("hw_info", record.hw_info, version);
    EXPECT_TEXT("hw_info", record.hw_info, serial);
    EXPECT_TEXT("hw_info", record.hw_info, model);
    EXPECT_TEXT("hw_info", record.hw_info, contrycode);
    EXPECT_TEXT("hw_info", record.hw_info, imei0);
    EXPECT_TEXT("hw_info", record.hw_info, cellmodule);
    EXPECT_TEXT("hw_info", record.hw_info, language);
    const capi_serving_cell& cell = record.serving_cell;
    EXPECT_EQ(cell.globalcellid, setting(kRuntime, "lte_netinfo_globalcellid"));
    EXPECT_EQ(cell.tac, setting(kRuntime, "lte_netinfo_tac"));
    EXPECT_EQ(cell.cellid, setting(kRuntime, "lte_netinfo_cellid"));
    EXPECT_EQ(cell.mcc, setting(kRuntime, "lte_netinfo_mcc"));
    EXPECT_EQ(cell.mnc, setting(kRuntime, "lte_netinfo_mnc"));
    EXPECT_EQ(cell.band, setting(kRuntime, "lte_netinfo_band"));
    EXPECT_EQ(cell.enbid, setting(kRuntime, "lte_netinfo_enbid"));
    EXPECT_EQ(cell.msisdn, setting(kRuntime, "lte_netinfo_msisdn"));
  });
}

}  // namespace
}  // namespace capi::test
