// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/context.h"

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "support/adapter.h"

namespace {

bool attaching_fails = false;

}  // namespace

// In front of the C library's: the kernel has no reason of its own to refuse a test.
extern "C" void* shmat(int id, const void* address, int flags) noexcept {
  if (attaching_fails) {
    errno = ENOMEM;
    return reinterpret_cast<void*>(-1);
  }
  return reinterpret_cast<void*>(syscall(SYS_shmat, id, address, flags));
}

namespace capi::test {
namespace {

using testing::ElementsAre;

class ContextTest : public Adapter {
 protected:
  void TearDown() override {
    attaching_fails = false;
    Adapter::TearDown();
  }
};

// How many times a segment is attached, in all processes.
unsigned long attachments(int segment) {
  shmid_ds status{};
  EXPECT_EQ(shmctl(segment, IPC_STAT, &status), 0);
  return status.shm_nattch;
}

bool is_all_zero(const cfg_shared_record& record) {
  const auto* bytes = reinterpret_cast<const char*>(&record);
  return std::all_of(bytes, bytes + sizeof record, [](char byte) { return byte == 0; });
}

TEST_F(ContextTest, TheMasterFillsInTheDefaults) {
  write_file("/tmp/m_data", "");
  start_master();
  cfg_shared_record expected{};
  strcpy(expected.directory[0], "/tmp");
  strcpy(expected.directory[1], "/tmp");
  strcpy(expected.directory[2], "/tmp");
  strcpy(expected.wan_mac, "00:00:00:00:00:00");
  strcpy(expected.fw_version, "v1.0.0");
  expected.sip_registration.reg_interval = 600000;
  expected.voice_basic.dial_on_hash_key = 1;
  EXPECT_EQ(memcmp(&segment(), &expected, sizeof expected), 0);
}

TEST_F(ContextTest, TheSegmentHas25028BytesForEverybody) {
  start_master();
  shmid_ds status{};
  const key_t key = ftok("/usr/sbin/vsdk_cmd", 250);
  ASSERT_EQ(shmctl(shmget(key, 0, 0), IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_segsz, 25028u);
  EXPECT_EQ(status.shm_perm.mode & 0777u, 0666u);
}

TEST_F(ContextTest, TheMasterClearsWhatIsInTheSegment) {
  start_client();
  memset(&segment(), 'x', sizeof(cfg_shared_record));
  capi_uninit();
  start_master();
  EXPECT_STREQ(segment().device_imei, "");
  EXPECT_EQ(segment().vendor[0], 0);
  EXPECT_EQ(segment().reg_stat[0][0].registered, 0);
}

TEST_F(ContextTest, AClientBeforeTheMasterSeesAnEmptyRecord) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();
  EXPECT_TRUE(is_all_zero(segment()));
  EXPECT_EQ(get_config("sip_registration", "option_sip_registration_reg_interval"), "0");
  Process master([&] {
    capi_uninit();
    start_master();
  });
  EXPECT_TRUE(master.succeeded());
  EXPECT_EQ(get_config("sip_registration", "option_sip_registration_reg_interval"), "600000");
}

TEST_F(ContextTest, AClientChangesNothing) {
  start_master();
  segment().vendor[159] = 7;
  const cfg_shared_record before = segment();
  in_client([&] { EXPECT_EQ(memcmp(&segment(), &before, sizeof before), 0); });
  EXPECT_EQ(memcmp(&segment(), &before, sizeof before), 0);
}

TEST_F(ContextTest, ASecondInitLeavesTheFirstAlone) {
  start_master();
  const cfg_backend_context* first = context();
  segment().voice_switch.mode = 7;
  EXPECT_EQ(capi_init(nullptr, 1, capture_log), 0);
  EXPECT_EQ(context(), first);
  EXPECT_EQ(segment().voice_switch.mode, 7);
}

TEST_F(ContextTest, TheSegmentOutlivesItsProcesses) {
  start_master();
  segment().voice_switch.mode = 7;
  EXPECT_EQ(capi_uninit(), 0);
  EXPECT_EQ(context(), nullptr);
  start_client();
  EXPECT_EQ(segment().voice_switch.mode, 7);
}

TEST_F(ContextTest, AMasterWithoutCallbacksAttachesOnly) {
  start_client();
  segment().voice_switch.mode = 7;
  capi_uninit();
  EXPECT_EQ(capi_init(nullptr, 1, capture_log), 0);
  EXPECT_EQ(segment().voice_switch.mode, 7);
  EXPECT_STREQ(segment().fw_version, "");
  EXPECT_TRUE(is_all_zero(context()->staging));
}

TEST_F(ContextTest, TheStagingCopyOfTheMasterStartsAsTheSegmentsConfiguration) {
  write_file("/tmp/info.sys", "sys_uuid=1234\n");
  start_master();
  EXPECT_STREQ(context()->staging.sys_uuid, "1234");
  EXPECT_STREQ(context()->staging.fw_version, "v1.0.0");
}

TEST_F(ContextTest, TheStagingCopyOfAClientStartsEmpty) {
  start_master();
  in_client([] { EXPECT_TRUE(is_all_zero(context()->staging)); });
}

// ---- The override ------------------------------------------------------------------------------

int override_result = 0;
bool override_saw_zeroes = false;

int override_all(cfg_shared_record* record) {
  override_saw_zeroes = is_all_zero(*record) && lock_value(0) == 0;
  strcpy(record->device_imei, "imei");
  strcpy(record->wan_mac, "mac");
  strcpy(record->fw_version, "version");
  strcpy(record->sys_uuid, "uuid");
  record->voice_switch.mode = 3;
  return override_result;
}

int override_nothing(cfg_shared_record*) { return 1; }

int override_unterminated(cfg_shared_record* record) {
  memset(record->wan_mac, 'm', sizeof record->wan_mac);
  return 1;
}

class OverrideTest : public ContextTest {
 protected:
  void start(capi_init_override_cb callback) {
    write_file("/tmp/info.sys", "device_imei=file\nfw_verison=file\n");
    write_file("/tmp/info.wan", "wan_mac=file\n");
    write_file("/tmp/voice.cfg.default", "[voice_switch]\nvoice_mode=9\n");
    const capi_callbacks callbacks{callback, nullptr, nullptr};
    EXPECT_EQ(capi_init(&callbacks, 1, capture_log), 0);
  }
};

TEST_F(OverrideTest, APositiveResultTakesTheFourIdentityValues) {
  override_result = 1;
  start(override_all);
  EXPECT_TRUE(override_saw_zeroes);
  EXPECT_STREQ(segment().device_imei, "imei");
  EXPECT_STREQ(segment().wan_mac, "mac");
  EXPECT_STREQ(segment().fw_version, "version");
  EXPECT_EQ(segment().voice_switch.mode, 3);
  EXPECT_STREQ(segment().sys_uuid, "");
  EXPECT_STREQ(context()->staging.device_imei, "imei");
  EXPECT_STREQ(context()->staging.sys_uuid, "");
}

TEST_F(OverrideTest, AnyOtherResultLeavesTheFilesValues) {
  for (const int result : {0, -1}) {
    override_result = result;
    start(override_all);
    EXPECT_STREQ(segment().device_imei, "file");
    EXPECT_STREQ(segment().wan_mac, "file");
    EXPECT_STREQ(segment().fw_version, "file");
    EXPECT_EQ(segment().voice_switch.mode, 9);
    capi_uninit();
  }
}

TEST_F(OverrideTest, EmptyTextsLeaveTheFilesValuesButTheModeIsTaken) {
  start(override_nothing);
  EXPECT_STREQ(segment().device_imei, "file");
  EXPECT_STREQ(segment().wan_mac, "file");
  EXPECT_STREQ(segment().fw_version, "file");
  EXPECT_EQ(segment().voice_switch.mode, 0);
}

TEST_F(OverrideTest, ATextWithoutTerminatorIsCut) {
  start(override_unterminated);
  EXPECT_STREQ(segment().wan_mac, std::string(19, 'm').c_str());
}

TEST_F(OverrideTest, IsNotAskedInAClient) {
  override_saw_zeroes = false;
  const capi_callbacks callbacks{override_all, nullptr, nullptr};
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  EXPECT_EQ(capi_init(&callbacks, 0, capture_log), 0);
  EXPECT_FALSE(override_saw_zeroes);
}

// ---- No segment --------------------------------------------------------------------------------

class NoSegmentTest : public ContextTest {
 protected:
  // A context there is, but every access to the segment fails, and no lock stays held.
  static void expect_no_segment() {
    ASSERT_NE(context(), nullptr);
    EXPECT_EQ(context()->shm, nullptr);
    EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "<-1>");
    capi_voice_switch record{};
    EXPECT_EQ(capi_get_voice_switch(&record), -1);
    EXPECT_EQ(capi_make_config_file(1), -1);
    EXPECT_EQ(capi_config_finish(), 0);
    EXPECT_EQ(capi_post_init(0), 0);
    EXPECT_EQ(capi_config_set("voice_switch", "option_voice_switch_mode", 0, "5"), 0);
    EXPECT_EQ(context()->staging.voice_switch.mode, 5);
  }
};

TEST_F(NoSegmentTest, WithoutTheToolThereIsNoKey) {
  std::filesystem::remove(kToolPath);
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_THAT(captured_log(kLogErr), ElementsAre(LogLine{kLogErr, "__cfg_backend_init_shm",
                                                         "ERROR ftok, reason = [No such file or "
                                                         "directory]"}));
  EXPECT_EQ(context()->shm_id, -1);
  expect_no_segment();
}

TEST_F(NoSegmentTest, ASegmentOfAnotherSizeIsRefused) {
  ASSERT_NE(shmget(ftok(kToolPath, 250), 100, IPC_CREAT | 0666), -1);
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_THAT(captured_log(kLogErr),
              ElementsAre(LogLine{kLogErr, "__cfg_backend_init_shm",
                                  "ERROR shmget ret[ 22:Invalid argument]"}));
  EXPECT_EQ(context()->shm_id, -1);
  expect_no_segment();
}

TEST_F(NoSegmentTest, AFailedAttachIsLoggedAtBothEnds) {
  attaching_fails = true;
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_THAT(captured_log(kLogErr),
              ElementsAre(LogLine{kLogErr, "__cfg_backend_init_shm",
                                  "ERROR shmat, reason = [Cannot allocate memory]"}));
  EXPECT_NE(context()->shm_id, -1);
  expect_no_segment();
  clear_log();
  EXPECT_EQ(capi_uninit(), 0);
  EXPECT_THAT(captured_log(), ElementsAre(LogLine{kLogErr, "__cfg_backend_deinit_shm",
                                                  "ERROR shmdt, reason = [Invalid argument]"}));
  EXPECT_EQ(context(), nullptr);
}

TEST_F(NoSegmentTest, TheOverrideIsAskedAllTheSame) {
  std::filesystem::remove(kToolPath);
  override_saw_zeroes = false;
  override_result = 1;
  const capi_callbacks callbacks{override_all, nullptr, nullptr};
  EXPECT_EQ(capi_init(&callbacks, 1, capture_log), 0);
  EXPECT_TRUE(override_saw_zeroes);
  EXPECT_TRUE(is_all_zero(context()->staging));
}

TEST_F(ContextTest, TheToolBelowTheWorkingDirectoryGivesTheKeyFirst) {
  install_recording_tool("/tmp/device/usr/sbin/vsdk_cmd");
  ASSERT_EQ(chdir("/tmp/device"), 0);
  start_master();
  EXPECT_EQ(context()->shm_id, shmget(ftok("/tmp/device/usr/sbin/vsdk_cmd", 250), 0, 0));
  EXPECT_EQ(shmget(ftok(kToolPath, 250), 0, 0), -1);
  ASSERT_EQ(chdir("/"), 0);
}

// ---- Before, without and after -----------------------------------------------------------------

TEST_F(ContextTest, WithoutAContextEverythingFailsAndLocksNothing) {
  const auto expect_failures = [&] {
    char buf[256];
    EXPECT_EQ(capi_uninit(), 0);
    EXPECT_EQ(capi_post_init(1), 0);
    EXPECT_EQ(capi_init_settings_from_file("/tmp/m_data"), -1);
    EXPECT_EQ(capi_get_runtime_dir(0, buf, sizeof buf), -1);
    EXPECT_EQ(setting_item_cb("voice_switch", "option_voice_switch_mode", "1"), -1);
    EXPECT_EQ(capi_config_finish(), -1);
    EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "<-1>");
    EXPECT_EQ(capi_config_set("voice_switch", "option_voice_switch_mode", 0, "1"), -1);
    EXPECT_EQ(capi_make_config_file(0), -1);
  };
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  expect_failures();
  start_master();
  capi_uninit();
  expect_failures();
}

