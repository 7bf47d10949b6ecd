// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The voice application publishes the live status of the lines, and everybody reads it.

#include <cstdio>
#include <cstring>
#include <ctime>

#include "scenes.h"

namespace demo {
namespace {

constexpr int kLine = 0;
constexpr int kVolte = 0;

int announced = 0;

int on_reg_stat(int line, int stack, capi_line_reg_stat* stored) {
  ++announced;
  say("callback: line %d on stack %d is %s", line, stack,
      stored->registered != 0 ? "registered" : "not registered");
  return 0;
}

int on_cs_reg_stat(int line, capi_line_cs_reg_stat* stored, cfg_shared_record*, int position) {
  ++announced;
  say("callback: circuit-switched line %d is %d, at byte %d", line, stored->value[0], position);
  return 0;
}

void publish_calls() {
  capi_shared_reg_summary summary{};
  summary.line = 1;
  strcpy(summary.regstatus, "Registered");
  summary.vm = 1;
  capi_shared_call_state calls{};
  calls.line = 1;
  calls.call[0].state = 4;
  strcpy(calls.call[0].number, "15551230100");
  strcpy(calls.call[0].name, "Workshop");
  const capi_shared_phone_status phone{1, 0, 1};
  expect(capi_set_shared_data(CAPI_SHARED_REG_SUMMARY_1, &summary) == 0 &&
             capi_set_shared_data(CAPI_SHARED_CALL_STATE_1, &calls) == 0 &&
             capi_set_shared_data(CAPI_SHARED_PHONE_STATUS_1, &phone) == 0,
         "published registration, calls and hook for the status files");
}

void publish() {
  capi_line_reg_stat stat{};
  stat.registered = 1;
  stat.reg_time = static_cast<int32_t>(time(nullptr)) - 90;
  expect(capi_set_runtime_line_reg_stat(kLine, &stat, kVolte) == 0, "line 0 is registered");
  const capi_line_cs_reg_stat cs{{1, 0, 0, 0, 0}};
  expect(capi_set_runtime_line_cs_reg_stat(kLine, &cs) == 0, "and circuit-switched too");
  expect(announced == 2, "both callbacks of this process were called");
  expect(capi_set_runtime_line_phone_phy_status(kLine, "Ringing") == 0, "its telephone rings");
  publish_calls();
}

void read_status() {
  capi_line_reg_stat stat{};
  capi_get_runtime_line_reg_stat(kLine, &stat, kVolte);
  expect(stat.registered == 1 && stat.reg_duration >= 90, "line 0: %s for %d s", stat.status_text,
         stat.reg_duration);
  capi_get_runtime_line_reg_stat(1, &stat, kVolte);
  expect(stat.registered == 0 && stat.fail_reason == 2, "line 1: %s, %s", stat.status_text,
         stat.reason_text);
  for (int line = 0; line < CAPI_SIP_LINES; ++line) {
    char phone[32];
    const bool told = capi_get_runtime_line_phone_phy_status(line, phone, sizeof phone) == 0;
    expect(told, "telephone %d: %s", line, phone);
  }
  expect(announced == 0, "nothing was called back in this process");
}

void read_files() {
  for (const char* file : {"/tmp/data/shared_line_reg_status", "/tmp/data/shared_call_state_info",
                           "/tmp/data/shared_phone_status"}) {
    show_file(file);
    expect(file_content(file).starts_with("line=1,"), "it tells of the first line");
  }
}

}  // namespace

void play_line_status(Stage& stage) {
  title("The lines' live status is published");
  stage.run_process("voice application", publish, {nullptr, on_cs_reg_stat, on_reg_stat});
  stage.run_process("web front end", read_status, {nullptr, on_cs_reg_stat, on_reg_stat});
  stage.run_process("status script", read_files);
}

}  // namespace demo
