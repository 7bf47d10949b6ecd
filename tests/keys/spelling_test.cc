// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/spelling.h"

#include <gtest/gtest.h>

#include <string>

namespace capi::keys {
namespace {

std::string near_section(const char* section) {
  const Suggestion meant = suggest_section(section);
  return meant.is_near ? meant.nearest.text : "";
}

std::string near_key(const char* section, const char* name) {
  const Suggestion meant = suggest_key(section, name);
  return meant.is_near ? meant.nearest.text : "";
}

TEST(KeySpelling, FindsWhatWasMeant) {
  EXPECT_EQ(near_section("basic_spi"), "basic_sip");
  EXPECT_EQ(near_section("sipline_2"), "sip_line_2");
  EXPECT_EQ(near_section("voice_stak_5"), "voice_stack_5");
  EXPECT_EQ(near_section("SMS"), "");
  EXPECT_EQ(near_key("basic_sip", "option_basic_sip_local_prot"), "option_basic_sip_local_port");
  EXPECT_EQ(near_key("sip_line_2", "option_sip_line_dispaly_name"), "option_sip_line_display_name");
  EXPECT_EQ(near_key("call_white_list", "option_call_white_list_entri_12"),
            "option_call_white_list_entry_12");
  EXPECT_EQ(near_key("hw_info", "option_hw_info_countrycode"), "option_hw_info_contrycode");
}

TEST(KeySpelling, FindsNothingFarAway) {
  EXPECT_EQ(near_section("banana"), "");
  EXPECT_EQ(near_key("sms", "banana"), "");
  EXPECT_EQ(near_key("sms", std::string(5000, 'x').c_str()), "");
  EXPECT_EQ(near_key("sms", ""), "");
  EXPECT_EQ(near_key("nothing", "option_sms_sca"), "");
}

TEST(KeySpelling, TellsHowManyThereAreOfANumberOutOfRange) {
  EXPECT_EQ(suggest_section("sip_line_3").count, 2);
  EXPECT_EQ(suggest_section("voice_stack_0").count, 5);
  EXPECT_EQ(suggest_key("call_white_list", "option_call_white_list_entry_21").count, 20);
  EXPECT_EQ(suggest_key("call_white_list", "option_call_white_list_entyr_21").count, 0);
  EXPECT_EQ(suggest_section("sip_line_99999999999999999999").count, 0);
}

TEST(KeySpelling, ReadsTheNumberAtTheEnd) {
  EXPECT_EQ(last_number("sip_line_2"), 2);
  EXPECT_EQ(last_number("speed_dial30"), 30);
  EXPECT_EQ(last_number("sms"), 0);
  EXPECT_EQ(last_number(""), 0);
  EXPECT_EQ(last_number("12"), 12);
  EXPECT_EQ(last_number("x_99999999999999999999"), INT32_MAX);
}

}  // namespace
}  // namespace capi::keys
