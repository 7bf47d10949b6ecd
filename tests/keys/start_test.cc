// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a record holds before anybody has set anything, against a real start.
#include <gmock/gmock.h>

#include <cstring>
#include <memory>

#include "capi-keys.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KeyStart : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    write_file("/tmp/m_data", "");
  }

  static std::unique_ptr<cfg_shared_record> snapshot() {
    auto record = std::make_unique<cfg_shared_record>();
    EXPECT_EQ(capi_snapshot_take(record.get()), 0);
    return record;
  }

  static std::vector<std::string> changes() {
    std::vector<std::string> changes;
    const auto take = [](const char* section, const char* name, const char* before,
                         const char* after, void* user) {
      static_cast<std::vector<std::string>*>(user)->push_back(std::string(section) + " " + name +
                                                              " " + before + " -> " + after);
      return 0;
    };
    EXPECT_EQ(capi_keys_for_each_change(snapshot().get(), take, &changes), 0);
    return changes;
  }
};

TEST_F(KeyStart, IsWhatAMasterPublishesWithoutSettings) {
  start_master();
  ASSERT_EQ(capi_config_finish(), 0);
  const auto started = snapshot();
  auto told = std::make_unique<cfg_shared_record>();
  memset(told.get(), 0x55, sizeof *told);
  ASSERT_EQ(capi_keys_start_record(told.get()), 0);
  EXPECT_EQ(memcmp(told.get(), started.get(), offsetof(cfg_shared_record, cs_reg_stat)), 0);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KeyStart, EveryKeyTellsTheTextThatGettingItGives) {
  start_master();
  ASSERT_EQ(capi_config_finish(), 0);
  const auto look = [](const capi_config_key* key, void*) {
    char section[32];
    char name[72];
    snprintf(section, sizeof section, key->section, 1);
    snprintf(name, sizeof name, key->name, 1);
    capi_key_meaning meaning{};
    EXPECT_EQ(capi_keys_describe(key, &meaning), 0);
    EXPECT_EQ(get_config(section, name), meaning.start) << section << " " << name;
    return 0;
  };
  EXPECT_EQ(capi_config_for_each(look, nullptr), 0);
}

TEST_F(KeyStart, WhatDiffersFromItIsWalked) {
  start_master();
  ASSERT_EQ(capi_config_finish(), 0);
  ASSERT_EQ(capi_config_set("sip_line_2", "option_sip_line_enable", 0, "1"), 0);
  ASSERT_EQ(capi_config_set("sip_server_2", "option_sip_server_proxy_port", 0, "5070"), 0);
  ASSERT_EQ(capi_config_set("sip_registration", "option_sip_registration_reg_interval", 0, "3600"),
            0);
  EXPECT_THAT(changes(),
              ElementsAre("sip_line_2 option_sip_line_enable 0 -> 1",
                          "sip_server_2 option_sip_server_proxy_port 5060 -> 5070",
                          "sip_registration option_sip_registration_reg_interval 600000 -> 3600"));
}

TEST_F(KeyStart, TheWalkEndsAtTheCallbacksWish) {
  auto record = std::make_unique<cfg_shared_record>();
  const auto end = [](const char*, const char*, const char*, const char*, void*) { return 7; };
  EXPECT_EQ(capi_keys_for_each_change(record.get(), end, nullptr), 7);
  EXPECT_EQ(capi_keys_for_each_change(nullptr, end, nullptr), -1);
  EXPECT_EQ(capi_keys_for_each_change(record.get(), nullptr, nullptr), -1);
  EXPECT_EQ(capi_keys_start_record(nullptr), -1);
}

}  // namespace
}  // namespace capi::test
