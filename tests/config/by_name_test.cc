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

class ByNameTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  // What a get into a buffer of this size leaves behind, and its result.
  struct Answer {
    int result;
    std::string text;
  };

  static Answer get(const char* section, const char* key, int size = 64) {
    char buf[1024];
    memset(buf, 0, sizeof buf);
    strcpy(buf, "before");
    const int result = capi_config_get(section, key, buf, size);
    return {result, buf};
  }

  static int set(const char* section, const char* key, const char* value) {
    return capi_config_set(section, key, 0, value);
  }
};

TEST_F(ByNameTest, GetsANumberInDecimal) {
  segment().voice_nat.stun_server_port = -3478;
  const Answer answer = get("voice_nat", "option_voice_nat_stun_server_port");
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, "-3478");
}

TEST_F(ByNameTest, GetsATextCutToTheBuffer) {
  strcpy(segment().sip_line[0].display_name, "Frontdesk");
  const char key[] = "option_sip_line_display_name";
  EXPECT_EQ(get("sip_line_1", key, 10).text, "Frontdesk");
  EXPECT_EQ(get("sip_line_1", key, 9).text, "Frontdes");
  EXPECT_EQ(get("sip_line_1", key, 2).text, "F");
}

TEST_F(ByNameTest, WritesNothingBehindTheBuffer) {
  strcpy(segment().sip_line[0].display_name, "Frontdesk");
  segment().voice_switch.mode = 123456;
  char buf[8];
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(capi_config_get("sip_line_1", "option_sip_line_display_name", buf, 4), 0);
  EXPECT_THAT(buf, ElementsAre('F', 'r', 'o', 0, 'x', 'x', 'x', 'x'));
  EXPECT_EQ(capi_config_get("voice_switch", "option_voice_switch_mode", buf, 4), 0);
  EXPECT_THAT(buf, ElementsAre('1', '2', '3', 0, 'x', 'x', 'x', 'x'));
}

TEST_F(ByNameTest, ABufferWithoutRoomIsLeftAlone) {
  for (const int size : {0, -1, INT32_MIN}) {
    EXPECT_EQ(get("voice_switch", "option_voice_switch_mode", size).text, "before");
    EXPECT_EQ(get("sip_line_1", "option_sip_line_display_name", size).text, "before");
  }
}

TEST_F(ByNameTest, ATextWithoutTerminatorIsCutAtItsWidth) {
  memset(segment().sms_cfg.sca, 's', 32);
  memset(segment().sms_cfg.psi, 'p', 128);
  EXPECT_EQ(get("sms", "option_sms_sca", 1000).text, std::string(32, 's'));
  EXPECT_EQ(get("sms", "option_sms_sca", 8).text, std::string(7, 's'));
}

TEST_F(ByNameTest, ThreeSimValuesFillTheirFieldWhateverTheSize) {
  memset(segment().sim_info.IMPI, 'i', 127);
  strcpy(segment().sim_info.ICCID, "8900101234567890123");
  strcpy(segment().sim_info.IMSI, "001011234567890");
  for (const int size : {1000, 16, 0}) {
    EXPECT_EQ(get("sim_info", "option_sim_info_IMPI", size).text, std::string(127, 'i'));
    EXPECT_EQ(get("sim_info", "option_sim_info_ICCID", size).text, "8900101234567890123");
    EXPECT_EQ(get("sim_info", "option_sim_info_IMSI", size).text, "001011234567890");
  }
  char buf[129];
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(capi_config_get("sim_info", "option_sim_info_IMPI", buf, 16), 0);
  EXPECT_EQ(buf[128], 'x');
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(capi_config_get("sim_info", "option_sim_info_IMSI", buf, 129), 0);
  EXPECT_EQ(buf[31], '\0');
  EXPECT_EQ(buf[32], 'x');
}

TEST_F(ByNameTest, TheOtherSimValuesKeepToTheSize) {
  strcpy(segment().sim_info.IMPU, "sip:someone@example.net");
  EXPECT_EQ(get("sim_info", "option_sim_info_IMPU", 4).text, "sip");
}

