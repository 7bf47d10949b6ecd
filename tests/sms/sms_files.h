// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Short-message files as bytes, put together without the library's own structures.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/adapter.h"

namespace capi::test {

inline constexpr char kReceived[] = "/tmp/sm_recv";
inline constexpr char kSent[] = "/tmp/sm_send";

// A message as a test describes it.
struct Message {
  uint64_t id = 0;
  std::string text = "hello";  // as stored: TextSize is its length
  uint8_t status = 1;
  uint8_t is_read = 0;
  uint32_t begin_time = 1000;
  uint32_t last_time = 2000;
  std::string imsi = "001011234567890";
  std::string local = "+15551230001";
  std::string remote = "+15551230002";
  uint32_t text_len = 5;
  uint32_t type = 7;

  bool operator==(const Message&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Message& message);

capi_sms_record to_record(const Message& message);
Message from_record(const capi_sms_record& record);

std::string u32(uint32_t number);
std::string u64(uint64_t number);

// A message in a file, with a type and a length of its own where it is to be wrong.
std::string item(const Message& message);
std::string item(const Message& message, uint32_t type, uint32_t length);

struct Header {
  uint32_t version = 1;
  uint32_t count = 0;
  uint64_t identity = 0x0123456789ABCDEF;
  uint64_t last_id = 0;
  std::string imsi0 = {};
  std::string imsi1 = {};
};

std::string header(const Header& header);

// A sound file of these messages, whose ids count up from 1 where they are 0.
std::string sms_file(std::vector<Message> messages, Header head = {});

// The numbers in a file's header.
uint32_t count_in(const std::string& file);
uint64_t identity_in(const std::string& file);
uint64_t last_id_in(const std::string& file);

// The messages of a file, which has to be sound.
std::vector<Message> messages_in(const std::string& file);
std::vector<uint64_t> ids_in(const std::string& file);

// An adapter whose master is this process, and which is checked to keep neither lock nor memory.
class SmsTest : public Adapter {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Adds messages, and forgets what that logged and posted. Returns the file.
  std::string add(int selector, const std::vector<Message>& messages);

  // What was posted since the last time.
  std::vector<std::string> new_signals();

 private:
  std::ptrdiff_t seen_signals_ = 0;
};

// What vsdk_cmd gets for the change of a message.
std::string update_signal(const std::string& change, const std::string& id);

}  // namespace capi::test
