// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Configuration, the files of the voice stack, and the lines' status.
#include <cstring>
#include <filesystem>

#include "capi.h"
#include "operation.h"
#include "record/news.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr const char* kStackFiles[] = {
    "/tmp/vosip.conf.volte", "/tmp/vosip.conf.voip", "/tmp/vosip.conf.vowifi", "/tmp/vosip.conf.cs",
    "/tmp/vosip.conf.qvc",   "/tmp/vosip.conf.sos",  "/tmp/vosip.conf"};
constexpr char kSimFile[] = "/tmp/info.simcard";

// A file of before, and a SIM for the file that goes with it.
void provide_stack_file(unsigned type) {
  become_master();
  write_file(kStackFiles[type], "an older file\n");
  std::filesystem::remove(kSimFile);
  capi_config_set("sim_info", "option_sim_info_ICCID", 0, "8901260000000000001");
  capi_config_set("sim_info", "option_sim_info_IMSI", 0, "310260123456789");
}

Operation make_stack_file(unsigned type) {
  return {.name = std::string("make ") + kStackFiles[type],
          .prepare = [type] { provide_stack_file(type); },
          .run = [type] { return capi_make_config_file(type); },
          .files = {kStackFiles[type], kSimFile},
          .recover = [type] { return capi_make_config_file(type) == 0; }};
}

int get_by_name() {
  char value[32];
  return capi_config_get("runtime_info", "option_runtime_info_work_directory", value, sizeof value);
}

int set_by_name() { return capi_config_set("sms", "option_sms_enable", 0, "1"); }

int get_record() {
  capi_voice_sip_line line{};
  return capi_get_voice_sip_line(&line, 1);
}

int set_record() {
  const capi_voice_sip_line line{};
  return capi_set_voice_sip_line(&line, 1);
}

int take_snapshot() {
  cfg_shared_record snapshot{};
  char value[32];
  const int taken = capi_snapshot_take(&snapshot);
  if (taken != 0) return taken;
  return capi_snapshot_get(&snapshot, "sms", "option_sms_enable", value, sizeof value);
}

int watch_for_changes() {
  capi_watch watch;
  const int opened = capi_watch_open(&watch, CAPI_TOPIC_ALL);
  if (opened != 0) return opened;
  const int changed = capi_watch_changed(&watch);
  capi_watch_close(&watch);
  return changed;
}

int ask_who_is_there() {
  capi_presence presence;
  const int asked = capi_get_presence(&presence);
  return asked != 0 ? asked : presence.state - CAPI_PRESENCE_NOT_PUBLISHED;
}

int get_directory() {
  char dir[256];
  return capi_get_runtime_dir(0, dir, sizeof dir);
}

int get_path() {
  char path[64];
  return strcmp(capi_get_runtime_path(1, "file", path, sizeof path), "/tmp/file");
}

int set_line_status() {
  capi_line_reg_stat status{};
  return capi_set_runtime_line_reg_stat(0, &status, 0);
}

int get_line_status() {
  capi_line_reg_stat status{};
  return capi_get_runtime_line_reg_stat(0, &status, 0);
}

int set_cs_status() {
  const capi_line_cs_reg_stat status{};
  return capi_set_runtime_line_cs_reg_stat(0, &status);
}

int get_cs_status() {
  capi_line_cs_reg_stat status{};
  return capi_get_runtime_line_cs_reg_stat(0, &status);
}

int set_phone_status() { return capi_set_runtime_line_phone_phy_status(0, "On-hook"); }

int get_phone_status() {
  char status[32];
  return capi_get_runtime_line_phone_phy_status(0, status, sizeof status);
}

int share() {
  const capi_shared_phone_status status{};
  return capi_set_shared_data(4, &status);
}

// Such an operation leaves nothing behind.
Operation plain(const char* name, int (*run)()) {
  return {.name = name, .run = run, .recover = [run] { return run() == 0; }};
}

}  // namespace

Operations configuration_operations() {
  Operations operations = {
      plain("get by name", get_by_name),
      plain("set by name", set_by_name),
      plain("get a record", get_record),
      plain("set a record", set_record),
      plain("take a snapshot", take_snapshot),
      {.name = "watch for changes",
       .prepare =
           [] {
             become_master();
             for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) std::filesystem::remove(news_file(i));
           },
       .run = watch_for_changes,
       .recover = [] { return watch_for_changes() == 0; }},
      {.name = "ask who is there",
       .run = ask_who_is_there,
       // Somebody may have removed the locks, which it says then.
       .recover = [] { return ask_who_is_there() <= 0; }},
      plain("get a directory", get_directory),
      plain("get a path", get_path),
      plain("set a line's status", set_line_status),
      plain("get a line's status", get_line_status),
      plain("set a line's circuit-switched status", set_cs_status),
      plain("get a line's circuit-switched status", get_cs_status),
      plain("set a phone's status", set_phone_status),
      plain("get a phone's status", get_phone_status),
      {.name = "share data",
       .prepare =
           [] {
             become_master();
             write_file("/tmp/shared_line_reg_status", "old");
             std::filesystem::remove("/tmp/shared_call_state_info");
             write_file("/tmp/shared_phone_status", "old");
           },
       .run = share,
       .files = {"/tmp/shared_line_reg_status", "/tmp/shared_call_state_info",
                 "/tmp/shared_phone_status"},
       .recover = [] { return share() == 0; }},
  };
  for (unsigned type = 0; type < std::size(kStackFiles); ++type) {
    operations.push_back(make_stack_file(type));
  }
  return operations;
}

}  // namespace capi::test
