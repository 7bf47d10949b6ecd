// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Values for keys, right and wrong, and the sentences about them.
#include <gmock/gmock.h>

#include <map>

#include "capi-keys.h"
#include "support/adapter.h"
#include "support/all_keys.h"

namespace capi::test {
namespace {

struct Answer {
  int result;
  std::string sentence;

  bool operator==(const Answer&) const = default;
  friend void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.result << " " << answer.sentence;
  }
};

Answer check(const std::string& section, const std::string& name, const std::string& value) {
  char sentence[CAPI_KEYS_SENTENCE] = "?";
  const int result =
      capi_keys_check(section.c_str(), name.c_str(), value.c_str(), sentence, sizeof sentence);
  return {result, sentence};
}

// The same for a key of a section without a number.
Answer check_key(const std::string& section, const std::string& key, const std::string& value) {
  return check(section, "option_" + section + "_" + key, value);
}

const Answer kOk{CAPI_KEY_OK, ""};

class KeyCheck : public Adapter {};

TEST_F(KeyCheck, ValuesThatAreRightPass) {
  EXPECT_EQ(check_key("basic_sip", "local_port", "5060"), kOk);
  EXPECT_EQ(check_key("basic_sip", "transport_protocol", "2"), kOk);
  EXPECT_EQ(check_key("basic_sip", "transport_protocol", "-7"), kOk);
  EXPECT_EQ(check("sip_line_2", "option_sip_line_enable", "1"), kOk);
  EXPECT_EQ(check_key("runtime_info", "wan_ip", "2001:db8::1"), kOk);
  EXPECT_EQ(check_key("voice_parameter", "evs_dtx", "-2"), kOk);
  EXPECT_EQ(check_key("voice_parameter", "mode_set_12", "0,2,4,7"), kOk);
  EXPECT_EQ(check_key("call_block", "entry_10", "+1900*"), kOk);
}

TEST_F(KeyCheck, AnEmptyTextIsNotSetAndAnEmptyNumberIsNone) {
  EXPECT_EQ(check_key("runtime_info", "wan_ip", ""), kOk);
  EXPECT_EQ(check_key("basic_sip", "local_port", ""),
            (Answer{CAPI_KEY_NOT_A_NUMBER, "\"\" is not a number; allowed: 0 to 65535"}));
}

TEST_F(KeyCheck, UnknownSections) {
  EXPECT_EQ(check("basic_spi", "option_basic_sip_local_port", "1"),
            (Answer{CAPI_KEY_UNKNOWN_SECTION,
                    "there is no section \"basic_spi\"; the nearest is \"basic_sip\""}));
  EXPECT_EQ(check("sip_line_3", "option_sip_line_enable", "1"),
            (Answer{CAPI_KEY_UNKNOWN_SECTION,
                    "there is no section \"sip_line_3\": they are numbered from 1 to 2"}));
  EXPECT_EQ(check("banana", "option_sip_line_enable", "1"),
            (Answer{CAPI_KEY_UNKNOWN_SECTION, "there is no section \"banana\""}));
}

TEST_F(KeyCheck, SectionsThatAreThereHoweverTheyAreSpelled) {
  EXPECT_EQ(check("sip_line_02", "banana", "").result, CAPI_KEY_UNKNOWN_KEY);
  EXPECT_EQ(check("sip_line_2", "banana", "").result, CAPI_KEY_UNKNOWN_KEY);
  EXPECT_EQ(check("sip_line_03", "banana", "").result, CAPI_KEY_UNKNOWN_SECTION);
}

TEST_F(KeyCheck, UnknownKeys) {
  EXPECT_EQ(check_key("basic_sip", "local_prot", "1"),
            (Answer{CAPI_KEY_UNKNOWN_KEY,
                    "section \"basic_sip\" has no key \"option_basic_sip_local_prot\"; the nearest "
                    "is \"option_basic_sip_local_port\""}));
  EXPECT_EQ(check_key("call_block", "entry_11", "1"),
            (Answer{CAPI_KEY_UNKNOWN_KEY,
                    "section \"call_block\" has no key \"option_call_block_entry_11\": they are "
                    "numbered from 1 to 10"}));
  EXPECT_EQ(check("sms", "banana", "1"),
            (Answer{CAPI_KEY_UNKNOWN_KEY, "section \"sms\" has no key \"banana\""}));
}

TEST_F(KeyCheck, SpellingsThatHappenToBeTaken) {
  EXPECT_EQ(check("call_block", "option_call_block_enrty_3", "911"),
            (Answer{CAPI_KEY_ODD_SPELLING,
                    "\"option_call_block_enrty_3\" is taken for \"option_call_block_entry_3\", "
                    "which is how to write it"}));
  EXPECT_EQ(check("sip_line_02", "option_sip_line_enable", "1"),
            (Answer{CAPI_KEY_ODD_SPELLING,
                    "\"sip_line_02\" is taken for \"sip_line_2\", which is how to write it"}));
}

TEST_F(KeyCheck, NoNumbers) {
  EXPECT_EQ(check("sip_line_1", "option_sip_line_enable", "yes"),
            (Answer{CAPI_KEY_NOT_A_NUMBER, "\"yes\" is not a number; allowed: 0 (off) or 1 (on)"}));
  EXPECT_EQ(check_key("basic_sip", "local_port", "5060x"),
            (Answer{CAPI_KEY_NOT_A_NUMBER, "\"5060x\" is not a number; allowed: 0 to 65535"}));
  EXPECT_EQ(check_key("voice_switch", "mode", "+1"),
            (Answer{CAPI_KEY_NOT_A_NUMBER, "\"+1\" is not a number; allowed: any number"}));
}

TEST_F(KeyCheck, NumbersOutOfRange) {
  EXPECT_EQ(check_key("basic_sip", "local_port", "99999"),
            (Answer{CAPI_KEY_OUT_OF_RANGE, "\"99999\" is out of range; allowed: 0 to 65535"}));
  EXPECT_EQ(check_key("basic_sip", "local_port", "-1").result, CAPI_KEY_OUT_OF_RANGE);
  EXPECT_EQ(check_key("basic_sip", "local_port", "65535"), kOk);
  EXPECT_EQ(check_key("basic_sip", "local_port", "65536").result, CAPI_KEY_OUT_OF_RANGE);
  EXPECT_EQ(check_key("voice_switch", "mode", "2147483648"),
            (Answer{CAPI_KEY_OUT_OF_RANGE, "\"2147483648\" is out of range; allowed: any number"}));
  EXPECT_EQ(check_key("basic_sip", "session_timer_expires", "89"),
            (Answer{CAPI_KEY_OUT_OF_RANGE, "\"89\" is out of range; allowed: 0 or 90 or more"}));
  EXPECT_EQ(check_key("basic_sip", "session_timer_expires", "0"), kOk);
  EXPECT_EQ(check_key("voice_parameter", "count", "13").sentence,
            "\"13\" is out of range; allowed: 0 to 12");
}

TEST_F(KeyCheck, NumbersThatAreNoneOfAFew) {
  EXPECT_EQ(check("sip_line_2", "option_sip_line_enable", "7"),
            (Answer{CAPI_KEY_NOT_ONE_OF,
                    "\"7\" is none of those that are allowed; allowed: 0 (off) or 1 (on)"}));
  EXPECT_EQ(check_key("voice_parameter", "evs_ch_aw_recv", "4"),
            (Answer{CAPI_KEY_NOT_ONE_OF,
                    "\"4\" is none of those that are allowed; allowed: -2 (unset), -1, 0, 2, 3, 5 "
                    "or 7"}));
}

TEST_F(KeyCheck, WrongFormats) {
  EXPECT_EQ(check_key("runtime_info", "wan_ip", "banana"),
            (Answer{CAPI_KEY_WRONG_FORMAT, "\"banana\" is not an IP address, as 192.0.2.1"}));
  EXPECT_EQ(check_key("hw_info", "wan_mac", "02005e005301"),
            (Answer{CAPI_KEY_WRONG_FORMAT,
                    "\"02005e005301\" is not a MAC address, as 02:00:5e:00:53:01"}));
}

TEST_F(KeyCheck, TextsThatWouldNotBeKept) {
  EXPECT_EQ(check_key("basic_sip", "user_agent", std::string(63, 'a')), kOk);
  EXPECT_EQ(check_key("basic_sip", "user_agent", std::string(64, 'a')),
            (Answer{CAPI_KEY_TOO_LONG, "64 bytes are too many: 63 are kept"}));
  std::string long_one;
  for (int i = 0; i < 32; ++i) long_one += "ä";
  EXPECT_EQ(check_key("basic_sip", "user_agent", long_one),
            (Answer{CAPI_KEY_TOO_LONG, "64 bytes are too many: 63 are kept"}));
  EXPECT_EQ(check_key("slic_parameter", "settings", std::string(1023, 'a')), kOk);
  EXPECT_EQ(check_key("slic_parameter", "settings", std::string(1024, 'a')).result,
            CAPI_KEY_TOO_LONG);
  // Of the domain's field half is set.
  EXPECT_EQ(check("sip_server_1", "option_sip_server_sip_domain", std::string(256, 'a')).sentence,
            "256 bytes are too many: 255 are kept");
}

TEST_F(KeyCheck, ValuesThatASettingFileWouldChange) {
  EXPECT_EQ(check_key("sip_registration", "reg_interval", "3600;").sentence,
            "a setting file ends the value at its \";\"");
  EXPECT_EQ(check_key("basic_sip", "dial_plan", "x.#"),
            (Answer{CAPI_KEY_WOULD_BE_CUT, "a setting file ends the value at its \"#\""}));
  EXPECT_EQ(
      check("sip_line_1", "option_sip_line_display_name", "Front Desk"),
      (Answer{CAPI_KEY_WOULD_LOSE_BLANKS, "a setting file takes the blanks out of the value"}));
  EXPECT_EQ(check_key("basic_sip", "local_port", "5060 ").result, CAPI_KEY_WOULD_LOSE_BLANKS);
  EXPECT_EQ(check_key("basic_sip", "local_port", "\t5060").result, CAPI_KEY_WOULD_LOSE_BLANKS);
  for (const char* end : {"\n", "\r"}) {
    EXPECT_EQ(check_key("basic_sip", "country", std::string("a") + end + "b # c"),
              (Answer{CAPI_KEY_LINE_END, "a value cannot have a line end in it"}));
  }
}

TEST_F(KeyCheck, NoSentenceShowsASecret) {
  for (const std::string& value : {std::string("hidden word"), std::string("hidden#"),
                                   "hidden" + std::string(256, 'x'), std::string("hidden\n")}) {
    const Answer answer = check("sip_line_1", "option_sip_line_auth_password", value);
    EXPECT_NE(answer.result, CAPI_KEY_OK);
    EXPECT_THAT(answer.sentence, testing::Not(testing::HasSubstr("hidden")));
  }
}

TEST_F(KeyCheck, ASentenceFitsIntoAnyBuffer) {
  const std::string endless(5000, 'x');
  for (const Answer& answer : {check(endless, endless, endless), check("sms", endless, endless),
                               check("runtime_info", "option_runtime_info_wan_ip", "1" + endless),
                               check("basic_sip", "option_basic_sip_local_port", endless)}) {
    EXPECT_GT(answer.result, CAPI_KEY_OK);
    EXPECT_LT(answer.sentence.size(), size_t{CAPI_KEYS_SENTENCE - 1});
  }
  for (int size = 0; size < 60; ++size) {
    std::string buf(static_cast<size_t>(size) + 1, '~');
    EXPECT_EQ(capi_keys_check("sms", "option_sms_enable", "7", buf.data(), size),
              CAPI_KEY_NOT_ONE_OF);
    EXPECT_EQ(buf[static_cast<size_t>(size)], '~');
    if (size > 0) {
      EXPECT_EQ(
          buf.c_str(),
          check("sms", "option_sms_enable", "7").sentence.substr(0, static_cast<size_t>(size) - 1));
    }
  }
  EXPECT_EQ(capi_keys_check("sms", "option_sms_enable", "7", nullptr, 99), CAPI_KEY_NOT_ONE_OF);
}

TEST_F(KeyCheck, NullIsRefused) {
  char sentence[8] = "?";
  EXPECT_EQ(capi_keys_check(nullptr, "option_sms_sca", "1", sentence, 8), -1);
  EXPECT_EQ(capi_keys_check("sms", nullptr, "1", sentence, 8), -1);
  EXPECT_EQ(capi_keys_check("sms", "option_sms_sca", nullptr, sentence, 8), -1);
  EXPECT_STREQ(sentence, "");
}

TEST_F(KeyCheck, OnlyWhatIsRightIsSet) {
  start_master();
  char sentence[CAPI_KEYS_SENTENCE] = "?";
  const auto set = [&](const char* value) {
    return capi_keys_set("basic_sip", "option_basic_sip_local_port", value, sentence,
                         sizeof sentence);
  };
  EXPECT_EQ(set("5070"), CAPI_KEY_OK);
  EXPECT_STREQ(sentence, "");
  EXPECT_EQ(get_config("basic_sip", "option_basic_sip_local_port"), "5070");
  EXPECT_EQ(set("99999"), CAPI_KEY_OUT_OF_RANGE);
  EXPECT_STREQ(sentence, "\"99999\" is out of range; allowed: 0 to 65535");
  EXPECT_EQ(get_config("basic_sip", "option_basic_sip_local_port"), "5070");
  EXPECT_EQ(set(nullptr), -1);
}

TEST_F(KeyCheck, WithoutAnAdapterNothingIsSet) {
  char sentence[CAPI_KEYS_SENTENCE] = "?";
  EXPECT_EQ(capi_keys_set("sms", "option_sms_enable", "1", sentence, sizeof sentence), -1);
  EXPECT_STREQ(sentence, "");
}

TEST_F(KeyCheck, TellsOfEveryMadeUpValueOfTheSettingFileOfAllKeys) {
  std::map<int, int> results;
  for (const Setting& setting : all_settings()) {
    ++results[check(setting.section, setting.key, setting.value).result];
  }
  EXPECT_EQ(results, (std::map<int, int>{{CAPI_KEY_OK, 224},
                                         {CAPI_KEY_OUT_OF_RANGE, 15},
                                         {CAPI_KEY_NOT_ONE_OF, 53},
                                         {CAPI_KEY_WRONG_FORMAT, 94}}));
}

}  // namespace
}  // namespace capi::test