TEST_F(ContextTest, WhereThereIsNothingToDoNoLockIsTaken) {
  start_master();
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  EXPECT_EQ(capi_init(&no_callbacks_, 0, capture_log), 0);  // the second
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
  capi_uninit();
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  EXPECT_EQ(capi_uninit(), 0);
  EXPECT_EQ(capi_post_init(0), 0);
  EXPECT_EQ(capi_init_settings_from_file("/tmp/m_data"), -1);
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
}

// Runs a thread for each body, all of which then wait for lock 0 at once.
void run_behind_lock_zero(const std::vector<std::function<void()>>& bodies) {
  ASSERT_EQ(capi_critical_section_lock(0), 0);
  const int set = semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666);
  std::vector<std::thread> threads;
  for (const auto& body : bodies) {
    threads.emplace_back(body);
    // The kernel serves them in the order in which they came.
    while (semctl(set, 0, GETNCNT) < static_cast<int>(threads.size())) std::this_thread::yield();
  }
  EXPECT_EQ(capi_critical_section_unlock(0), 0);
  for (auto& thread : threads) thread.join();
}

TEST_F(ContextTest, ThreadsThatStartAtOnceShareOneContext) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  const auto start = [&] { capi_init(&no_callbacks_, 0, capture_log); };
  run_behind_lock_zero({start, start, start});
  ASSERT_NE(context(), nullptr);
  const int segment = context()->shm_id;
  EXPECT_EQ(attachments(segment), 1u);
  capi_uninit();
  EXPECT_EQ(attachments(segment), 0u);
}

