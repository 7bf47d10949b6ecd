// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How far calls and messages were told: what is behind that in the stores follows, whenever there
// is a way to tell it.
#pragma once

#include <capi.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tools::mqtt {

struct Event {
  std::string name;  // of its topic: "event/call"
  std::string text;
};

struct Cursor {
  uint64_t seq = 0;  // of the last event

  // Whether they were told at all: what happened while they were not is not told later.
  bool tells_calls = false;
  bool tells_messages = false;

  // The last call, if there was one.
  bool has_call = false;
  uint16_t call = 0;       // its sequence
  uint32_t call_mark = 0;  // what tells it from another call of that sequence

  // The last message of each box, by selector.
  struct Box {
    uint64_t identity = 0;  // of the file
    uint64_t id = 0;
  };
  Box boxes[2];

  // The last event until it is acknowledged: should it have arrived, no other one may have its
  // number. Without a name for none.
  Event unacknowledged;
};

// A text of lines, the last of which tells that none is missing.
std::string text_of(const Cursor& cursor);
bool read(const std::string& text, Cursor& cursor);

// Calls in the order in which they were added.
struct CallList {
  std::vector<capi_call_log_record> calls;
  uint16_t next_sequence = 0;
};
CallList calls_in(const capi_call_log_image& image);

// Where the calls begin that are new. Those of a log that was made anew are all new.
size_t first_new(const CallList& list, const Cursor& cursor);

void pass(Cursor& cursor, const capi_call_log_record& call);

// The identity of a file of messages; 0 for one that has none.
uint64_t identity_in(const std::string& content);

// The id from which on the messages of a box are new.
uint64_t first_new_id(const Cursor::Box& box, uint64_t identity);

}  // namespace tools::mqtt
