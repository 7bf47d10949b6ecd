// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What happens to the lines, in words.
#include <cstring>

#include "record_changes.h"

namespace tools::capictl {
namespace {

using Record = cfg_shared_record;

std::string number_of_line(int line) { return "line " + std::to_string(line + 1); }

ChangeLine begin(const char* change, int line) {
  ChangeLine result(CAPI_TOPIC_LINES, change);
  result.number("line", line + 1);
  return result;
}

std::string reason_of(const capi_line_reg_stat& stat) {
  std::string text = text_of(stat.reason_text);
  const std::string detail = text_of(stat.detail_text);
  if (!detail.empty()) text += (text.empty() ? "" : ", ") + detail;
  return text.empty() ? text : ": " + text;
}

ChangeLine registration(const Record& now, int line, int stack) {
  capi_line_reg_stat stat{};
  capi_live_get_line_reg_stat(line, &stat, stack);
  const std::string type = text_of(now.voice_stack[stack].type);
  const bool is_registered = stat.registered != 0;
  const std::string where =
      " on stack " + std::to_string(stack + 1) + (type.empty() ? "" : " (" + type + ")");
  ChangeLine result = begin("registration", line);
  result.number("stack", stack + 1)
      .text("type", type)
      .flag("registered", is_registered)
      .text("reason", text_of(stat.reason_text))
      .text("detail", text_of(stat.detail_text));
  result.words(number_of_line(line) + (is_registered ? " is registered" : " is not registered") +
               where + reason_of(stat));
  return result;
}

ChangeLine cs_registration(const Record& now, int line) {
  std::string words = number_of_line(line) + ": circuit-switched registration";
  for (const int32_t value : now.cs_reg_stat[line].value) words += " " + std::to_string(value);
  ChangeLine result = begin("cs_registration", line);
  result.numbers("values", now.cs_reg_stat[line].value, std::size(now.cs_reg_stat[line].value));
  result.words(words);
  return result;
}

std::string phone_text(const Record& record, int line) {
  const std::string text = text_of(record.phone_phy_status[line]);
  return text.empty() ? "Unknown" : text;
}

ChangeLine phone(const Record& before, const Record& now, int line) {
  const std::string text = phone_text(now, line);
  ChangeLine result = begin("phone", line);
  result.text("old", phone_text(before, line)).text("new", text);
  result.words(number_of_line(line) + ": the telephone is " + text);
  return result;
}

ChangeLine hook(const Record& now, int line) {
  const capi_shared_phone_status& status = now.shared_phone_status[line];
  ChangeLine result = begin("hook", line);
  result.flag("off_hook", status.hook != 0).flag("incoming", status.incoming != 0);
  result.words(number_of_line(line) + (status.hook != 0 ? " is off the hook" : " is on the hook") +
               (status.incoming != 0 ? ", with a call coming in" : ""));
  return result;
}

ChangeLine summary(const Record& now, int line) {
  const capi_shared_reg_summary& status = now.shared_reg_summary[line];
  const std::string text = text_of(status.regstatus);
  ChangeLine result = begin("summary", line);
  result.text("status", text)
      .flag("voice_mail", status.vm != 0)
      .flag("no_e911", status.noe911 != 0)
      .flag("sim_deactivated", status.simdeactived != 0)
      .flag("call_failed", status.callfailed != 0);
  std::string words = number_of_line(line) + ": " + (text.empty() ? "no status" : text);
  words += status.vm != 0 ? ", voice mail is waiting" : ", no voice mail";
  if (status.noe911 != 0) words += ", no emergency calls";
  if (status.simdeactived != 0) words += ", the SIM is deactivated";
  if (status.callfailed != 0) words += ", a call has failed";
  result.words(words);
  return result;
}

ChangeLine call(const Record& now, int line, int index) {
  const capi_shared_call& status = now.shared_call_state[line].call[index];
  const std::string name = text_of(status.name);
  const std::string number = text_of(status.number);
  const char* state = capi_convert_call_state_to_string(status.state);
  ChangeLine result = begin("call", line);
  result.number("call", index + 1)
      .number("state", status.state)
      .text("status", state)
      .text("number", number)
      .text("name", name);
  result.words(number_of_line(line) + ": call " + std::to_string(index + 1) + " is " + state +
               (number.empty() ? "" : ", " + number) + (name.empty() ? "" : ", " + name));
  return result;
}

template <typename T>
bool differs(const T& a, const T& b) {
  return memcmp(&a, &b, sizeof a) != 0;
}

void add_line(ChangeLines& lines, const Record& before, const Record& now, int line) {
  for (int stack = 0; stack < CAPI_VOICE_STACKS; ++stack) {
    if (!differs(before.reg_stat[stack][line], now.reg_stat[stack][line])) continue;
    lines.push_back(registration(now, line, stack));
  }
  if (differs(before.cs_reg_stat[line], now.cs_reg_stat[line])) {
    lines.push_back(cs_registration(now, line));
  }
  if (phone_text(before, line) != phone_text(now, line)) lines.push_back(phone(before, now, line));
  if (differs(before.shared_phone_status[line], now.shared_phone_status[line])) {
    lines.push_back(hook(now, line));
  }
  if (differs(before.shared_reg_summary[line], now.shared_reg_summary[line])) {
    lines.push_back(summary(now, line));
  }
  for (int i = 0; i < CAPI_CALLS_PER_LINE; ++i) {
    const auto& was = before.shared_call_state[line].call[i];
    if (differs(was, now.shared_call_state[line].call[i])) lines.push_back(call(now, line, i));
  }
}

}  // namespace

ChangeLines line_changes(const Record& before, const Record& now) {
  ChangeLines lines;
  for (int line = 0; line < CAPI_SIP_LINES; ++line) add_line(lines, before, now, line);
  return lines;
}

}  // namespace tools::capictl