TEST_F(ContextTest, ASettingFileThatWaitsForTheEndIsNotLoaded) {
  start_master();
  write_file("/tmp/x.settings", "[sms]\noption_sms_enable=1\n");
  int result = 0;
  run_behind_lock_zero(
      {[] { capi_uninit(); }, [&] { result = capi_init_settings_from_file("/tmp/x.settings"); }});
  EXPECT_EQ(result, -1);
  EXPECT_THAT(captured_log(), testing::IsEmpty());
}

TEST_F(ContextTest, WithoutTheLockFileTheWorkGoesOnUnlocked) {
  std::filesystem::remove("/tmp/m_data");
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  const std::string reason =
      "CAPI critical section lock failed [ftok], reason = [No such file or directory]";
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogErr, "capi_critical_section_lock_create", reason},
                          LogLine{kLogWarning, "capi_critical_section_lock", reason},
                          LogLine{kLogWarning, "capi_critical_section_unlock", reason}));
  EXPECT_STREQ(segment().fw_version, "v1.0.0");
  EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "0");
}

TEST_F(ContextTest, InitAndUninitLogNothingWhenAllIsWell) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  clear_log();
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  EXPECT_EQ(capi_uninit(), 0);
  EXPECT_THAT(captured_log(), ElementsAre());
}

