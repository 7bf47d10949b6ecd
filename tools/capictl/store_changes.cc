// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "store_changes.h"

#include <algorithm>
#include <cstring>

namespace tools::capictl {
namespace {

std::string call_time(uint32_t seconds) {
  return is_time(seconds) ? local_time(seconds) : std::to_string(seconds);
}

// "3 calls deleted, 97 left".
ChangeLine deletion(unsigned topic, const std::string& what, size_t count, size_t left) {
  ChangeLine line(topic, "deleted");
  line.number("count", static_cast<int64_t>(count)).number("left", static_cast<int64_t>(left));
  line.words(std::to_string(count) + " " + what + (count == 1 ? "" : "s") + " deleted, " +
             (left == 0 ? "none" : std::to_string(left)) + " left");
  return line;
}

ChangeLine unreadable(unsigned topic, const std::string& what) {
  ChangeLine line(topic, "changed");
  line.text("what", what).words(what + " changed, and cannot be read");
  return line;
}

// ---- Calls -------------------------------------------------------------------------------------

// The same call, wherever the lists have put it.
bool is_same(const capi_call_log_record& a, const capi_call_log_record& b) {
  return a.sequence == b.sequence && a.calltype == b.calltype && a.index == b.index &&
         a.calltimestart == b.calltimestart && strncmp(a.number, b.number, sizeof a.number) == 0;
}

ChangeLine new_call(const capi_call_log_record& call) {
  const std::string number = text_of(call.number);
  const std::string name = text_of(call.displayname);
  ChangeLine line(CAPI_TOPIC_CALLS, "added");
  line.number("node", call.index)
      .number("type", call.calltype)
      .number("line", call.endpt)
      .text("number", number)
      .text("name", name);
  if (is_time(call.calltimestart)) {
    line.text("start", call_time(call.calltimestart));
  } else {
    line.number("start", call.calltimestart);
  }
  line.words("new call of type " + std::to_string(call.calltype) + ": " + number +
             (name.empty() ? "" : ", " + name) + ", " + call_time(call.calltimestart));
  return line;
}

// ---- Messages ----------------------------------------------------------------------------------

bool is_same(const StoredMessage& a, const StoredMessage& b) {
  return a.id == b.id && a.stored_at == b.stored_at && a.remote == b.remote && a.text == b.text;
}

ChangeLine message_line(const char* change, const char* box, const StoredMessage& message) {
  ChangeLine line(CAPI_TOPIC_MESSAGES, change);
  line.text("box", box)
      .number("id", static_cast<int64_t>(message.id))
      .flag("read", message.is_read)
      .number("status", message.status);
  return line;
}

ChangeLine new_message(const char* box, const StoredMessage& message) {
  ChangeLine line = message_line("added", box, message);
  const std::string stored = local_time(message.stored_at);
  line.text("stored", stored)
      .text("local", message.local)
      .text("remote", message.remote)
      .number("text_type", message.text_type)
      .text("text", message.text);
  line.words(std::string("new ") + box + " message " + std::to_string(message.id) + ": " +
             message.remote + ", " + stored + ": " + message.text);
  return line;
}

ChangeLine updated_message(const char* box, const StoredMessage& message) {
  ChangeLine line = message_line("updated", box, message);
  line.words(std::string(box) + " message " + std::to_string(message.id) + " is " +
             (message.is_read ? "read" : "unread") + ", status " + std::to_string(message.status));
  return line;
}

template <typename Entry>
const Entry* find_same(const std::vector<Entry>& entries, const Entry& wanted) {
  const auto found =
      std::ranges::find_if(entries, [&](const Entry& entry) { return is_same(entry, wanted); });
  return found == entries.end() ? nullptr : &*found;
}

// How many entries are gone.
template <typename Entry>
size_t count_missing(const std::vector<Entry>& before, const std::vector<Entry>& now) {
  return static_cast<size_t>(std::ranges::count_if(
      before, [&](const Entry& entry) { return find_same(now, entry) == nullptr; }));
}

int take_call(const capi_call_log_record* record, void* user) {
  static_cast<std::vector<capi_call_log_record>*>(user)->push_back(*record);
  return 0;
}

}  // namespace

CallChanges::CallChanges() : calls_(read().value_or(Calls())) {}

std::optional<CallChanges::Calls> CallChanges::read() {
  Calls calls;
  if (capi_voip_call_log_dump_all(take_call, &calls) != 0) return std::nullopt;
  return calls;
}

ChangeLines CallChanges::look() {
  ChangeLines lines;
  std::optional<Calls> now = read();
  if (!now) {
    lines.push_back(unreadable(CAPI_TOPIC_CALLS, "the call log"));
    return lines;
  }
  if (const size_t missing = count_missing(calls_, *now)) {
    lines.push_back(deletion(CAPI_TOPIC_CALLS, "call", missing, now->size()));
  }
  for (const auto& call : *now) {
    if (find_same(calls_, call) == nullptr) lines.push_back(new_call(call));
  }
  calls_ = std::move(*now);
  return lines;
}

MessageChanges::MessageChanges()
    : boxes_{{"received", kReceivedMessages, "", {}}, {"sent", kSentMessages, "", {}}} {
  look();
}

void MessageChanges::look(Box& box, ChangeLines& lines) {
  std::string content;
  const bool is_there = read_store(box.store, content);
  if (content == box.content) return;
  box.content = content;
  if (!is_there || !is_usable(box.store.check(content))) {
    lines.push_back(unreadable(CAPI_TOPIC_MESSAGES, std::string("the file of ") + box.store.name));
    return;
  }
  std::vector<StoredMessage> now = messages_of(content);
  if (const size_t missing = count_missing(box.messages, now)) {
    ChangeLine line =
        deletion(CAPI_TOPIC_MESSAGES, std::string(box.name) + " message", missing, now.size());
    lines.push_back(std::move(line.text("box", box.name)));
  }
  for (const StoredMessage& message : now) {
    const StoredMessage* known = find_same(box.messages, message);
    if (known == nullptr) {
      lines.push_back(new_message(box.name, message));
    } else if (known->is_read != message.is_read || known->status != message.status) {
      lines.push_back(updated_message(box.name, message));
    }
  }
  box.messages = std::move(now);
}

ChangeLines MessageChanges::look() {
  ChangeLines lines;
  for (Box& box : boxes_) look(box, lines);
  return lines;
}

}  // namespace tools::capictl
