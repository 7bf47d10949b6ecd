// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "cursor.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>

namespace tools::mqtt {
namespace {

constexpr char kTitle[] = "capi-mqtt-cursor 1";
constexpr char kEnd[] = "end";
constexpr const char* kBoxes[] = {"received", "sent"};

// Sequences are 0 to 65534.
constexpr unsigned kSequences = 65535;

unsigned steps(unsigned from, unsigned to) { return (to + kSequences - from) % kSequences; }

bool is_behind(unsigned from, unsigned to) {
  const unsigned way = steps(from, to);
  return way > 0 && way <= kSequences / 2;
}

void add(uint32_t& mark, std::string_view bytes) {
  for (const char c : bytes) mark = (mark ^ static_cast<unsigned char>(c)) * 16777619U;
}

uint32_t mark_of(const capi_call_log_record& call) {
  uint32_t mark = 2166136261U;
  for (const uint32_t number : {call.calltype, call.calltimestart, uint32_t{call.endpt}}) {
    char bytes[sizeof number];
    memcpy(bytes, &number, sizeof number);
    add(mark, {bytes, sizeof bytes});
  }
  add(mark, {call.number, strnlen(call.number, sizeof call.number)});
  return mark;
}

bool read_line(const std::string& line, Cursor& cursor) {
  std::istringstream in(line);
  std::string name;
  in >> name;
  if (name == "seq") in >> cursor.seq;
  if (name == "tells") in >> cursor.tells_calls >> cursor.tells_messages;
  if (name == "call") {
    in >> cursor.call >> cursor.call_mark;
    cursor.has_call = true;
  }
  for (size_t i = 0; i < std::size(kBoxes); ++i) {
    if (name == kBoxes[i]) in >> cursor.boxes[i].identity >> cursor.boxes[i].id;
  }
  if (name == "event") {
    in >> cursor.unacknowledged.name;
    in.ignore();
    std::getline(in, cursor.unacknowledged.text);
  }
  return !in.fail();
}

}  // namespace

std::string text_of(const Cursor& cursor) {
  std::ostringstream out;
  out << kTitle << "\nseq " << cursor.seq << "\n";
  out << "tells " << cursor.tells_calls << " " << cursor.tells_messages << "\n";
  if (cursor.has_call) out << "call " << cursor.call << " " << cursor.call_mark << "\n";
  for (size_t i = 0; i < std::size(kBoxes); ++i) {
    out << kBoxes[i] << " " << cursor.boxes[i].identity << " " << cursor.boxes[i].id << "\n";
  }
  const Event& event = cursor.unacknowledged;
  if (!event.name.empty()) out << "event " << event.name << " " << event.text << "\n";
  out << kEnd << "\n";
  return out.str();
}

bool read(const std::string& text, Cursor& cursor) {
  cursor = {};
  std::istringstream in(text);
  std::string line;
  if (!std::getline(in, line) || line != kTitle) return false;
  while (std::getline(in, line)) {
    if (line == kEnd) return true;
    if (!read_line(line, cursor)) return false;
  }
  return false;
}

CallList calls_in(const capi_call_log_image& image) {
  CallList list;
  list.next_sequence = image.header.next_sequence;
  uint16_t node = image.header.used.head;
  // A list of which somebody has made a ring has an end, too.
  while (node < CAPI_CALL_LOG_NODES && list.calls.size() < CAPI_CALL_LOG_NODES) {
    list.calls.push_back(image.node[node]);
    node = image.node[node].all_next;
  }
  return list;
}

size_t first_new(const CallList& list, const Cursor& cursor) {
  if (!cursor.has_call) return 0;
  const auto& calls = list.calls;
  const auto last = std::ranges::find(calls, cursor.call, &capi_call_log_record::sequence);
  if (last != calls.end()) {
    const bool is_it = mark_of(*last) == cursor.call_mark;
    return is_it ? static_cast<size_t>(last - calls.begin()) + 1 : 0;
  }
  // It was deleted or evicted; in a log that was made anew its sequence is still to come.
  if (!is_behind(cursor.call, list.next_sequence)) return 0;
  const auto first = std::ranges::find_if(calls, [&](const capi_call_log_record& call) {
    return is_behind(cursor.call, call.sequence);
  });
  return static_cast<size_t>(first - calls.begin());
}

void pass(Cursor& cursor, const capi_call_log_record& call) {
  cursor.has_call = true;
  cursor.call = call.sequence;
  cursor.call_mark = mark_of(call);
}

uint64_t identity_in(const std::string& content) {
  constexpr size_t kIdentityAt = 8;
  uint64_t identity = 0;
  if (content.size() >= kIdentityAt + sizeof identity) {
    memcpy(&identity, content.data() + kIdentityAt, sizeof identity);
  }
  return identity;
}

uint64_t first_new_id(const Cursor::Box& box, uint64_t identity) {
  return box.identity == identity ? box.id + 1 : 0;
}

}  // namespace tools::mqtt
