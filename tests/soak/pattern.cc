// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "pattern.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace capi::soak {
namespace {

constexpr uint32_t kTextSizes = 300;

std::string decimal(uint32_t number) { return std::to_string(number); }

// "count" letters that fill a number's four bytes as well; none for a block that was never stored.
struct Filling {
  std::string number;
  char letter;

  std::string text(size_t count) const {
    return letter == '\0' ? std::string() : std::string(count, letter);
  }
};

Filling filling_of(std::string_view line) {
  constexpr std::string_view kStart = "line=";
  if (!line.starts_with(kStart)) return {"none", '\0'};
  const int32_t number = atoi(std::string(line.substr(kStart.size())).c_str());
  return {std::to_string(number), static_cast<char>(number)};
}

std::string line_status(const Filling& is) {
  return "line=" + is.number + ",regstatus=" + is.text(64) + ",vm=" + is.number +
         ",noe911=" + is.number + ",simdeactived=" + is.number + ",callfailed=" + is.number;
}

std::string call_state(const Filling& is) {
  std::string line = "line=" + is.number;
  for (const char* call : {"1", "2", "3"}) {
    line += std::string(",state") + call + "=" + is.number + ",name" + call + "=" + is.text(32) +
            ",number" + call + "=" + is.text(32);
  }
  return line;
}

std::string phone_status(const Filling& is) {
  return "line=" + is.number + ",hook=" + is.number + ",incoming=" + is.number;
}

bool is_whole_status(std::string_view file, std::string (*expected)(const Filling&)) {
  const size_t end = file.find('\n');
  if (end == std::string_view::npos) return false;
  const std::string_view first = file.substr(0, end);
  const std::string_view second = file.substr(end + 1);
  return first == expected(filling_of(first)) && second == expected(filling_of(second));
}

// The last line that is not empty.
std::string_view last_line(std::string_view file) {
  while (file.ends_with('\n')) file.remove_suffix(1);
  return file.substr(file.rfind('\n') + 1);
}

}  // namespace

char letter(uint32_t number) { return static_cast<char>('A' + number % 26); }

bool is_uniform(std::span<const uint8_t> bytes) {
  return bytes.size() < 2 || memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

capi_call_log_record make_call(uint32_t number) {
  capi_call_log_record call{};
  call.endpt = static_cast<uint16_t>(number);
  call.calltimestart = number;
  call.calltimeconnect = number + 1;
  call.calltimeend = number + 2;
  snprintf(call.displayname, sizeof call.displayname, "Caller %s", decimal(number).c_str());
  snprintf(call.number, sizeof call.number, "+49%s", decimal(number).c_str());
  uint32_t words[sizeof call.statistics / sizeof(uint32_t)];
  std::fill(std::begin(words), std::end(words), number);
  memcpy(&call.statistics, words, sizeof words);
  return call;
}

uint32_t number_of(const capi_call_log_record& call) { return call.calltimestart; }

bool is_whole(const capi_call_log_record& call) {
  const capi_call_log_record made = make_call(number_of(call));
  return call.calltype < CAPI_CALL_LOG_TYPES && call.endpt == made.endpt &&
         call.calltimeconnect == made.calltimeconnect && call.calltimeend == made.calltimeend &&
         memcmp(call.displayname, made.displayname, sizeof made.displayname) == 0 &&
         memcmp(call.number, made.number, sizeof made.number) == 0 &&
         memcmp(&call.statistics, &made.statistics, sizeof made.statistics) == 0;
}

// Its status, bRead and LastTime belong to updates, which set all three to one value.
void fill_sms(capi_sms_record& message, uint32_t number) {
  memset(&message, 0, offsetof(capi_sms_record, Text));
  message.BeginTime = number;
  memset(message.imsi, letter(number), sizeof message.imsi - 1);
  snprintf(message.LocalNumber, sizeof message.LocalNumber, "+%s", decimal(number).c_str());
  snprintf(message.RemoteNumber, sizeof message.RemoteNumber, "+49%s", decimal(number).c_str());
  message.TextLen = message.TextSize = number % kTextSizes;
  message.TextType = number;
  memset(message.Text, letter(number), message.TextSize);
}

uint32_t number_of(const capi_sms_record& message) { return message.BeginTime; }

bool is_whole(const capi_sms_record& message) {
  static capi_sms_record made;
  fill_sms(made, number_of(message));
  made.id = message.id;
  made.status = made.bRead = message.status;
  made.LastTime = message.status;
  return message.TextSize == made.TextSize &&
         memcmp(&message, &made, offsetof(capi_sms_record, Text) + made.TextSize) == 0;
}

bool is_whole_sent(const capi_sms_record& message) {
  static capi_sms_record made;
  fill_sms(made, message.TextType);
  const bool updated = message.bRead == message.status && message.LastTime == message.status;
  const bool as_sent = message.status == CAPI_SMS_STATUS_SENDING && message.bRead == 0;
  return message.TextLen == made.TextLen && message.TextSize == made.TextLen + 2 &&
         (updated || as_sent) && strcmp(message.RemoteNumber, made.RemoteNumber) == 0 &&
         memcmp(message.Text, made.Text, made.TextLen) == 0;
}

bool is_whole_line_status(std::string_view file) { return is_whole_status(file, line_status); }
bool is_whole_call_state(std::string_view file) { return is_whole_status(file, call_state); }
bool is_whole_phone_status(std::string_view file) { return is_whole_status(file, phone_status); }

bool is_whole_sim_file(std::string_view file) {
  return file.ends_with('\n') && last_line(file).starts_with("MBDN=");
}

bool is_whole_stack_file(std::string_view file) {
  return file.ends_with("\n\n") && last_line(file).starts_with("access=");
}

}  // namespace capi::soak
