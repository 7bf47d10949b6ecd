// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The short messages of the stores.
#pragma once

#include <capi.h>

#include <memory>
#include <string>
#include <vector>

#include "filter.h"
#include "sms_check.h"
#include "table.h"

namespace tools {

// The boxes, in the order of their selectors (CAPI_SMS_RECEIVED, CAPI_SMS_SENT).
inline constexpr const char* kMessageBoxes[] = {"received", "sent"};
int message_selector(const std::string& box);

// A row of the table of messages, and the id by which the library knows it.
struct Message {
  uint64_t id;
  std::vector<std::string> cells;
};

// Those of a box that are meant, the newest first. Throws a Failure.
std::vector<Message> read_messages(const std::string& box, const Filter& filter);

// The same for those of a file that is known already, the oldest first.
std::vector<Message> meant_messages(const std::vector<StoredMessage>& stored, const Filter& filter);

// One of them. Throws a Failure where there is none.
std::unique_ptr<capi_sms_record> read_message(const std::string& box, uint64_t id);

// All that is known of a message.
Table message_facts(const capi_sms_record& record);

// Throws a Failure for what nobody can be reached by.
void refuse_wrong_number(const std::string& number);

// Each throws a Failure when it cannot be done.
void send_message(const std::string& number, uint32_t type, const std::string& text);
void mark_message_read(const std::string& box, uint64_t id);
void delete_message(const std::string& box, uint64_t id);

Table message_table(std::vector<Message> messages, const Order& order);

// The messages of a box that are meant. Throws a Failure.
Table message_table(const std::string& box, const Filter& filter, const Order& order);

}  // namespace tools
