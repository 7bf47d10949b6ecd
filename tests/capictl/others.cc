// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What other processes of an adapter do while the tests run the tool.
//
// others calls: adds two calls. others call TYPE LINE NUMBER START [NAME]: adds one that took a
// minute. others message NUMBER TEXT: receives a short message.
// others lines: publishes what two lines do; others talk: what they
// do then. others unnamed: writes what has no
// key. others settings COUNT: changes a setting so often.
// others start: starts as a master does, and publishes nothing. others hold ID: takes a lock, says
// so, and holds it until its standard input ends. others stats: has the library write of its locks.
#include <capi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

int add_call(unsigned type, const char* number, const char* name, uint32_t start) {
  capi_call_log_record record{};
  record.endpt = 1;
  record.calltimestart = start;
  record.calltimeconnect = start + 5;
  record.calltimeend = start + 65;
  record.statistics.PacketsLost = 7;
  strncpy(record.number, number, sizeof record.number - 1);
  strncpy(record.displayname, name, sizeof record.displayname - 1);
  return capi_voip_add_call_log(type, &record);
}

int add_calls() {
  return add_call(0, "15551230007", "Anna", 1000) | add_call(2, "15551230008", "\"B\", Carl", 2000);
}

int add_one_call(char** words, const char* name) {
  capi_call_log_record record{};
  record.endpt = static_cast<uint16_t>(atoi(words[1]));
  record.calltimestart = static_cast<uint32_t>(atoll(words[3]));
  record.calltimeconnect = record.calltimestart;
  record.calltimeend = record.calltimestart + 60;
  strncpy(record.number, words[2], sizeof record.number - 1);
  strncpy(record.displayname, name, sizeof record.displayname - 1);
  return capi_voip_add_call_log(static_cast<unsigned>(atoi(words[0])), &record);
}

int receive_message(const char* number, const char* text) {
  static capi_sms_record record;
  record.BeginTime = static_cast<uint32_t>(time(nullptr));
  strncpy(record.imsi, "001010123456789", sizeof record.imsi);
  strncpy(record.RemoteNumber, number, sizeof record.RemoteNumber - 1);
  strncpy(record.Text, text, sizeof record.Text - 1);
  record.TextLen = static_cast<uint32_t>(strlen(record.Text));
  record.TextSize = record.TextLen + 1;
  return capi_voip_sms_add(CAPI_SMS_RECEIVED, &record);
}

int publish_lines() {
  capi_line_reg_stat registered{};
  registered.registered = 1;
  registered.reg_time = 1000000000;
  capi_line_reg_stat rejected{};
  rejected.unreg_time = 1000000060;
  rejected.fail_reason = 4;
  rejected.detail_code = 403;
  capi_shared_phone_status phone{};
  phone.line = 1;
  phone.hook = 1;
  capi_shared_reg_summary summary{};
  summary.line = 1;
  summary.vm = 1;
  return capi_set_runtime_line_reg_stat(0, &registered, 1) |
         capi_set_runtime_line_reg_stat(1, &rejected, 0) |
         capi_set_runtime_line_phone_phy_status(0, "Off-hook") |
         capi_set_shared_data(CAPI_SHARED_PHONE_STATUS_1, &phone) |
         capi_set_shared_data(CAPI_SHARED_REG_SUMMARY_1, &summary);
}

int talk() {
  capi_line_reg_stat lost{};
  lost.fail_reason = 3;
  capi_shared_phone_status phone{};
  phone.line = 1;
  phone.incoming = 1;
  capi_shared_call_state calls{};
  calls.line = 1;
  calls.call[1].state = 4;
  strcpy(calls.call[1].number, "15551230100");
  strcpy(calls.call[1].name, "Workshop");
  const capi_line_cs_reg_stat cs{{1, -2, 0, 0, 5}};
  return capi_set_runtime_line_reg_stat(0, &lost, 1) | capi_set_runtime_line_cs_reg_stat(1, &cs) |
         capi_set_shared_data(CAPI_SHARED_PHONE_STATUS_1, &phone) |
         capi_set_shared_data(CAPI_SHARED_CALL_STATE_1, &calls);
}

// A block whose content is its maker's, and a member of a record that has no key.
int write_unnamed() {
  char block[CAPI_VENDOR_BYTES] = "maker's";
  capi_voice_stack stack{};
  if (capi_get_voice_stack(&stack, 1) != 0) return -1;
  stack.reserved = 7;
  return capi_set_voice_stack(&stack, 1) |
         capi_set_quorble_info(CAPI_QUORBLE_VENDOR, block, sizeof block);
}

int change_settings(long count) {
  int result = 0;
  for (; count > 0 && result == 0; --count) {
    result = capi_config_set("sms", "option_sms_sca", 0, count % 2 != 0 ? "+1" : "+2");
  }
  return result;
}

int hold(unsigned lock) {
  if (capi_critical_section_lock(lock) != 0) return 1;
  puts("held");
  fflush(stdout);
  while (getchar() != EOF) continue;
  return capi_critical_section_unlock(lock);
}

}  // namespace

int main(int argc, char** argv) {
  const char* what = argc > 1 ? argv[1] : "";
  int result = -1;
  const capi_callbacks callbacks{};
  const bool is_master = strcmp(what, "start") == 0;
  capi_init(is_master ? &callbacks : nullptr, is_master ? 1 : 0, [](int, const char*) {});
  if (is_master) result = 0;
  if (strcmp(what, "calls") == 0) result = add_calls();
  if (strcmp(what, "call") == 0 && argc > 5)
    result = add_one_call(argv + 2, argc > 6 ? argv[6] : "");
  if (strcmp(what, "message") == 0 && argc > 3) result = receive_message(argv[2], argv[3]);
  if (strcmp(what, "lines") == 0) result = publish_lines();
  if (strcmp(what, "talk") == 0) result = talk();
  if (strcmp(what, "unnamed") == 0) result = write_unnamed();
  if (strcmp(what, "settings") == 0 && argc > 2) result = change_settings(atol(argv[2]));
  if (strcmp(what, "stats") == 0) result = capi_critical_section_lock_stats();
  if (strcmp(what, "hold") == 0 && argc > 2) result = hold(static_cast<unsigned>(atoi(argv[2])));
  return result == 0 ? 0 : 1;
}
