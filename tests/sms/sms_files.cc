// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms_files.h"

#include <algorithm>
#include <cstring>

#include "sms/work_buffer.h"
#include "support/faults.h"

namespace capi::test {
namespace {

std::string little_endian(uint64_t number, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
  return bytes;
}

uint64_t number_at(const std::string& bytes, size_t offset, int width) {
  uint64_t number = 0;
  for (int i = width - 1; i >= 0; --i) {
    number = number << 8 | static_cast<uint8_t>(bytes.at(offset + static_cast<size_t>(i)));
  }
  return number;
}

std::string padded(std::string text, size_t width) {
  text.resize(width);
  return text;
}

std::string text_at(const std::string& bytes, size_t offset, size_t width) {
  const std::string field = bytes.substr(offset, width);
  return field.substr(0, field.find('\0'));
}

std::string message_bytes(const Message& message) {
  return u64(message.id) + std::string(2, '\0') + static_cast<char>(message.status) +
         static_cast<char>(message.is_read) + std::string(8, '\0') + u32(message.begin_time) +
         u32(message.last_time) + padded(message.imsi, 16) + padded(message.local, 24) +
         padded(message.remote, 24) + u32(message.text_len) +
         u32(static_cast<uint32_t>(message.text.size())) + u32(message.type) + message.text;
}

Message from_bytes(const std::string& bytes) {
  return {.id = number_at(bytes, 0, 8),
          .text = bytes.substr(104, static_cast<size_t>(number_at(bytes, 96, 4))),
          .status = static_cast<uint8_t>(bytes[10]),
          .is_read = static_cast<uint8_t>(bytes[11]),
          .begin_time = static_cast<uint32_t>(number_at(bytes, 20, 4)),
          .last_time = static_cast<uint32_t>(number_at(bytes, 24, 4)),
          .imsi = text_at(bytes, 28, 16),
          .local = text_at(bytes, 44, 24),
          .remote = text_at(bytes, 68, 24),
          .text_len = static_cast<uint32_t>(number_at(bytes, 92, 4)),
          .type = static_cast<uint32_t>(number_at(bytes, 100, 4))};
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Message& message) {
  return out << "{id " << message.id << ", imsi " << message.imsi << ", " << message.text.size()
             << " bytes: " << message.text.substr(0, 16) << "}";
}

capi_sms_record to_record(const Message& message) {
  capi_sms_record record{};
  const std::string bytes = message_bytes(message);
  memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
  return record;
}

Message from_record(const capi_sms_record& record) {
  return from_bytes(std::string(reinterpret_cast<const char*>(&record), sizeof record));
}

std::string u32(uint32_t number) { return little_endian(number, 4); }
std::string u64(uint64_t number) { return little_endian(number, 8); }

std::string item(const Message& message) {
  return item(message, 0x534D5354, static_cast<uint32_t>(message.text.size()) + 104);
}

std::string item(const Message& message, uint32_t type, uint32_t length) {
  return u32(type) + u32(length) + message_bytes(message);
}

std::string header(const Header& header) {
  return u32(header.version) + u32(header.count) + u64(header.identity) + u64(header.last_id) +
         padded(header.imsi0, 16) + padded(header.imsi1, 16);
}

std::string sms_file(std::vector<Message> messages, Header head) {
  std::string items;
  for (Message& message : messages) {
    if (message.id == 0) message.id = head.last_id + 1;
    head.last_id = std::max(head.last_id, message.id);
    ++head.count;
    items += item(message);
  }
  return header(head) + items;
}

uint32_t count_in(const std::string& file) { return static_cast<uint32_t>(number_at(file, 4, 4)); }
uint64_t identity_in(const std::string& file) { return number_at(file, 8, 8); }
uint64_t last_id_in(const std::string& file) { return number_at(file, 16, 8); }

std::vector<Message> messages_in(const std::string& file) {
  std::vector<Message> messages;
  size_t offset = 56;
  while (offset < file.size()) {
    EXPECT_EQ(file.substr(offset, 4), "TSMS");
    const auto length = static_cast<size_t>(number_at(file, offset + 4, 4));
    messages.push_back(from_bytes(file.substr(offset + 8, length)));
    EXPECT_EQ(length, messages.back().text.size() + 104);
    offset += 8 + length;
  }
  EXPECT_EQ(count_in(file), messages.size());
  return messages;
}

std::vector<uint64_t> ids_in(const std::string& file) {
  std::vector<uint64_t> ids;
  for (const Message& message : messages_in(file)) ids.push_back(message.id);
  return ids;
}

void SmsTest::SetUp() {
  Adapter::SetUp();
  clear_faults();
  start_master();
}

void SmsTest::TearDown() {
  clear_faults();
  const uint8_t* memory = request_sms_memory(1);
  EXPECT_NE(memory, nullptr) << "the work buffer was left in use";
  release_sms_memory(memory);
  Adapter::TearDown();
}

std::string SmsTest::add(int selector, const std::vector<Message>& messages) {
  for (const Message& message : messages) {
    capi_sms_record record = to_record(message);
    EXPECT_EQ(capi_voip_sms_add(selector, &record), 0);
  }
  clear_log();
  new_signals();
  return read_file(selector == 0 ? kReceived : kSent);
}

std::vector<std::string> SmsTest::new_signals() {
  const std::vector<std::string> all = posted();
  const std::vector<std::string> signals(all.begin() + seen_signals_, all.end());
  seen_signals_ += static_cast<std::ptrdiff_t>(signals.size());
  return signals;
}

std::string update_signal(const std::string& change, const std::string& id) {
  return R"(signal json {"msg":"signal","name":"vop_sig_voip_sms_updated_out","attrs":{"param1":")" +
         change + R"(","param2":")" + id + R"(","param3":""}})";
}

}  // namespace capi::test