TEST_F(ByNameTest, AnUnknownKeyAnswersBySection) {
  for (const char* section : {"basic_sip", "sms"}) {
    const Answer answer = get(section, "option_nothing");
    EXPECT_EQ(answer.result, 0) << section;
    EXPECT_EQ(answer.text, "before") << section;
  }
  for (const char* section :
       {"voice_switch", "voice_access", "voice_stack_1", "sim_info", "hw_info", "runtime_info",
        "sip_feature_1", "sip_line_1", "sip_server_1", "voice_nat", "call_forward_1",
        "call_white_list", "call_redirection", "sip_registration", "slic_parameter"}) {
    const Answer answer = get(section, "option_nothing");
    EXPECT_EQ(answer.result, 1) << section;
    EXPECT_EQ(answer.text, "before") << section;
  }
  EXPECT_EQ(get("voice_parameter", "option_voice_parameter_other_1").result, 1);
  EXPECT_EQ(get("call_white_list", "option_call_white_list_entry_21").result, -1);
  EXPECT_EQ(get("call_redirection", "option_call_redirection_src_number_0").result, -1);
  EXPECT_EQ(get("call_redirection", "option_call_redirection_src_number_x").result, 1);
}

TEST_F(ByNameTest, AnUnknownSectionFails) {
  for (const char* section : {"", "nothing", "smsx", "voice_stack", "VOICE_SWITCH"}) {
    const Answer answer = get(section, "option_voice_switch_mode");
    EXPECT_EQ(answer.result, -1) << section;
    EXPECT_EQ(answer.text, "before") << section;
  }
}

TEST_F(ByNameTest, ANumberOutOfRangeFails) {
  for (const auto& [section, key] :
       {std::pair{"sip_line_3", "option_sip_line_enable"},
        {"sip_line_0", "option_sip_line_enable"},
        {"voice_stack_6", "option_voice_stack_enable"},
        {"sip_server_3", "option_sip_server_sip_domain"},
        {"sip_feature_3", "option_nothing"},
        {"call_forward_0", "option_call_forward_busy_forward"},
        {"voice_parameter", "option_voice_parameter_name_13"},
        {"voice_parameter", "option_voice_parameter_name_0"},
        {"voice_parameter", "option_nothing"},
        {"speed_dial", "option_speed_dial_entry_11"},
        {"speed_dial30", "option_speed_dial30_num_31"},
        {"call_block", "option_call_block_entry_0"},
        {"call_block", "short"},
        {"call_white_list", "option_call_white_list_entry_0"},
        {"call_white_list", "option_call_white_list_entry_21"},
        {"call_white_list", "option_call_white_list_entry_01"},
        {"call_white_list", "option_call_white_list_entry_4294967297"},
        {"call_redirection", "option_call_redirection_src_number_0"},
        {"call_redirection", "option_call_redirection_dst_number_11"},
        {"call_redirection", "option_call_redirection_dst_number_01"}}) {
    const Answer answer = get(section, key);
    EXPECT_EQ(answer.result, -1) << section << " " << key;
    EXPECT_EQ(answer.text, "before") << section << " " << key;
    EXPECT_EQ(set(section, key, "1"), -1) << section << " " << key;
  }
}

TEST_F(ByNameTest, TheLastCodecSlotIsTheTwelfth) {
  strcpy(segment().voice_parameter.name[11], "PCMU");
  EXPECT_EQ(get("voice_parameter", "option_voice_parameter_name_12").text, "PCMU");
  EXPECT_EQ(get("voice_parameter", "option_voice_parameter_name_13").result, -1);
}

