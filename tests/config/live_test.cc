// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/live.h"

#include <gmock/gmock.h>
#include <linux/seccomp.h>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "foundation/text.h"
#include "record/context.h"
#include "support/adapter.h"
#include "support/all_keys.h"

namespace capi::test {
namespace {

using testing::IsEmpty;

std::string live_get(const std::string& section, const std::string& key) {
  char value[1024] = {};
  const int result = capi_live_get(section.c_str(), key.c_str(), value, sizeof value);
  return result == 0 ? value : "<" + std::to_string(result) + ">";
}

constexpr char kVersion[] = "option_runtime_info_fw_version";

std::string version() { return live_get("runtime_info", kVersion); }

int find_locks() { return semget(ftok("/tmp/m_data", 'l'), 0, 0); }

class Live : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  static std::atomic<uint32_t>& generation() { return news_of(segment()).generation; }
};

TEST_F(Live, AnswersEveryKeyAsAGetByNameDoes) {
  ASSERT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
  ASSERT_EQ(capi_config_finish(), 0);
  int count = 0;
  for (const Setting& setting : all_settings()) {
    EXPECT_EQ(live_get(setting.section, setting.key), get_config(setting.section, setting.key));
    ++count;
  }
  EXPECT_GT(count, 200);
}

TEST_F(Live, AnswersWhatIsNotThereAsAGetByNameDoes) {
  for (const auto& [section, key] : {std::pair("sip_line_3", "option_sip_line_enable"),
                                     std::pair("nothing", "option_sip_line_enable"),
                                     std::pair("sip_line_1", "option_sip_line_nothing"),
                                     std::pair("sms", "option_sms_nothing")}) {
    EXPECT_EQ(live_get(section, key), get_config(section, key)) << section << " " << key;
  }
}

TEST_F(Live, FillsTheBufferAsAGetByNameDoes) {
  publish("[sip_line_1]\noption_sip_line_user_name=15551230001\n");
  for (const int size : {-1, 0, 1, 5, 12, 200}) {
    char live[256];
    char locked[256];
    memset(live, '#', sizeof live);
    memset(locked, '#', sizeof locked);
    EXPECT_EQ(capi_live_get("sip_line_1", "option_sip_line_user_name", live, size),
              capi_config_get("sip_line_1", "option_sip_line_user_name", locked, size));
    EXPECT_EQ(memcmp(live, locked, sizeof live), 0) << size;
  }
}

TEST_F(Live, SeesWhatAnotherProcessSetsAtOnce) {
  in_client([] { capi_config_set("runtime_info", kVersion, 0, "v7"); });
  EXPECT_EQ(version(), "v7");
}

// Fills the whole record so that no two places look the same.
void fill(cfg_shared_record& record) {
  auto* bytes = reinterpret_cast<uint8_t*>(&record);
  for (size_t i = 0; i < sizeof record; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
}

// Expects that reading this kind and number gives the bytes of the member.
template <typename Member>
void expect_read(int kind, int number, const Member& member) {
  std::vector<uint8_t> bytes(sizeof member + 1, '#');
  EXPECT_EQ(capi_live_read(kind, number, bytes.data(), sizeof member), 0) << kind;
  EXPECT_EQ(memcmp(bytes.data(), &member, sizeof member), 0) << kind;
  EXPECT_EQ(bytes.back(), '#') << kind;
  bytes.assign(bytes.size(), '#');
  EXPECT_EQ(capi_live_read(kind, number, bytes.data(), sizeof member + 1), -1) << kind;
  EXPECT_EQ(capi_live_read(kind, number, bytes.data(), sizeof member - 1), -1) << kind;
  EXPECT_EQ(bytes.front(), '#') << kind;
}

template <typename Record, size_t Count>
void expect_reads(int kind, const Record (&members)[Count]) {
  for (size_t i = 0; i < Count; ++i) expect_read(kind, static_cast<int>(i) + 1, members[i]);
  Record record;
  EXPECT_EQ(capi_live_read(kind, 0, &record, sizeof record), -1) << kind;
  EXPECT_EQ(capi_live_read(kind, -1, &record, sizeof record), -1) << kind;
  EXPECT_EQ(capi_live_read(kind, Count + 1, &record, sizeof record), -1) << kind;
}

TEST_F(Live, HandsOutEachKindOfRecord) {
  fill(segment());
  const cfg_shared_record& shared = segment();
  expect_read(CAPI_RECORD_SIM_INFO, 0, shared.sim_info);
  expect_read(CAPI_RECORD_HW_INFO, 0, shared.hw_info);
  expect_read(CAPI_RECORD_SERVING_CELL, 0, shared.serving_cell);
  expect_read(CAPI_RECORD_VOICE_SWITCH, 0, shared.voice_switch);
  expect_reads(CAPI_RECORD_VOICE_STACK, shared.voice_stack);
  expect_read(CAPI_RECORD_VOICE_BASIC, 0, shared.voice_basic);
  expect_read(CAPI_RECORD_SYSTEM_ACCESS, 0, shared.system_access);
  expect_reads(CAPI_RECORD_SIP_LINE, shared.sip_line);
  expect_reads(CAPI_RECORD_SIP_LINE_FEATURE, shared.sip_line_feature);
  expect_read(CAPI_RECORD_VOICE_PARAMETER, 0, shared.voice_parameter);
  expect_read(CAPI_RECORD_SPEED_DIAL, 0, shared.speed_dial);
  expect_read(CAPI_RECORD_SPEED_DIAL30, 0, shared.speed_dial30);
  expect_reads(CAPI_RECORD_CALL_FORWARD, shared.call_forward);
  expect_read(CAPI_RECORD_SIP_REGISTRATION, 0, shared.sip_registration);
  expect_read(CAPI_RECORD_SMS_CFG, 0, shared.sms_cfg);
  expect_read(CAPI_RECORD_SLIC_PARAMETER, 0, shared.slic_parameter);
  expect_read(CAPI_RECORD_SIP_SERVER, 0, shared.sip_server);
  expect_read(CAPI_RECORD_VOICE_NAT, 0, shared.voice_nat);
  expect_read(CAPI_RECORD_CALL_BLOCK, 0, shared.call_block);
  expect_read(CAPI_RECORD_CALL_WHITE_LIST, 0, shared.call_white_list);
  expect_read(CAPI_RECORD_CALL_REDIRECTION, 0, shared.call_redirection);
  expect_reads(CAPI_RECORD_CS_REG_STAT, shared.cs_reg_stat);
  expect_reads(CAPI_RECORD_PHONE_PHY_STATUS, shared.phone_phy_status);
  expect_reads(CAPI_RECORD_SHARED_REG_SUMMARY, shared.shared_reg_summary);
  expect_reads(CAPI_RECORD_SHARED_CALL_STATE, shared.shared_call_state);
  expect_reads(CAPI_RECORD_SHARED_PHONE_STATUS, shared.shared_phone_status);
  expect_read(CAPI_RECORD_IMS_VOICE, 0, shared.ims_voice);
  expect_read(CAPI_RECORD_LTE_NET_INFO, 0, shared.lte_net_info);
  expect_read(CAPI_RECORD_VENDOR, 0, shared.vendor);
  expect_read(CAPI_RECORD_VENDOR, 1, shared.vendor);
}

TEST_F(Live, RefusesWhatIsNoRecord) {
  char bytes[8] = {};
  EXPECT_EQ(capi_live_read(-1, 0, bytes, sizeof bytes), -1);
  EXPECT_EQ(capi_live_read(CAPI_RECORD_VENDOR + 1, 0, bytes, sizeof bytes), -1);
  EXPECT_EQ(capi_live_read(CAPI_RECORD_VENDOR, 0, nullptr, CAPI_VENDOR_BYTES), -1);
  EXPECT_EQ(capi_live_get(nullptr, "x", bytes, 8), -1);
  EXPECT_EQ(capi_live_get("sms", nullptr, bytes, 8), -1);
  EXPECT_EQ(capi_live_get("sms", "x", nullptr, 8), -1);
  cfg_shared_record snapshot;
  uint64_t generation = 0;
  EXPECT_EQ(capi_live_refresh(nullptr, &generation), -1);
  EXPECT_EQ(capi_live_refresh(&snapshot, nullptr), -1);
}

TEST_F(Live, ItsTypedReadsAreThoseOfTheGetters) {
  fill(segment());
  capi_voice_sip_line locked;
  capi_voice_sip_line live;
  EXPECT_EQ(capi_get_voice_sip_line(&locked, 2), 0);
  EXPECT_EQ(capi_live_get_voice_sip_line(&live, 2), 0);
  EXPECT_EQ(memcmp(&locked, &live, sizeof live), 0);
  EXPECT_EQ(capi_live_get_voice_sip_line(&live, 0), -1);
  EXPECT_EQ(capi_live_get_voice_sip_line(&live, 3), -1);
  capi_line_cs_reg_stat status;
  EXPECT_EQ(capi_live_get_line_cs_reg_stat(1, &status), 0);
  EXPECT_EQ(memcmp(&status, &segment().cs_reg_stat[1], sizeof status), 0);
  EXPECT_EQ(capi_live_get_line_cs_reg_stat(-1, &status), -1);
  EXPECT_EQ(capi_live_get_line_cs_reg_stat(2, &status), -1);
}

TEST_F(Live, BeforeTheStartAndWithoutASegmentEverythingFails) {
  capi_uninit();
  char value[8];
  capi_voice_switch record;
  capi_line_reg_stat status;
  cfg_shared_record snapshot;
  uint64_t generation = 0;
  const auto expect_failures = [&] {
    EXPECT_EQ(capi_live_get("runtime_info", kVersion, value, sizeof value), -1);
    EXPECT_EQ(capi_live_get("sip_line_1", "option_sip_line_nothing", value, sizeof value), -1);
    EXPECT_EQ(capi_live_get_voice_switch(&record), -1);
    EXPECT_EQ(capi_live_get_line_reg_stat(0, &status, 0), -1);
    EXPECT_EQ(capi_live_refresh(&snapshot, &generation), -1);
  };
  expect_failures();
  remove_ipc_objects();
  unlink(kToolPath);
  start_client();
  expect_failures();
  EXPECT_THAT(captured_log(), IsEmpty());
}

// ---- Snapshots ---------------------------------------------------------------------------------

class LiveSnapshot : public Live {
 protected:
  int refresh() { return capi_live_refresh(&snapshot_, &generation_); }

  cfg_shared_record snapshot_{};
  uint64_t generation_ = 0;
};

TEST_F(LiveSnapshot, IsCopiedWhenSomethingHasChanged) {
  EXPECT_EQ(refresh(), 1);
  EXPECT_EQ(memcmp(&snapshot_, &segment(), sizeof snapshot_), 0);
  const uint64_t first = generation_;
  in_client([] { capi_config_set("runtime_info", kVersion, 0, "v7"); });
  EXPECT_EQ(refresh(), 1);
  EXPECT_STREQ(snapshot_.fw_version, "v7");
  EXPECT_GT(generation_, first);
}

TEST_F(LiveSnapshot, IsNotTouchedWhenNothingHasChanged) {
  EXPECT_EQ(refresh(), 1);
  const uint64_t first = generation_;
  memset(&snapshot_, '#', sizeof snapshot_);
  EXPECT_EQ(refresh(), 0);
  EXPECT_EQ(generation_, first);
  EXPECT_EQ(snapshot_.fw_version[0], '#');
}

TEST_F(LiveSnapshot, IsNotThatOfAnotherSegmentWithTheSameNumber) {
  EXPECT_EQ(refresh(), 1);
  const uint32_t number = Live::generation();
  EXPECT_EQ(shmctl(context()->shm_id, IPC_RMID, nullptr), 0);
  in_other_process([this] {
    capi_uninit();
    write_file("/tmp/info.sys", "fw_verison=v2\n");
    start_master();
    Live::generation() = 0;
  });
  context()->looked_at = -1;
  EXPECT_EQ(get_config("runtime_info", kVersion), "v2");
  Live::generation() = number;
  EXPECT_EQ(refresh(), 1);
  EXPECT_STREQ(snapshot_.fw_version, "v2");
}

TEST_F(LiveSnapshot, ItsValuesBelongTogether) {
  std::atomic<bool> stop{false};
  const auto settings = [](int number) {
    const std::string text = std::to_string(number);
    return "[sip_line_1]\noption_sip_line_user_name=" + text +
           "\n[sip_line_2]\noption_sip_line_user_name=" + text + "\n";
  };
  publish(settings(0));
  std::thread publisher([&] {
    for (int number = 1; !stop; ++number) {
      write_file("/tmp/publisher.settings", settings(number));
      capi_init_settings_from_file("/tmp/publisher.settings");
      capi_config_finish();
    }
  });
  for (int changes = 0; changes < 200;) {
    const int result = refresh();
    ASSERT_NE(result, -1);
    changes += result;
    ASSERT_STREQ(snapshot_.sip_line[0].user_name, snapshot_.sip_line[1].user_name);
  }
  stop = true;
  publisher.join();
}

// ---- Generations -------------------------------------------------------------------------------

// What each way to change the record does to its generation.
TEST_F(Live, EveryChangeMakesANewEvenGeneration) {
  capi_voice_basic basic{};
  capi_line_reg_stat registration{};
  const capi_line_cs_reg_stat cs{};
  const capi_shared_phone_status phone{};
  uint8_t block[CAPI_IMS_VOICE_BYTES] = {};
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"by name", [] { capi_config_set("runtime_info", kVersion, 0, "v7"); }},
      {"record", [&] { capi_set_voice_basic(&basic); }},
      {"registration", [&] { capi_set_runtime_line_reg_stat(0, &registration, 0); }},
      {"cs registration", [&] { capi_set_runtime_line_cs_reg_stat(0, &cs); }},
      {"telephone", [] { capi_set_runtime_line_phone_phy_status(0, "Ringing"); }},
      {"shared data", [&] { capi_set_shared_data(CAPI_SHARED_PHONE_STATUS_1, &phone); }},
      {"voice block", [&] { capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, 1); }},
      {"vendor block", [&] { capi_set_quorble_info(CAPI_QUORBLE_VENDOR, block, 8); }},
      {"publishing", [] { capi_config_finish(); }},
      {"a master's start", [this] {
         in_other_process([this] {
           capi_uninit();
           start_master();
         });
       }}};
  for (const auto& [name, change] : changes) {
    const uint32_t before = generation();
    change();
    EXPECT_EQ(generation(), before + 2) << name;
  }
}

