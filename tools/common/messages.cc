// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "messages.h"

#include <algorithm>
#include <ctime>

#include "adapter.h"
#include "text.h"

namespace tools {
namespace {

std::string body_of(const capi_sms_record& record) {
  return std::string(
      record.Text, std::min({size_t{record.TextLen}, size_t{record.TextSize}, sizeof record.Text}));
}

// Those that are meant, on their way out of the store.
struct Walk {
  Matcher is_meant;
  std::vector<Message> messages = {};
};

void take(const StoredMessage& message, Walk& walk) {
  if (!walk.is_meant({.time = message.stored_at,
                      .number = message.remote,
                      .is_read = message.is_read,
                      .text = message.text})) {
    return;
  }
  walk.messages.push_back(
      {message.id,
       {std::to_string(message.id), message.is_read ? "1" : "0", std::to_string(message.status),
        time_or_number(message.stored_at), message.local, message.remote,
        std::to_string(message.text_type), message.text}});
}

int take_message(const capi_sms_record* record, void* user) {
  take({record->id, record->status, record->bRead != 0, record->BeginTime,
        text_of(record->LocalNumber), text_of(record->RemoteNumber), record->TextType,
        body_of(*record)},
       *static_cast<Walk*>(user));
  return 0;
}

bool is_number(const std::string& text) {
  const size_t first = text.starts_with('+') ? 1 : 0;
  return text.size() > first && text.find_first_not_of("0123456789*#", first) == std::string::npos;
}

}  // namespace

int message_selector(const std::string& box) {
  return box == kMessageBoxes[CAPI_SMS_SENT] ? CAPI_SMS_SENT : CAPI_SMS_RECEIVED;
}

std::vector<Message> read_messages(const std::string& box, const Filter& filter) {
  Walk walk{Matcher(filter)};
  if (capi_voip_sms_dump(message_selector(box), take_message, &walk) != 0) {
    throw Failure(
        "the messages cannot be read. If their file was damaged, there is an empty one now, and a "
        "copy whose name ends in .err");
  }
  std::ranges::reverse(walk.messages);
  return std::move(walk.messages);
}

std::vector<Message> meant_messages(const std::vector<StoredMessage>& stored,
                                    const Filter& filter) {
  Walk walk{Matcher(filter)};
  for (const StoredMessage& message : stored) take(message, walk);
  std::ranges::reverse(walk.messages);
  return std::move(walk.messages);
}

std::unique_ptr<capi_sms_record> read_message(const std::string& box, uint64_t id) {
  auto record = std::make_unique<capi_sms_record>();
  if (capi_voip_sms_get(message_selector(box), id, record.get()) != 0) {
    throw Failure("there is no " + box + " message " + std::to_string(id) +
                      ". All of them: capictl sms list " + box,
                  {kNotFound});
  }
  return record;
}

Table message_facts(const capi_sms_record& record) {
  Table table = Table::of_facts("message");
  table.add_fact({"id", Type::Number}, std::to_string(record.id));
  table.add_fact({"status", Type::Number}, std::to_string(record.status));
  table.add_fact({"read", Type::Flag}, std::to_string(record.bRead));
  table.add_fact({"stored", Type::Time}, time_or_number(record.BeginTime));
  table.add_fact({"changed", Type::Time}, time_or_number(record.LastTime));
  table.add({"IMSI", text_of(record.imsi)});
  table.add({"local number", text_of(record.LocalNumber)});
  table.add({"remote number", text_of(record.RemoteNumber)});
  table.add_fact({"text type", Type::Number}, std::to_string(record.TextType));
  table.add({"text", body_of(record)});
  return table;
}

void refuse_wrong_number(const std::string& number) {
  if (!is_number(number)) {
    throw Failure("\"" + printable(number) +
                      "\" is no phone number: digits, * and #, with a + in front or without",
                  {kRefused});
  }
  if (number.size() >= sizeof(capi_sms_record::RemoteNumber)) {
    throw Failure("the number is too long: it has up to 23 characters", {kRefused});
  }
}

void send_message(const std::string& number, uint32_t type, const std::string& text) {
  if (capi_voip_sms_send(number.c_str(), type, text.data(), static_cast<uint32_t>(text.size())) !=
      0) {
    throw Failure(
        "the message was not stored: is there a SIM, and is the text at most 39100 bytes?");
  }
}

void mark_message_read(const std::string& box, uint64_t id) {
  const std::unique_ptr<capi_sms_record> record = read_message(box, id);
  record->bRead = 1;
  record->LastTime = static_cast<uint32_t>(time(nullptr));
  if (capi_voip_sms_update(message_selector(box), record.get()) != 0) {
    throw Failure("the message could not be changed; --verbose tells more");
  }
}

void delete_message(const std::string& box, uint64_t id) {
  read_message(box, id);
  if (capi_voip_sms_del_by_id(message_selector(box), id) != 0) {
    throw Failure("the message could not be deleted; --verbose tells more");
  }
}

Table message_table(std::vector<Message> messages, const Order& order) {
  Table table("messages", {{"id", Type::Number},
                           {"read", Type::Flag},
                           {"status", Type::Number},
                           {"time", Type::Time},
                           {"local"},
                           {"remote"},
                           {"type", Type::Number, "text_type"},
                           {.title = "text", .is_long = true}});
  order.apply(messages);
  for (Message& message : messages) table.add(std::move(message.cells));
  return table;
}

Table message_table(const std::string& box, const Filter& filter, const Order& order) {
  return message_table(read_messages(box, filter), order);
}

}  // namespace tools