TEST_F(ByNameTest, OfSeveralCodecColumnsGetTakesTheLastAndSetTheFirst) {
  strcpy(segment().voice_parameter.name[1], "name");
  strcpy(segment().voice_parameter.code_list[1], "list");
  const char key[] = "option_code_list_name_2";
  EXPECT_EQ(get("voice_parameter", key).text, "list");
  EXPECT_EQ(set("voice_parameter", key, "new"), 0);
  EXPECT_STREQ(segment().voice_parameter.name[1], "new");
  EXPECT_EQ(get("voice_parameter", key).text, "list");
}

TEST_F(ByNameTest, NullArgumentsAreRefused) {
  char buf[8] = "before";
  EXPECT_EQ(capi_config_get(nullptr, "option_voice_switch_mode", buf, 8), -1);
  EXPECT_EQ(capi_config_get("voice_switch", nullptr, buf, 8), -1);
  EXPECT_EQ(capi_config_get("voice_switch", "option_voice_switch_mode", nullptr, 8), -1);
  EXPECT_STREQ(buf, "before");
  EXPECT_EQ(capi_config_set("voice_switch", nullptr, 0, "1"), -1);
  EXPECT_EQ(capi_config_set("voice_switch", "option_voice_switch_mode", 0, nullptr), -1);
  EXPECT_EQ(segment().voice_switch.mode, 0);
}

TEST_F(ByNameTest, EveryGetLeavesATrace) {
  const auto trace = [](const std::string& text) {
    return LogLine{kLogDebug, "capi_cfg_backend_get_config", text};
  };
  get("voice_switch", "option_voice_switch_mode");
  get("sip_line_3", "option_sip_line_enable");
  get("nothing", "x");
  EXPECT_THAT(captured_log(),
              ElementsAre(trace("section=voice_switch name=option_voice_switch_mode value=0"),
                          trace("section=sip_line_3 name=option_sip_line_enable value=before"),
                          trace("section=nothing name=x value=before")));
}

TEST_F(ByNameTest, TheTraceReadsNoFurtherThanTheBuffer) {
  char buf[4] = {'a', 'b', 'c', 'd'};  // no text
  EXPECT_EQ(capi_config_get("nothing", "x", buf, 4), -1);
  EXPECT_EQ(capi_config_get("nothing", "x", buf, 2), -1);
  EXPECT_EQ(capi_config_get("nothing", "x", buf, 0), -1);
  ASSERT_EQ(captured_log().size(), 3u);
  EXPECT_EQ(captured_log()[0].text, "section=nothing name=x value=abcd");
  EXPECT_EQ(captured_log()[1].text, "section=nothing name=x value=ab");
  EXPECT_EQ(captured_log()[2].text, "section=nothing name=x value=");
}

TEST_F(ByNameTest, TheTraceShowsAllOfASimValue) {
  strcpy(segment().sim_info.IMSI, "001011234567890");
  get("sim_info", "option_sim_info_IMSI", 4);
  EXPECT_EQ(captured_log().at(0).text,
            "section=sim_info name=option_sim_info_IMSI value=001011234567890");
}

TEST_F(ByNameTest, NamesAreNoFormats) {
  get("%s%n", "%d");
  EXPECT_EQ(captured_log().at(0).text, "section=%s%n name=%d value=before");
}

TEST_F(ByNameTest, AnOverlongNameIsUnknown) {
  const std::string name(5000, 'n');
  EXPECT_EQ(get(name.c_str(), "x").result, -1);
  EXPECT_EQ(get("sip_line_1", name.c_str()).result, 1);
  EXPECT_EQ(set("sip_line_1", name.c_str(), "1"), 0);
}

TEST_F(ByNameTest, SetIsSeenAtOnceByEveryProcess) {
  EXPECT_EQ(set("sip_registration", "option_sip_registration_reg_interval", "3600"), 0);
  in_client([] {
    EXPECT_EQ(get_config("sip_registration", "option_sip_registration_reg_interval"), "3600");
  });
}

TEST_F(ByNameTest, SetInAClientIsSeenByTheMaster) {
  in_client([&] { EXPECT_EQ(set("sip_line_2", "option_sip_line_user_name", "bob"), 0); });
  EXPECT_EQ(get("sip_line_2", "option_sip_line_user_name").text, "bob");
}

