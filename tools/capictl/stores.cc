// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "stores.h"

#include <memory>

namespace capictl {
namespace {

void add_calls(Table& table) {
  const auto image = std::make_unique<capi_call_log_image>();
  const bool is_sound = capi_voip_read_call_log(image.get()) == 0;
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    table.add({"calls of type " + std::to_string(type),
               is_sound ? std::to_string(image->header.entry[type].list.count) : "",
               is_sound ? "sound" : "cannot be read"});
  }
}

int count_message(const capi_sms_record*, void* user) {
  ++*static_cast<int*>(user);
  return 0;
}

void add_messages(Table& table, const char* name, int selector) {
  int count = 0;
  const bool is_sound = capi_voip_sms_dump(selector, count_message, &count) == 0;
  table.add({name, is_sound ? std::to_string(count) : "", is_sound ? "sound" : "cannot be read"});
}

}  // namespace

Table store_table() {
  Table table("stores", {{"store"}, {"entries", true}, {"state"}});
  add_calls(table);
  add_messages(table, "received messages", CAPI_SMS_RECEIVED);
  add_messages(table, "sent messages", CAPI_SMS_SENT);
  return table;
}

}  // namespace capictl
