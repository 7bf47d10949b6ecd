// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms_check.h"

#include <capi.h>

#include <cstring>

namespace capictl {
namespace {

constexpr size_t kHeader = 56;
constexpr size_t kMaxFile = 81920;
constexpr uint32_t kVersion = 1;
// Of a record: its mark, and the bytes in front of and in the fixed part of the message.
constexpr uint32_t kMark = 0x534D5354;
constexpr size_t kTypeAndLength = 8;
constexpr uint32_t kFixed = offsetof(capi_sms_record, Text);
constexpr size_t kTextSizeAt = kTypeAndLength + offsetof(capi_sms_record, TextSize);

uint32_t number_at(const std::string& content, size_t offset) {
  uint32_t number = 0;
  if (offset + sizeof number <= content.size()) {
    memcpy(&number, content.data() + offset, sizeof number);
  }
  return number;
}

std::string at(size_t offset) { return "at byte " + std::to_string(offset) + ": "; }

}  // namespace

std::vector<std::string> check_messages(const std::string& content) {
  if (content.size() < kHeader) return {"it is shorter than its head of 56 bytes"};
  if (content.size() > kMaxFile) return {"it is larger than 81920 bytes"};
  const uint32_t count = number_at(content, 4);
  if (number_at(content, 0) != kVersion) return {"it is not of version 1"};
  if (count > CAPI_SMS_MAX_MESSAGES) return {"it counts " + std::to_string(count) + " messages"};
  uint32_t found = 0;
  size_t offset = kHeader;
  while (offset + kTypeAndLength < content.size()) {
    const uint32_t length = number_at(content, offset + 4);
    if (number_at(content, offset) != kMark) return {at(offset) + "no message begins here"};
    if (length != number_at(content, offset + kTextSizeAt) + kFixed) {
      return {at(offset) + "the message's length does not suit its text"};
    }
    offset += kTypeAndLength + length;
    if (offset > content.size()) return {"its last message is cut"};
    ++found;
  }
  if (offset != content.size()) return {at(offset) + "stray bytes behind the last message"};
  if (found == count) return {};
  return {"it counts " + std::to_string(count) + " messages and holds " + std::to_string(found)};
}

}  // namespace capictl
