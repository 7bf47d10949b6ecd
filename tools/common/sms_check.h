// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is unsound in a file of short messages, in words.
#pragma once

#include "fault.h"

namespace tools {

Faults check_messages(const std::string& content);

// How many messages a file counts that is usable.
unsigned count_messages(const std::string& content);

// The messages of one, the oldest first. Of each text there is as much as belongs to it.
struct StoredMessage {
  uint64_t id;
  unsigned status;
  bool is_read;
  uint32_t stored_at;  // seconds since 1970
  std::string local;
  std::string remote;
  uint32_t text_type;
  std::string text;
};
std::vector<StoredMessage> messages_of(const std::string& content);

}  // namespace tools
