// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "config/field_table.h"

#include <gtest/gtest.h>

#include <string>

#include "support/all_keys.h"

namespace capi::test {
namespace {

FieldMatch find(const std::string& section, const std::string& key,
                ColumnChoice choice = ColumnChoice::First) {
  return find_field(section.c_str(), key.c_str(), choice);
}

FieldLookup lookup(const std::string& section, const std::string& key) {
  return find(section, key).lookup;
}

// Where a place stands in the record, in bytes.
size_t offset(const FieldMatch& place) {
  EXPECT_EQ(place.lookup, FieldLookup::Found);
  if (place.field == nullptr) return 0;
  return place.field->offset + size_t{place.field->stride} * static_cast<size_t>(place.index);
}

TEST(FieldTableTest, KnowsEveryKey) {
  for (const Setting& setting : all_settings()) {
    EXPECT_EQ(lookup(setting.section, setting.key), FieldLookup::Found)
        << setting.section << " " << setting.key;
  }
}

TEST(FieldTableTest, SectionsAreNamedExactly) {
  for (const char* section :
       {"", "voice", "voice_switchx", "Voice_switch", "voice_switch_1", "sms_", "smsx", "sm",
        "speed_dial3", "speed_dial300", "sip_line", "sip_linex1", "voice_stack", "call_forward"}) {
    EXPECT_EQ(lookup(section, "option_voice_switch_mode"), FieldLookup::UnknownSection) << section;
  }
}

TEST(FieldTableTest, ANumberedSectionCountsFromOne) {
  const std::string key = "option_sip_line_enable";
  EXPECT_EQ(offset(find("sip_line_1", key)), 6004u + 1024);
  EXPECT_EQ(offset(find("sip_line_2", key)), 6004u + 1032 + 1024);
  for (const char* section : {"sip_line_0", "sip_line_3", "sip_line_-1", "sip_line_", "sip_line_x",
                              "sip_line_4294967297", "sip_line_99999999999999999999"}) {
    EXPECT_EQ(lookup(section, key), FieldLookup::OutOfRange) << section;
  }
}

TEST(FieldTableTest, EachNumberedSectionHasItsRange) {
  for (const auto& [section, key, count] :
       {std::tuple{"voice_stack", "option_voice_stack_enable", 5},
        {"sip_feature", "option_sip_feature_dnd_enable", 2},
        {"sip_line", "option_sip_line_enable", 2},
        {"sip_server", "option_sip_server_proxy", 2},
        {"call_forward", "option_call_forward_busy_forward", 2}}) {
    for (int number = -1; number <= count + 2; ++number) {
      const bool fits = number >= 1 && number <= count;
      EXPECT_EQ(lookup(section + ("_" + std::to_string(number)), key),
                fits ? FieldLookup::Found : FieldLookup::OutOfRange)
          << section << number;
    }
  }
}

TEST(FieldTableTest, ASectionNumberIsReadAsFarAsItGoes) {
  const std::string key = "option_sip_line_enable";
  EXPECT_EQ(find("sip_line_2x", key).index, 1);
  EXPECT_EQ(find("sip_line_02", key).index, 1);
  EXPECT_EQ(find("sip_line_+2", key).index, 1);
}

TEST(FieldTableTest, KeysAreNamedExactly) {
  for (const char* key : {"", "option_", "option_sip_line_", "enable", "option_sip_line_enablex",
                          "option_sip_line_Enable", "option_sip_feature_enable",
                          "xoption_sip_line_enable", "option_sip_line_1_enable"}) {
    EXPECT_EQ(lookup("sip_line_1", key), FieldLookup::UnknownKey) << key;
  }
}

TEST(FieldTableTest, UnknownKeysSucceedInTwoSectionsOnly) {
  for (const char* section :
       {"voice_switch", "voice_access", "voice_stack_1", "sim_info", "hw_info", "runtime_info",
        "sip_feature_1", "sip_line_1", "sip_server_1", "voice_nat", "call_forward_1",
        "call_white_list", "call_redirection", "sip_registration", "slic_parameter"}) {
    const FieldMatch place = find(section, "option_nothing");
    EXPECT_EQ(place.lookup, FieldLookup::UnknownKey) << section;
    EXPECT_FALSE(place.unknown_key_is_success) << section;
  }
  EXPECT_TRUE(find("basic_sip", "option_nothing").unknown_key_is_success);
  EXPECT_TRUE(find("sms", "option_nothing").unknown_key_is_success);
}

TEST(FieldTableTest, TheSipDomainBelongsToBothServers) {
  for (const char* key : {"option_sip_server_sip_domain", "option_sip_server_sip_domain_enable"}) {
    EXPECT_EQ(offset(find("sip_server_1", key)), offset(find("sip_server_2", key)));
  }
  EXPECT_NE(offset(find("sip_server_1", "option_sip_server_proxy")),
            offset(find("sip_server_2", "option_sip_server_proxy")));
}

TEST(FieldTableTest, ACodecKeyEndsInItsSlot) {
  const auto slot = [](const char* key) { return find("voice_parameter", key); };
  EXPECT_EQ(slot("option_voice_parameter_name_1").index, 0);
  EXPECT_EQ(slot("option_voice_parameter_name_12").index, 11);
  EXPECT_EQ(slot("any_name_of_a_codec_7").index, 6);
  EXPECT_EQ(slot("x_name_3x").index, 2);
  for (const char* key : {"option_voice_parameter_name_0", "option_voice_parameter_name_13",
                          "option_voice_parameter_name_-1", "option_voice_parameter_name_",
                          "option_voice_parameter_name_x", "option_voice_parameter_other", "name",
                          "", "x_name_4294967297"}) {
    EXPECT_EQ(slot(key).lookup, FieldLookup::OutOfRange) << key;
  }
  EXPECT_EQ(slot("option_voice_parameter_other_3").lookup, FieldLookup::UnknownKey);
  EXPECT_EQ(slot("option_voice_parameter_name3_3").lookup, FieldLookup::UnknownKey);
}

TEST(FieldTableTest, SettingTakesTheFirstCodecColumnAndGettingTheLast) {
  const char key[] = "option_code_bitrate_name_mode_set_5";
  EXPECT_EQ(offset(find("voice_parameter", key, ColumnChoice::First)), 8436u + 4 + 4 * 64);
  const FieldMatch last = find("voice_parameter", key, ColumnChoice::Last);
  EXPECT_EQ(offset(last), 8436u + 4 + 3 * 12 * 64 + 12 * 4 + 4 * 4);  // the bit rate
}

TEST(FieldTableTest, CodecColumnsMayStandAnywhereInAKey) {
  const size_t name = offset(find("voice_parameter", "option_voice_parameter_name_2"));
  const size_t set = offset(find("voice_parameter", "option_voice_parameter_mode_set_2"));
  const size_t bitrate = offset(find("voice_parameter", "option_voice_parameter_code_bitrate_2"));
  for (const std::string key :
       {"option_voice_parameter_mode_set_name_code_bitrate_2", "_code_bitrate_name_x_mode_set_2",
        "x_name_code_bitrate__name_mode_set_code_bitrate_2", "_mode_set__code_bitrate_name_2"}) {
    EXPECT_EQ(offset(find("voice_parameter", key, ColumnChoice::First)), name) << key;
    EXPECT_EQ(offset(find("voice_parameter", key, ColumnChoice::Last)), bitrate) << key;
  }
  EXPECT_EQ(offset(find("voice_parameter", "voice_mode_mode_set_set_2", ColumnChoice::Last)), set);
  for (const char* key : {"option_voice_parameter_2", "option_voice_parameter__2", "_2",
                          "option_voice_parameter_name2_2", "name_mode_set2_2"}) {
    EXPECT_EQ(lookup("voice_parameter", key), FieldLookup::UnknownKey) << key;
  }
}

TEST(FieldTableTest, ATelephoneEventNameIsNoCodecName) {
  const FieldMatch place = find("voice_parameter", "option_voice_parameter_rfc2833_name");
  EXPECT_EQ(place.field->capacity, 256);
}

TEST(FieldTableTest, AnEntryNumberStartsAtThe25thCharacter) {
  const std::string any_prefix(24, '?');
  EXPECT_EQ(offset(find("speed_dial", any_prefix + "1")), 11568u);
  EXPECT_EQ(offset(find("speed_dial", any_prefix + "10")), 11568u + 9 * 32);
  EXPECT_EQ(offset(find("speed_dial30", any_prefix + "30")), 11888u + 29 * 32);
  EXPECT_EQ(offset(find("call_block", any_prefix + "10")), 17592u + 9 * 256);
  EXPECT_EQ(find("speed_dial", any_prefix + " 2x").index, 1);
  for (const char* number : {"0", "-1", "x", "", "99999999999999999999", "4294967297"}) {
    for (const char* section : {"speed_dial", "speed_dial30", "call_block"}) {
      EXPECT_EQ(lookup(section, any_prefix + number), FieldLookup::OutOfRange) << number;
    }
  }
  EXPECT_EQ(lookup("speed_dial", any_prefix + "11"), FieldLookup::OutOfRange);
  EXPECT_EQ(lookup("speed_dial30", any_prefix + "31"), FieldLookup::OutOfRange);
  EXPECT_EQ(lookup("call_block", any_prefix + "11"), FieldLookup::OutOfRange);
}

TEST(FieldTableTest, AKeyTooShortForAnEntryNumberIsOutOfRange) {
  for (const char* section : {"speed_dial", "speed_dial30", "call_block"}) {
    for (const char* key : {"", "1", "option_speed_dial_entry1"}) {
      EXPECT_EQ(lookup(section, key), FieldLookup::OutOfRange) << key;
    }
  }
}

TEST(FieldTableTest, ListKeysEndInTheirPlainNumber) {
  EXPECT_EQ(offset(find("call_white_list", "option_call_white_list_entry_1")), 20156u);
  EXPECT_EQ(offset(find("call_white_list", "option_call_white_list_entry_20")), 20156u + 19 * 32);
  EXPECT_EQ(offset(find("call_redirection", "option_call_redirection_src_number_10")),
            20800u + 9 * 32);
  EXPECT_EQ(offset(find("call_redirection", "option_call_redirection_dst_number_10")),
            20800u + 19 * 32);
  const struct {
    const char* number;
    FieldLookup lookup;
  } others[] = {
      {"0", FieldLookup::OutOfRange},   {"21", FieldLookup::OutOfRange},
      {"999", FieldLookup::OutOfRange}, {"01", FieldLookup::OutOfRange},
      {"1x", FieldLookup::UnknownKey},  {"+1", FieldLookup::UnknownKey},
      {" 1", FieldLookup::UnknownKey},  {"-1", FieldLookup::UnknownKey},
      {"", FieldLookup::UnknownKey},    {"4294967297", FieldLookup::OutOfRange},
  };
  for (const auto& [number, result] : others) {
    EXPECT_EQ(lookup("call_white_list", std::string("option_call_white_list_entry_") + number),
              result)
        << number;
    EXPECT_EQ(
        lookup("call_redirection", std::string("option_call_redirection_src_number_") + number),
        result)
        << number;
  }
  EXPECT_EQ(lookup("call_redirection", "option_call_redirection_dst_number_11"),
            FieldLookup::OutOfRange);
}

}  // namespace
}  // namespace capi::test
