// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms_check.h"

#include <capi.h>

#include <algorithm>
#include <cstring>

#include "adapter.h"

namespace tools {
namespace {

constexpr size_t kHeader = 56;
constexpr size_t kMaxFile = 81920;
constexpr uint32_t kVersion = 1;
// Of the header.
constexpr size_t kCountAt = 4;
constexpr size_t kLastIdAt = 16;
// Of a message: its mark, and the bytes in front of the record and in its fixed part.
constexpr uint32_t kMark = 0x534D5354;
constexpr size_t kHead = 8;
constexpr size_t kFixed = offsetof(capi_sms_record, Text);
constexpr size_t kTextSizeAt = kHead + offsetof(capi_sms_record, TextSize);

// 0 where the file is too short.
template <typename Number>
Number number_at(const std::string& content, size_t offset) {
  Number number = 0;
  if (offset + sizeof number <= content.size()) {
    memcpy(&number, content.data() + offset, sizeof number);
  }
  return number;
}

class Checker {
 public:
  explicit Checker(const std::string& content) : content_(content) {}

  Faults check() {
    if (content_.size() > kMaxFile) {
      find("it has " + std::to_string(content_.size()) + " bytes, more than " +
               std::to_string(kMaxFile),
           Outcome::AtStart);
    }
    if (content_.size() < kHeader) {
      find("it is shorter than its header of 56 bytes", Outcome::Replaced);
    } else if (check_header()) {
      walk();
    }
    return std::move(faults_);
  }

 private:
  void find(const std::string& text, Outcome outcome) { faults_.push_back({text, outcome}); }

  bool refuse(size_t offset, const std::string& text) {
    find("at byte " + std::to_string(offset) + ": " + text, Outcome::Replaced);
    return false;
  }

  bool check_header() {
    const auto version = number_at<uint32_t>(content_, 0);
    const auto count = number_at<uint32_t>(content_, kCountAt);
    if (version != kVersion) {
      find("it is of version " + std::to_string(version) + " instead of 1", Outcome::Replaced);
    } else if (count > CAPI_SMS_MAX_MESSAGES) {
      find("it counts " + std::to_string(count) + " messages, more than " +
               std::to_string(CAPI_SMS_MAX_MESSAGES),
           Outcome::Replaced);
    } else {
      return true;
    }
    return false;
  }

  void walk() {
    size_t offset = kHeader;
    uint32_t found = 0;
    // One byte behind the head of a message makes it one.
    for (; offset + kHead < content_.size(); ++found) {
      if (!check_message(offset)) return;
      check_id(offset);
      offset += kHead + number_at<uint32_t>(content_, offset + 4);
    }
    const auto count = number_at<uint32_t>(content_, kCountAt);
    if (offset != content_.size()) {
      refuse(offset, "stray bytes behind the last message");
    } else if (found != count) {
      find("it counts " + std::to_string(count) + " messages and holds " + std::to_string(found),
           Outcome::Replaced);
    }
  }

  bool check_message(size_t offset) {
    if (number_at<uint32_t>(content_, offset) != kMark) {
      return refuse(offset, "no message begins here");
    }
    const size_t length = number_at<uint32_t>(content_, offset + 4);
    const size_t left = content_.size() - offset - kHead;
    if (left < kFixed || left < length) return refuse(offset, "the message is cut");
    const uint64_t text = number_at<uint32_t>(content_, offset + kTextSizeAt);
    return length == text + kFixed || refuse(offset, "the message's length does not suit its text");
  }

  void check_id(size_t offset) {
    const auto id = number_at<uint64_t>(content_, offset + kHead);
    const auto last = number_at<uint64_t>(content_, kLastIdAt);
    const std::string where = "at byte " + std::to_string(offset) + ": id " + std::to_string(id);
    if (id <= former_id_) find(where + " does not rise above the one before", Outcome::Ignored);
    if (id > last) find(where + " will be given again", Outcome::Ignored);
    former_id_ = id;
  }

  const std::string& content_;
  uint64_t former_id_ = 0;
  Faults faults_;
};

StoredMessage message_at(const std::string& content, size_t offset) {
  capi_sms_record record{};
  memcpy(&record, content.data() + offset, kFixed);
  const size_t size = std::min({record.TextLen, record.TextSize, uint32_t{CAPI_SMS_TEXT_CAPACITY}});
  return {record.id,
          record.status,
          record.bRead != 0,
          record.BeginTime,
          text_of(record.LocalNumber),
          text_of(record.RemoteNumber),
          record.TextType,
          content.substr(offset + kFixed, size)};
}

}  // namespace

Faults check_messages(const std::string& content) { return Checker(content).check(); }

unsigned count_messages(const std::string& content) {
  return number_at<uint32_t>(content, kCountAt);
}

std::vector<StoredMessage> messages_of(const std::string& content) {
  std::vector<StoredMessage> messages;
  for (size_t offset = kHeader; offset + kHead + kFixed <= content.size();) {
    messages.push_back(message_at(content, offset + kHead));
    offset += kHead + number_at<uint32_t>(content, offset + 4);
  }
  return messages;
}

}  // namespace tools
