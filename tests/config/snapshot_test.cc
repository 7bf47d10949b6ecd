// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/snapshot.h"

#include <cstring>

#include "support/adapter.h"
#include "support/all_keys.h"

namespace capi::test {
namespace {

class Snapshot : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  std::string get(const char* section, const char* key) {
    char value[1024] = {};
    const int result = capi_snapshot_get(&snapshot_, section, key, value, sizeof value);
    return result == 0 ? value : "<" + std::to_string(result) + ">";
  }

  cfg_shared_record snapshot_{};
};

TEST_F(Snapshot, HoldsTheWholeRecordLiveStateIncluded) {
  publish("[sip_line_1]\noption_sip_line_user_name=15551230001\n");
  segment().shared_phone_status[1].hook = 1;
  ASSERT_EQ(capi_snapshot_take(&snapshot_), 0);
  EXPECT_EQ(memcmp(&snapshot_, &segment(), sizeof snapshot_), 0);
}

TEST_F(Snapshot, AnswersEveryKeyAsAGetByNameDoes) {
  ASSERT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
  ASSERT_EQ(capi_config_finish(), 0);
  ASSERT_EQ(capi_snapshot_take(&snapshot_), 0);
  int count = 0;
  for (const Setting& setting : all_settings()) {
    EXPECT_EQ(get(setting.section.c_str(), setting.key.c_str()),
              get_config(setting.section, setting.key));
    ++count;
  }
  EXPECT_GT(count, 200);
}

TEST_F(Snapshot, AnswersWhatIsNotThereAsAGetByNameDoes) {
  ASSERT_EQ(capi_snapshot_take(&snapshot_), 0);
  EXPECT_EQ(get("sip_line_3", "option_sip_line_enable"), "<-1>");
  EXPECT_EQ(get("nothing", "option_sip_line_enable"), "<-1>");
  EXPECT_EQ(get("sip_line_1", "option_sip_line_nothing"), "<1>");
  EXPECT_EQ(get("sms", "option_sms_nothing"), "");
}

TEST_F(Snapshot, KeepsItsValuesWhenTheRecordChanges) {
  ASSERT_EQ(capi_snapshot_take(&snapshot_), 0);
  in_other_process(
      [&] { EXPECT_EQ(capi_config_set("voice_switch", "option_voice_switch_mode", 0, "7"), 0); });
  EXPECT_EQ(get("voice_switch", "option_voice_switch_mode"), "0");
  EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "7");
}

TEST_F(Snapshot, LogsNothingAndTakesNoLock) {
  ASSERT_EQ(capi_snapshot_take(&snapshot_), 0);
  ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_CONF_SHM), 0);
  clear_log();
  EXPECT_EQ(get("voice_switch", "option_voice_switch_mode"), "0");
  EXPECT_TRUE(captured_log().empty());
  capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
}

TEST_F(Snapshot, IsRefusedWithoutBufferArgumentsOrSegment) {
  char value[8];
  EXPECT_EQ(capi_snapshot_take(nullptr), -1);
  EXPECT_EQ(capi_snapshot_get(nullptr, "sms", "option_sms_enable", value, 8), -1);
  EXPECT_EQ(capi_snapshot_get(&snapshot_, nullptr, "option_sms_enable", value, 8), -1);
  EXPECT_EQ(capi_snapshot_get(&snapshot_, "sms", nullptr, value, 8), -1);
  EXPECT_EQ(capi_snapshot_get(&snapshot_, "sms", "option_sms_enable", nullptr, 8), -1);
  capi_uninit();
  EXPECT_EQ(capi_snapshot_take(&snapshot_), -1);
}

}  // namespace
}  // namespace capi::test
