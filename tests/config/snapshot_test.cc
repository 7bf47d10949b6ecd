// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/snapshot.h"

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

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

// ---- Differences -------------------------------------------------------------------------------

struct Change {
  std::string section, name, before, after;
  bool operator==(const Change&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Change& change) {
  return out << change.section << '.' << change.name << ": " << change.before << " -> "
             << change.after;
}

class SnapshotDiff : public Snapshot {
 protected:
  std::vector<Change> changes_after(const std::function<void()>& change) {
    EXPECT_EQ(capi_snapshot_take(&snapshot_), 0);
    change();
    cfg_shared_record now;
    EXPECT_EQ(capi_snapshot_take(&now), 0);
    std::vector<Change> changes;
    const auto note = [](const char* section, const char* name, const char* before,
                         const char* after, void* user) {
      static_cast<std::vector<Change>*>(user)->push_back({section, name, before, after});
      return 0;
    };
    EXPECT_EQ(capi_snapshot_diff(&snapshot_, &now, note, &changes), 0);
    return changes;
  }
};

TEST_F(SnapshotDiff, HandsOverWhatHasChangedOldAndNew) {
  EXPECT_THAT(
      changes_after([] {
        capi_config_set("sip_line_2", "option_sip_line_user_name", 0, "15551230002");
        capi_config_set("voice_switch", "option_voice_switch_mode", 0, "7");
      }),
      testing::ElementsAre(Change{"voice_switch", "option_voice_switch_mode", "0", "7"},
                           Change{"sip_line_2", "option_sip_line_user_name", "", "15551230002"}));
}

TEST_F(SnapshotDiff, IsEmptyForWhatIsEqual) {
  EXPECT_THAT(changes_after([] {}), testing::IsEmpty());
}

TEST_F(SnapshotDiff, FindsAChangeOfEveryKey) {
  const size_t count = changes_after([] {
                         EXPECT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
                         EXPECT_EQ(capi_config_finish(), 0);
                       }).size();
  EXPECT_GT(count, 300U);
}

TEST_F(SnapshotDiff, EndsWhereItsCallbackWants) {
  cfg_shared_record other = snapshot_;
  other.voice_switch.mode = 9;
  strcpy(other.fw_version, "v9");
  EXPECT_EQ(capi_snapshot_diff(
                &snapshot_, &other,
                [](const char*, const char*, const char*, const char*, void* calls) {
                  return ++*static_cast<int*>(calls) + 40;
                },
                std::make_unique<int>(0).get()),
            41);
}

TEST_F(SnapshotDiff, RefusesNull) {
  const auto ignore = [](const char*, const char*, const char*, const char*, void*) { return 0; };
  EXPECT_EQ(capi_snapshot_diff(nullptr, &snapshot_, ignore, nullptr), -1);
  EXPECT_EQ(capi_snapshot_diff(&snapshot_, nullptr, ignore, nullptr), -1);
  EXPECT_EQ(capi_snapshot_diff(&snapshot_, &snapshot_, nullptr, nullptr), -1);
}

}  // namespace
}  // namespace capi::test