TEST_F(ByNameTest, SetSurvivesTheNextPublishingOfItsProcess) {
  EXPECT_EQ(set("voice_switch", "option_voice_switch_mode", "2"), 0);
  EXPECT_EQ(context()->staging.voice_switch.mode, 2);
  EXPECT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(segment().voice_switch.mode, 2);
}

TEST_F(ByNameTest, SetIsParsedAsALineOfASettingFile) {
  EXPECT_EQ(set("sms", "option_sms_enable", "12abc"), 0);
  EXPECT_EQ(segment().sms_cfg.enable, 12);
  EXPECT_EQ(set("sms", "option_sms_enable", ""), 0);
  EXPECT_EQ(segment().sms_cfg.enable, 0);
  EXPECT_EQ(set("sms", "option_sms_sca", std::string(300, 's').c_str()), 0);
  EXPECT_EQ(get("sms", "option_sms_sca").text, std::string(31, 's'));
  EXPECT_EQ(set("voice_parameter", "option_voice_parameter_count", "99"), 0);
  EXPECT_EQ(segment().voice_parameter.count, 12);
  EXPECT_EQ(set("sip_line_1", "option_sip_line_display_name", "Front desk"), 0);
  EXPECT_EQ(get("sip_line_1", "option_sip_line_display_name").text, "Front desk");
}

TEST_F(ByNameTest, SetAnswersAsTheHandlerDoes) {
  const cfg_shared_record before = segment();
  EXPECT_EQ(set("sip_line_3", "option_sip_line_enable", "1"), -1);
  EXPECT_EQ(set("voice_parameter", "option_voice_parameter_name_13", "1"), -1);
  EXPECT_EQ(set("nothing", "x", "1"), 0);
  EXPECT_EQ(set("sip_line_1", "option_nothing", "1"), 0);
  EXPECT_EQ(set(nullptr, "option_voice_switch_mode", "1"), 0);
  EXPECT_EQ(memcmp(&segment(), &before, sizeof before), 0);
}

TEST_F(ByNameTest, SetLogsTheItemOnce) {
  set("sms", "option_sms_enable", "1");
  set(nullptr, "x", "1");
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogInfo, "setting_item_cb", "[sms][option_sms_enable][1]"},
                          LogLine{kLogInfo, "setting_item_cb", "[---][x][1]"}));
}

TEST_F(ByNameTest, SetDoesNotLookAtTheSize) {
  for (const int size : {0, -1, 1, 100}) {
    EXPECT_EQ(capi_config_set("sms", "option_sms_sca", size, "123456"), 0);
    EXPECT_EQ(get("sms", "option_sms_sca").text, "123456");
  }
}

TEST_F(ByNameTest, PostsNoSignal) {
  set("sms", "option_sms_enable", "1");
  get("sms", "option_sms_enable");
  EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(ByNameTest, BackendCallsAreTheSame) {
  char buf[16] = "";
  EXPECT_EQ(capi_cfg_backend_set_config("sms", "option_sms_enable", 0, "5"), 0);
  EXPECT_EQ(capi_cfg_backend_get_config("sms", "option_sms_enable", buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "5");
}

TEST_F(ByNameTest, ATextIsNeverSeenHalfWritten) {
  const char key[] = "option_sip_line_display_name";
  const std::string one(255, '1');
  const std::string two(255, '2');
  set("sip_line_1", key, one.c_str());
  Baton started;
  Process writer([&] {
    started.pass();
    for (int i = 0; i < 300; ++i) set("sip_line_1", key, (i % 2 != 0 ? one : two).c_str());
  });
  started.await();
  for (int i = 0; i < 300; ++i) {
    const std::string text = get("sip_line_1", key, 256).text;
    ASSERT_TRUE(text == one || text == two) << text;
  }
  EXPECT_TRUE(writer.succeeded());
}

}  // namespace
}  // namespace capi::test
