// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Start and end, settings, and the locks.
#include <cerrno>
#include <filesystem>

#include "capi.h"
#include "operation.h"
#include "record/context.h"
#include "support/adapter.h"
#include "support/faults.h"

namespace capi::test {
namespace {

constexpr char kSettings[] = "/tmp/trial.settings";

const capi_callbacks kNoCallbacks{};

// What a process has after capi_init(): 0 for everything, 1 for a context without a segment, 2 for
// none.
int started() {
  const CriticalSection section(kConfShmLock);
  if (context() == nullptr) return 2;
  return shared_record() != nullptr ? 0 : 1;
}

// Another try in the same process gets everything.
bool starts_again() {
  capi_uninit();
  capi_init(&kNoCallbacks, 1, capture_log);
  return started() == 0 && get_config("runtime_info", "option_runtime_info_fw_version") == "v2";
}

void provide_info_files() {
  write_file("/tmp/info.sys", "fw_verison=v2\n");
  write_file("/tmp/voice.cfg.default", "[basic_sip]\nlocal_port=5066\n");
}

void provide_settings() {
  become_master();
  write_file(kSettings, "[sms]\noption_sms_enable=1\n[voice_stack_1]\noption_voice_stack_T1=7\n");
  write_file("/tmp/lte_net_info.data", "mcc=310\nmnc=260\n");
}

int load() { return capi_init_settings_from_file(kSettings); }

bool loads_and_publishes() {
  return load() == 0 && capi_config_finish() == 0 && get_config("sms", "option_sms_enable") == "1";
}

bool lock_works(unsigned id) {
  capi_critical_section_lock_create();
  return capi_critical_section_lock(id) == 0 && capi_critical_section_unlock(id) == 0;
}

// Gives back what a fault may have left to this process, as its death would.
bool is_given_back(unsigned id) {
  capi_critical_section_unlock(id);
  return lock_works(id);
}

}  // namespace

void become_master() { capi_init(&kNoCallbacks, 1, capture_log); }

Operations start_operations() {
  return {
      {.name = "init as the master",
       .prepare = provide_info_files,
       .run =
           [] {
             become_master();
             return 0;
           },
       .recover = starts_again},
      {.name = "init as a client",
       .prepare =
           [] {
             provide_info_files();
             become_master();
             capi_uninit();
           },
       .run = [] { return capi_init(&kNoCallbacks, 0, capture_log); },
       .recover = starts_again},
      {.name = "uninit", .run = capi_uninit, .recover = [] { return started() == 2; }},
      {.name = "post_init",
       .run = [] { return capi_post_init(1); },
       .recover =
           [] {
             return capi_post_init(1) == 0 && capi_voip_verify_call_log_file() == 0 &&
                    capi_voip_sms_init() == 0;
           },
       .keeps = 1},
      {.name = "load settings",
       .prepare = provide_settings,
       .run = load,
       .recover = loads_and_publishes},
      {.name = "publish settings",
       .prepare =
           [] {
             provide_settings();
             load();
           },
       .run = capi_config_finish,
       .recover = loads_and_publishes},
      {.name = "create the locks",
       .prepare = [] {},
       .run = capi_critical_section_lock_create,
       .recover =
           [] {
             remove_ipc_objects();
             return lock_works(2);
           }},
      {.name = "take a lock",
       .run = [] { return capi_critical_section_lock(2); },
       .recover = [] { return is_given_back(2); },
       .is_of_locks = true},
      {.name = "free a lock",
       .prepare =
           [] {
             become_master();
             capi_critical_section_lock(2);
           },
       .run = [] { return capi_critical_section_unlock(2); },
       .recover = [] { return is_given_back(2); },
       .is_of_locks = true},
      {.name = "lock statistics",
       .prepare =
           [] {
             become_master();
             skip_commands("/bin/echo");
           },
       .run = capi_critical_section_lock_stats,
       .recover = [] { return capi_critical_section_lock_stats() == 0 || lock_value(0) == -1; }},
      {.name = "lock and unlock a file",
       .prepare = [] { std::filesystem::remove("/tmp/trial.lock"); },
       .run =
           [] {
             const int locked = capi_lock_file("/tmp/trial.lock");
             return locked == 0 ? capi_unlock_file("/tmp/trial.lock") : locked;
           },
       .recover =
           [] {
             return capi_lock_file("/tmp/trial.lock") == 0 &&
                    capi_unlock_file("/tmp/trial.lock") == 0;
           },
       .keeps = 1},
  };
}

}  // namespace capi::test
