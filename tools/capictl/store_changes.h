// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What happens to the stores of calls and of messages.
#pragma once

#include <optional>

#include "change_line.h"
#include "sms_check.h"
#include "stores.h"

namespace tools::capictl {

// Each knows what a store held at the last look, and tells what differs since. Looking leaves the
// files as they are: one that the library would replace is told as "changed".
class CallChanges {
 public:
  CallChanges();
  ChangeLines look();

 private:
  using Calls = std::vector<capi_call_log_record>;
  static std::optional<Calls> read();

  Calls calls_;
};

class MessageChanges {
 public:
  MessageChanges();
  ChangeLines look();

 private:
  struct Box {
    const char* name;
    const Store& store;
    std::string content;  // of the file
    std::vector<StoredMessage> messages;
  };
  static void look(Box& box, ChangeLines& lines);

  Box boxes_[2];
};

}  // namespace tools::capictl