TEST_F(Live, WhatIsRefusedChangesNoGeneration) {
  const uint32_t before = generation();
  capi_voice_sip_line line{};
  capi_line_reg_stat registration{};
  const capi_line_cs_reg_stat cs{};
  capi_set_voice_sip_line(&line, 3);
  capi_set_runtime_line_reg_stat(2, &registration, 0);
  capi_set_runtime_line_cs_reg_stat(-1, &cs);
  capi_set_runtime_line_phone_phy_status(2, "Ringing");
  capi_set_shared_data(6, &cs);
  capi_config_set("runtime_info", "option_runtime_info_nothing", 0, "v7");
  EXPECT_EQ(generation(), before);
}

TEST_F(Live, TheGenerationTakesNoRoomOfTheSegment) {
  shmid_ds status{};
  ASSERT_EQ(shmctl(context()->shm_id, IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_segsz, 25028U);
}

// ---- Beside writers ----------------------------------------------------------------------------

TEST_F(Live, TakesNoLock) {
  Baton held;
  Baton done;
  Process holder([&] {
    capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
    held.pass();
    done.await();
    capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
  });
  held.await();
  EXPECT_EQ(version(), "v1.0.0");
  done.pass();
  EXPECT_TRUE(holder.succeeded());
}

TEST_F(Live, WaitsForAWriterThatStaysInside) {
  Baton inside;
  Process writer([&] {
    const CriticalSection section(kConfShmLock);
    const RecordChange change(*shared_record(), CAPI_TOPIC_DEVICE);
    copy_text(change->fw_version, "half");
    inside.pass();
    // Until the reader waits for the lock.
    const int set = find_locks();
    while (semctl(set, CAPI_LOCK_CONF_SHM, GETNCNT) == 0) usleep(100);
    copy_text(change->fw_version, "whole");
  });
  inside.await();
  EXPECT_EQ(version(), "whole");
  EXPECT_TRUE(writer.succeeded());
  EXPECT_THAT(captured_log(), IsEmpty());
}

// Leaves the record as a process does that dies while it writes.
void die_inside() {
  in_other_process([] {
    capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
    ++news_of(*context()->shm).generation;
    _exit(0);
  });
}

TEST_F(Live, MendsWhatADeadWriterLeft) {
  die_inside();
  ASSERT_EQ(generation() % 2, 1U);
  EXPECT_EQ(version(), "v1.0.0");
  EXPECT_EQ(generation() % 2, 0U);
  EXPECT_EQ(lock_value(CAPI_LOCK_CONF_SHM), 1);
}

TEST_F(Live, AnyHolderOfTheLockMendsWhatADeadWriterLeft) {
  die_inside();
  ASSERT_EQ(generation() % 2, 1U);
  EXPECT_EQ(get_config("runtime_info", kVersion), "v1.0.0");
  EXPECT_EQ(generation() % 2, 0U);
}

TEST_F(Live, ReadsWhatStandsThereWithoutLocks) {
  ASSERT_EQ(semctl(find_locks(), 0, IPC_RMID), 0);
  ++generation();
  EXPECT_EQ(version(), "v1.0.0");
  EXPECT_THAT(captured_log(), IsEmpty());
}

std::string seen_by_callback;

TEST_F(Live, ACallbackSeesWhatItIsCalledFor) {
  capi_uninit();
  capi_callbacks callbacks{};
  callbacks.reg_stat_cb = [](int line, int stack, capi_line_reg_stat*) {
    capi_line_reg_stat status;
    EXPECT_EQ(capi_live_get_line_reg_stat(line, &status, stack), 0);
    seen_by_callback = status.status_text;
    return 0;
  };
  ASSERT_EQ(capi_init(&callbacks, 0, capture_log), 0);
  capi_line_reg_stat status{};
  status.registered = 1;
  EXPECT_EQ(capi_set_runtime_line_reg_stat(1, &status, 2), 0);
  EXPECT_EQ(seen_by_callback, "Registered");
}

TEST_F(Live, TheMastersCallbackSeesWhatTheFilesSay) {
  capi_uninit();
  write_file("/tmp/info.sys", "fw_verison=v3\n");
  capi_callbacks callbacks{};
  callbacks.init_override_cb = [](cfg_shared_record*) {
    seen_by_callback = version();
    return 0;
  };
  ASSERT_EQ(capi_init(&callbacks, 1, capture_log), 0);
  EXPECT_EQ(seen_by_callback, "v3");
}

TEST_F(Live, ALogSinkReadsWhileItsProcessHasTheLock) {
  ++generation();  // as a writer leaves it that died
  seen_by_callback.clear();
  capiv2_log_init([](int, const char* text) {
    if (strstr(text, "bad/current sem value") != nullptr) seen_by_callback = version();
  });
  // A value that is not 0 while the lock is held is logged by who has it.
  const int set = find_locks();
  ASSERT_EQ(semctl(set, CAPI_LOCK_CONF_SHM, SETVAL, 2), 0);
  capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
  EXPECT_EQ(seen_by_callback, "v1.0.0");
  capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
  ASSERT_EQ(semctl(set, CAPI_LOCK_CONF_SHM, SETVAL, 1), 0);
}

// The strictest mode kills a process at its first system call but read, write and exit.
TEST_F(Live, MakesNoSystemCall) {
  capi_line_reg_stat status;
  const auto snapshot = std::make_unique<cfg_shared_record>();
  const auto read_everything = [&] {
    uint64_t generation = 0;
    capi_voice_parameter parameter;
    char value[64];
    int failures = capi_live_get("runtime_info", kVersion, value, sizeof value);
    failures += capi_live_get_voice_parameter(&parameter);
    failures += capi_live_refresh(snapshot.get(), &generation) - 1;
    return failures + capi_live_refresh(snapshot.get(), &generation);
  };
  EXPECT_EQ(capi_live_get_line_reg_stat(0, &status, 0), 0);  // which asks what time it is
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);  // an emulated process cannot be held to it
    syscall(SYS_exit, read_everything());
  }
  int result = 0;
  ASSERT_EQ(waitpid(child, &result, 0), child);
  EXPECT_EQ(result, 0);
}

}  // namespace
}  // namespace capi::test
