// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is told of each key.
#include "keys/key_table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "support/adapter.h"
#include "support/all_keys.h"
#include "support/golden.h"

namespace capi::keys {
namespace {

using test::Adapter;
using testing::ElementsAre;

using Names = std::vector<std::string>;

// Without "option_" and the numbers: "sip_line.enable".
std::string short_name(const capi_config_key& key) {
  std::string section = key.section;
  section = section.substr(0, section.find("_%d"));
  std::string name = key.name + strlen("option_") + section.size() + 1;
  return section + "." + name.substr(0, name.find("_%d"));
}

std::vector<capi_config_key> all_keys() {
  std::vector<capi_config_key> keys;
  const auto take = [](const capi_config_key* key, void* user) {
    static_cast<std::vector<capi_config_key>*>(user)->push_back(*key);
    return 0;
  };
  EXPECT_EQ(capi_config_for_each(take, &keys), 0);
  return keys;
}

capi_key_meaning meaning_of(const capi_config_key& key) {
  capi_key_meaning meaning{};
  EXPECT_EQ(capi_keys_describe(&key, &meaning), 0) << key.name;
  return meaning;
}

template <typename Is>
Names keys_that(Is is) {
  Names names;
  for (const capi_config_key& key : all_keys()) {
    if (is(meaning_of(key))) names.push_back(short_name(key));
  }
  return names;
}

size_t count_of(int origin) {
  return keys_that([&](const capi_key_meaning& meaning) { return meaning.origin == origin; })
      .size();
}

class KeyTable : public Adapter {};

TEST_F(KeyTable, IsAsItsGoldenFile) {
  std::string table;
  for (const capi_config_key& key : all_keys()) {
    const capi_key_meaning meaning = meaning_of(key);
    char allowed[CAPI_KEYS_SENTENCE];
    ASSERT_EQ(capi_keys_allowed(&key, allowed, sizeof allowed), 0);
    table += short_name(key) + "\n  " + meaning.meaning + "\n  allowed: " + allowed;
    for (const auto& [title, text] :
         {std::pair{"unit", meaning.unit}, std::pair{"standard", meaning.standard},
          std::pair{"start", meaning.start}, std::pair{"note", meaning.note}}) {
      if (text[0] != '\0') table += std::string("\n  ") + title + ": " + text;
    }
    constexpr const char* kOrigins[] = {"interface", "standard", "unknown"};
    table += std::string("\n  origin: ") + kOrigins[meaning.origin];
    if (meaning.is_secret != 0) table += ", secret";
    if (meaning.is_read_back != 0) table += ", read back";
    table += "\n";
  }
  test::expect_golden(table, "tests/keys/golden/meanings.txt");
}

TEST_F(KeyTable, HasOneRowForEachKey) {
  std::set<const KeyRow*> rows;
  for (const capi_config_key& key : all_keys()) rows.insert(find_row(key));
  EXPECT_EQ(rows.count(nullptr), 0U);
  EXPECT_EQ(rows.size(), all_keys().size());
  EXPECT_EQ(rows.size(), static_cast<size_t>(rows_end() - rows_begin()));
}

TEST_F(KeyTable, KnowsEveryKeyOfASettingFile) {
  for (const test::Setting& setting : test::all_settings()) {
    capi_key_meaning meaning{};
    EXPECT_EQ(capi_keys_find(setting.section.c_str(), setting.key.c_str(), &meaning), 0)
        << setting.section << " " << setting.key;
    EXPECT_STRNE(meaning.meaning, "");
  }
}

TEST_F(KeyTable, TwoKeysAreSecret) {
  EXPECT_THAT(keys_that([](const capi_key_meaning& meaning) { return meaning.is_secret != 0; }),
              ElementsAre("sip_line.auth_password", "voice_nat.stun_password"));
}

TEST_F(KeyTable, WhatIsReadBackIsWhatTheDevicesFilesHave) {
  test::write_file("/tmp/info.simcard",
                   "ICCID=1\nIMSI=1\nIMPI=1\nIMS_DOMAIN=1\nIMPU=1\nMSISDN=1\nMBDN=1\n");
  test::write_file("/tmp/info.sys", "fw_verison=1\nsys_uuid=1\ndevice_imei=1\n");
  test::write_file("/tmp/info.wan", "wan_mac=1\nwan_ip=1\nwan_public_ip=1\n");
  test::write_file("/tmp/m_data",
                   "m_mac6_wan_addr=1\nm_mac6_lan_addr=1\nm_hw_ver=1\nm_serial=1\n"
                   "m_model_name=1\nm_country_code=1\nm_imei0=1\nm_cellular_module=1\n"
                   "m_ui_language=1\n");
  start_master();
  Names read;
  for (const capi_config_key& key : all_keys()) {
    if (key.section_max == 0 && key.name_max == 0 &&
        test::get_config(key.section, key.name) == "1" &&
        short_name(key) != "basic_sip.dial_on_hash_key") {
      read.push_back(short_name(key));
    }
  }
  EXPECT_EQ(read, keys_that([](const auto& meaning) { return meaning.is_read_back != 0; }));
  EXPECT_EQ(read.size(), 22U);
}

// One text without line ends, so that a sentence may begin anywhere in a line.
std::string page_of_meanings() {
  std::string page = test::read_file(test::source_file("docs/key-meanings.md"));
  std::replace(page.begin(), page.end(), '\n', ' ');
  return page;
}

TEST_F(KeyTable, ThePageHasItsFigures) {
  const auto text_of = [](size_t count) { return std::to_string(count); };
  EXPECT_THAT(
      page_of_meanings(),
      testing::HasSubstr("Of the " + text_of(all_keys().size()) +
                         " keys and groups of numbered keys, the interface itself says of " +
                         text_of(count_of(CAPI_KEY_INTERFACE_SAYS)) +
                         " what their values mean, and a standard of " +
                         text_of(count_of(CAPI_KEY_STANDARD_SAYS)) + " more. Of " +
                         text_of(count_of(CAPI_KEY_UNKNOWN)) + " nobody does"));
}

TEST_F(KeyTable, ThePageNamesWhatNobodyExplains) {
  const std::string page = page_of_meanings();
  const size_t begin = page.find("They are:");
  const std::string list = page.substr(begin, page.find("The whole table", begin) - begin);
  const Names unknown =
      keys_that([](const capi_key_meaning& meaning) { return meaning.origin == CAPI_KEY_UNKNOWN; });
  for (const std::string& name : unknown) {
    EXPECT_THAT(list, testing::HasSubstr("`" + name + "`"));
  }
  EXPECT_EQ(std::count(list.begin(), list.end(), '`'), 2 * static_cast<long>(unknown.size()));
}

TEST_F(KeyTable, FindsNoMeaningWithoutAKey) {
  capi_key_meaning meaning{};
  capi_config_key key{};
  key.offset = offsetof(cfg_shared_record, reg_stat);
  EXPECT_EQ(capi_keys_describe(&key, &meaning), -1);
  EXPECT_EQ(capi_keys_describe(nullptr, &meaning), -1);
  EXPECT_EQ(capi_keys_find("sms", "option_sms_sca", nullptr), -1);
  EXPECT_EQ(capi_keys_find("sms", "option_sms_nothing", &meaning), -1);
  EXPECT_EQ(capi_keys_find("sms", nullptr, &meaning), -1);
  EXPECT_EQ(capi_keys_find(nullptr, "option_sms_sca", &meaning), -1);
  EXPECT_EQ(meaning.meaning, nullptr);
  char text[8];
  EXPECT_EQ(capi_keys_allowed(&key, text, sizeof text), -1);
  EXPECT_EQ(capi_keys_allowed(nullptr, text, sizeof text), -1);
}

TEST_F(KeyTable, NamesNumbersBothWays) {
  constexpr char kTransport[] = "option_basic_sip_transport_protocol";
  EXPECT_STREQ(capi_keys_value_name("basic_sip", kTransport, 2), "tls");
  EXPECT_EQ(capi_keys_value_name("basic_sip", kTransport, 1), nullptr);
  EXPECT_STREQ(capi_keys_value_name("basic_sip", "option_basic_sip_rtp_dscp", 46), "ef");
  EXPECT_STREQ(capi_keys_value_name("voice_parameter", "option_voice_parameter_evs_cmr", -2),
               "unset");
  EXPECT_EQ(capi_keys_value_name("voice_parameter", "option_voice_parameter_evs_cmr", 0), nullptr);
  int32_t number = -77;
  EXPECT_EQ(capi_keys_value_number("basic_sip", kTransport, "tls", &number), 0);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(capi_keys_value_number("sip_line_2", "option_sip_line_enable", "On", &number), 0);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(capi_keys_value_number("voice_parameter", "option_voice_parameter_code_payload_12",
                                   "PCMA", &number),
            0);
  EXPECT_EQ(number, 8);
}

TEST_F(KeyTable, FindsNoNumberForOtherNames) {
  int32_t number = -77;
  for (const char* name : {"", "t", "tl", "tlss", "2", "off"}) {
    EXPECT_EQ(
        capi_keys_value_number("basic_sip", "option_basic_sip_transport_protocol", name, &number),
        -1)
        << name;
  }
  EXPECT_EQ(
      capi_keys_value_number("voice_parameter", "option_voice_parameter_evs_cmr", "", &number), -1);
  EXPECT_EQ(capi_keys_value_number("sms", "option_sms_sca", "on", &number), -1);
  EXPECT_EQ(capi_keys_value_number(nullptr, "option_sms_sca", "on", &number), -1);
  EXPECT_EQ(capi_keys_value_number("sms", "option_sms_enable", nullptr, &number), -1);
  EXPECT_EQ(capi_keys_value_number("sms", "option_sms_enable", "on", nullptr), -1);
  EXPECT_EQ(capi_keys_value_name("sms", nullptr, 1), nullptr);
  EXPECT_EQ(number, -77);
}

TEST_F(KeyTable, HandsOutTheNumbersOfAKey) {
  capi_config_key key{};
  ASSERT_EQ(capi_config_find("sms", "option_sms_enable", &key), 0);
  Names values;
  const auto take = [](int32_t number, const char* name, void* user) {
    static_cast<Names*>(user)->push_back(std::to_string(number) + " " + name);
    return 0;
  };
  EXPECT_EQ(capi_keys_for_each_value(&key, take, &values), 0);
  EXPECT_THAT(values, ElementsAre("0 off", "1 on"));
  const auto end = [](int32_t, const char*, void*) { return 7; };
  EXPECT_EQ(capi_keys_for_each_value(&key, end, nullptr), 7);
  EXPECT_EQ(capi_keys_for_each_value(&key, nullptr, nullptr), -1);
  EXPECT_EQ(capi_keys_for_each_value(nullptr, end, nullptr), -1);
  ASSERT_EQ(capi_config_find("sms", "option_sms_sca", &key), 0);
  EXPECT_EQ(capi_keys_for_each_value(&key, end, nullptr), 0);
}

}  // namespace
}  // namespace capi::keys
