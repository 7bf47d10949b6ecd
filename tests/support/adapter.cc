// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/adapter.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <filesystem>

#include "record/context.h"

namespace capi::test {
namespace {

constexpr char kRecordPath[] = "/tmp/vsdk_cmd.calls";

// What a test before this one may have left where tests share a view.
constexpr const char* kDeviceFiles[] = {
    "/tmp/info.simcard",      "/tmp/info.sys",         "/tmp/info.wan",
    "/tmp/voice.cfg.default", "/tmp/m_data",           "/tmp/lte_net_info.data",
    "/tmp/capi_lock_stats",   "/tmp/voip_call_log",    "/etc/firmware_version",
    "/tmp/carrier_config",    "/tmp/sm_recv",          "/tmp/sm_send",
    "/tmp/sm_recv.err",       "/tmp/sm_send.err",      "/tmp/info.ims_voice",
    "/quorbleconf/config",    "/quorbleconf/ims_data", kRecordPath};

}  // namespace

void install_recording_tool(const std::string& path) {
  write_file(path, std::string("#!/bin/sh\nprintf '%s\\n' \"$*\" >>") + kRecordPath + "\n");
  std::filesystem::permissions(path, std::filesystem::perms(0755));
}

std::vector<std::string> posted() {
  return exists(kRecordPath) ? read_lines(kRecordPath) : std::vector<std::string>{};
}

int lock_value(unsigned id) {
  const int set = semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666);
  return semctl(set, static_cast<int>(id), GETVAL);
}

void remove_ipc_objects() {
  shm_info segments{};
  const int last_segment = shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&segments));
  for (int i = 0; i <= last_segment; ++i) {
    shmid_ds status{};
    const int id = shmctl(i, SHM_STAT, &status);
    if (id != -1) shmctl(id, IPC_RMID, nullptr);
  }
  seminfo sets{};
  const int last_set = semctl(0, 0, SEM_INFO, &sets);
  for (int i = 0; i <= last_set; ++i) {
    semid_ds status{};
    const int id = semctl(i, 0, SEM_STAT, &status);
    if (id != -1) semctl(id, 0, IPC_RMID);
  }
}

void Adapter::SetUp() {
  remove_ipc_objects();
  for (const char* path : kDeviceFiles) std::filesystem::remove_all(path);
  write_file("/tmp/m_data", "m_serial=2604000123\n");
  install_recording_tool();
  capiv2_log_init(capture_log);
  clear_log();
}

void Adapter::TearDown() {
  capi_uninit();
  for (unsigned id = 0; id < CAPI_LOCK_COUNT; ++id) {
    EXPECT_NE(lock_value(id), 0) << "lock " << id << " was left held";
  }
}

void Adapter::start_master() {
  EXPECT_EQ(capi_init(&no_callbacks_, 1, capture_log), 0);
  clear_log();
}

void Adapter::start_client() {
  EXPECT_EQ(capi_init(&no_callbacks_, 0, capture_log), 0);
  clear_log();
}

void Adapter::in_client(const std::function<void()>& body) {
  in_other_process([&] {
    capi_uninit();  // what fork() handed down
    start_client();
    body();
    capi_uninit();
  });
}

void Adapter::publish(const std::string& settings) {
  write_file("/tmp/test.settings", settings);
  EXPECT_EQ(capi_init_settings_from_file("/tmp/test.settings"), 0);
  EXPECT_EQ(capi_config_finish(), 0);
  clear_log();
}

cfg_shared_record& Adapter::segment() { return const_cast<cfg_shared_record&>(*context()->shm); }

std::string get_config(const std::string& section, const std::string& key) {
  char value[1024] = {};
  const int result = capi_config_get(section.c_str(), key.c_str(), value, sizeof value);
  return result == 0 ? value : "<" + std::to_string(result) + ">";
}

}  // namespace capi::test