// ---- Death -------------------------------------------------------------------------------------

// A sink runs with lock 0 held when a value is read: whoever stops in it holds the lock.
Baton* reading = nullptr;

void stop_in_sink(int level, const char*) {
  if (level != kLogDebug) return;
  reading->pass();
  pause();
}

TEST_F(ContextTest, AProcessKilledWhileItReadsBlocksNobody) {
  start_master();
  Baton baton;
  reading = &baton;
  Process victim([&] {
    capiv2_log_init(stop_in_sink);
    get_config("voice_switch", "option_voice_switch_mode");
  });
  baton.await();
  EXPECT_EQ(lock_value(0), 0);
  victim.kill();
  EXPECT_EQ(get_config("voice_switch", "option_voice_switch_mode"), "0");
}

int stop_in_override(cfg_shared_record*) {
  reading->pass();
  pause();
  return 0;
}

TEST_F(ContextTest, AMasterKilledWhileItStartsBlocksNobody) {
  Baton baton;
  reading = &baton;
  Process victim([&] {
    const capi_callbacks callbacks{stop_in_override, nullptr, nullptr};
    capi_init(&callbacks, 1, capture_log);
  });
  baton.await();
  EXPECT_EQ(lock_value(0), 0);
  victim.kill();
  start_master();
  EXPECT_EQ(get_config("runtime_info", "option_runtime_info_fw_version"), "v1.0.0");
}

}  // namespace
}  // namespace capi::test
