// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/config_key.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>

#include "capi/snapshot.h"
#include "support/adapter.h"
#include "support/all_keys.h"
#include "support/golden.h"

namespace capi::test {
namespace {

using Keys = std::vector<capi_config_key>;

int take_key(const capi_config_key* key, void* user) {
  static_cast<Keys*>(user)->push_back(*key);
  return 0;
}

Keys all_keys() {
  Keys keys;
  EXPECT_EQ(capi_config_for_each(take_key, &keys), 0);
  return keys;
}

capi_config_key key_named(const std::string& name) {
  for (const capi_config_key& key : all_keys()) {
    if (name == key.name) return key;
  }
  ADD_FAILURE() << "there is no key " << name;
  return {};
}

std::string with_number(std::string pattern, int number) {
  const size_t place = pattern.find("%d");
  if (place != std::string::npos) pattern.replace(place, 2, std::to_string(number));
  return pattern;
}

int number_of(const std::string& name) {
  return atoi(name.c_str() + name.find_last_not_of("0123456789") + 1);
}

// Calls "visit" with the section and the name of every single key.
template <typename Visit>
void for_each_single_key(Visit visit) {
  for (const capi_config_key& key : all_keys()) {
    for (int section = 1; section <= std::max(key.section_max, 1); ++section) {
      for (int name = 1; name <= std::max(key.name_max, 1); ++name) {
        visit(with_number(key.section, section), with_number(key.name, name), key);
      }
    }
  }
}

// The value of a single key, as its bytes stand in the record.
std::string value_at(const cfg_shared_record& record, const capi_config_key& key, int number) {
  const char* field =
      reinterpret_cast<const char*>(&record) + key.offset + key.stride * (number - 1);
  if (key.kind == CAPI_CONFIG_TEXT) return field;
  int32_t value = 0;
  memcpy(&value, field, sizeof value);
  return std::to_string(value);
}

// The number that a single key or its section carries, 1 for none.
int number_of(const capi_config_key& key, const std::string& section, const std::string& name) {
  if (key.section_max != 0) return number_of(section);
  return key.name_max != 0 ? number_of(name) : 1;
}

class ConfigKey : public Adapter {};

TEST_F(ConfigKey, TheTableIsAsItsGoldenFile) {
  std::string table;
  for (const capi_config_key& key : all_keys()) {
    char line[256];
    snprintf(line, sizeof line, "%5d %4d %4d %s %s.%s\n", key.offset, key.stride, key.capacity,
             key.kind == CAPI_CONFIG_TEXT ? "text  " : "number", key.section, key.name);
    table += line;
  }
  expect_golden(table, "tests/config/golden/keys.txt");
}

TEST_F(ConfigKey, EverySettingStandsWhereTheTableSays) {
  start_master();
  ASSERT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
  ASSERT_EQ(capi_config_finish(), 0);
  for_each_single_key(
      [](const std::string& section, const std::string& name, const capi_config_key& key) {
        EXPECT_EQ(value_at(segment(), key, number_of(key, section, name)), value_of(section, name))
            << section << " " << name;
      });
}

TEST_F(ConfigKey, TheWalkSeesExactlyTheKeysOfASettingFile) {
  std::set<std::string> walked;
  for_each_single_key([&](const std::string& section, const std::string& name,
                          const capi_config_key&) { walked.insert(section + " " + name); });
  std::set<std::string> expected;
  for (const Setting& setting : all_settings())
    expected.insert(setting.section + " " + setting.key);
  EXPECT_EQ(walked, expected);
}

TEST_F(ConfigKey, EveryKeyTakesAsMuchAsItsCapacityTells) {
  start_master();
  for_each_single_key([](const std::string& section, const std::string& name,
                         const capi_config_key& key) {
    const std::string value =
        key.kind == CAPI_CONFIG_TEXT ? std::string(2000, 't') : std::string("12");
    ASSERT_EQ(capi_config_set(section.c_str(), name.c_str(), 0, value.c_str()), 0);
    const size_t kept = key.kind == CAPI_CONFIG_TEXT ? static_cast<size_t>(key.capacity) - 1 : 2;
    EXPECT_EQ(get_config(section, name).size(), kept) << section << " " << name;
  });
}

TEST_F(ConfigKey, NumbersStandForPlaceholders) {
  const capi_config_key key = key_named("option_voice_stack_codec");
  EXPECT_STREQ(key.section, "voice_stack_%d");
  EXPECT_EQ(key.section_max, 5);
  EXPECT_EQ(key.name_max, 0);
  const capi_config_key slot = key_named("option_voice_parameter_mode_set_%d");
  EXPECT_STREQ(slot.section, "voice_parameter");
  EXPECT_EQ(slot.section_max, 0);
  EXPECT_EQ(slot.name_max, 12);
  EXPECT_EQ(slot.capacity, 32);
}

TEST_F(ConfigKey, TellsWhatIsPeculiarToAKey) {
  EXPECT_EQ(key_named("option_voice_parameter_count").value_max, 12);
  EXPECT_EQ(key_named("option_voice_parameter_cng").value_max, 0);
  EXPECT_EQ(key_named("option_sip_server_sip_domain").is_shared, 1);
  EXPECT_EQ(key_named("option_sip_server_sip_domain").capacity, 256);
  EXPECT_EQ(key_named("option_sip_server_registrar").is_shared, 0);
  EXPECT_EQ(key_named("option_sms_sca").is_shared, 0);
}

TEST_F(ConfigKey, TellsWhereTheValueStandsInTheRecord) {
  for_each_single_key(
      [](const std::string& section, const std::string& name, const capi_config_key& key) {
        const int number = number_of(key, section, name);
        cfg_shared_record record{};
        char* field = reinterpret_cast<char*>(&record) + key.offset + key.stride * (number - 1);
        const int32_t value = 57;  // the text "9"
        memcpy(field, &value, sizeof value);
        char text[1024] = {};
        capi_snapshot_get(&record, section.c_str(), name.c_str(), text, sizeof text);
        EXPECT_STREQ(text, key.kind == CAPI_CONFIG_TEXT ? "9" : "57") << section << " " << name;
      });
}

TEST_F(ConfigKey, FindsWhatTheWalkHandsOver) {
  for_each_single_key(
      [](const std::string& section, const std::string& name, const capi_config_key& key) {
        capi_config_key found{};
        ASSERT_EQ(capi_config_find(section.c_str(), name.c_str(), &found), 0) << section << name;
        EXPECT_EQ(memcmp(&found, &key, sizeof key), 0) << section << " " << name;
      });
}

TEST_F(ConfigKey, FindsTheKeyThatGettingAnswersFor) {
  capi_config_key key{};
  // Nobody looks at what stands in front of an entry's number, and of two columns the last counts.
  ASSERT_EQ(capi_config_find("call_block", "option_call_block_enrty_3", &key), 0);
  EXPECT_STREQ(key.name, "option_call_block_entry_%d");
  ASSERT_EQ(capi_config_find("voice_parameter", "x_name_code_payload_7", &key), 0);
  EXPECT_STREQ(key.name, "option_voice_parameter_code_payload_%d");
  ASSERT_EQ(capi_config_find("sip_line_02", "option_sip_line_enable", &key), 0);
  EXPECT_STREQ(key.section, "sip_line_%d");
}

TEST_F(ConfigKey, FindsNothingUnderOtherNames) {
  capi_config_key key{};
  key.offset = -7;
  const std::pair<const char*, const char*> unknown[] = {
      {"basic_sip", "option_basic_sip_nothing"},
      {"basic_sip", "local_port"},
      {"basic", "option_basic_sip_local_port"},
      {"sip_line", "option_sip_line_enable"},
      {"sip_line_0", "option_sip_line_enable"},
      {"sip_line_3", "option_sip_line_enable"},
      {"call_block", "option_call_block_entry_11"},
      {"call_white_list", "option_call_white_list_entry_21"},
      {"voice_parameter", "option_voice_parameter_name_13"},
      {"", ""},
      {nullptr, "option_sms_sca"},
      {"sms", nullptr},
  };
  for (const auto& [section, name] : unknown) {
    EXPECT_EQ(capi_config_find(section, name, &key), -1)
        << (section != nullptr ? section : "-") << " " << (name != nullptr ? name : "-");
  }
  EXPECT_EQ(capi_config_find("sms", "option_sms_sca", nullptr), -1);
  EXPECT_EQ(key.offset, -7);
}

TEST_F(ConfigKey, TheWalkEndsAtTheCallbacksWish) {
  int seen = 0;
  const auto end_at_third = [](const capi_config_key*, void* user) {
    return ++*static_cast<int*>(user) == 3 ? 7 : 0;
  };
  EXPECT_EQ(capi_config_for_each(end_at_third, &seen), 7);
  EXPECT_EQ(seen, 3);
  EXPECT_EQ(capi_config_for_each(nullptr, &seen), -1);
}

}  // namespace
}  // namespace capi::test
