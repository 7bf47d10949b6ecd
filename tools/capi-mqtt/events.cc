// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "events.h"

#include <call_tables.h>
#include <files.h>
#include <locks.h>
#include <messages.h>
#include <sms_check.h>
#include <stores.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "log.h"

namespace tools::mqtt {
namespace {

constexpr char kCallEvent[] = "event/call";
constexpr char kMessageEvent[] = "event/message";

const Store& store_of(int selector) {
  return selector == CAPI_SMS_RECEIVED ? kReceivedMessages : kSentMessages;
}

// Empty where there is no log that can be used.
CallList read_call_list() {
  const auto image = std::make_unique<capi_call_log_image>();
  if (capi_voip_read_call_log(image.get()) != 0) return {};
  return calls_in(*image);
}

// Of a file that cannot be used, and would be replaced by who used it, there is nothing to tell.
bool read_box(int selector, std::string& content) {
  const Store& store = store_of(selector);
  return read_store(store, content) && is_usable(store.check(content));
}

double id_of(const cJSON* message) {
  return cJSON_GetNumberValue(cJSON_GetObjectItem(message, "id"));
}

std::string printed(const Json& json) {
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json.get()),
                                                          cJSON_free);
  return text ? text.get() : "";
}

}  // namespace

Events::Events(const Options& options) : options_(options), path_(options.state + "/cursor") {
  std::string text;
  const bool is_known = read_file(path_, text) && read(text, cursor_);
  if (!is_known) cursor_ = {};
  if (!cursor_.tells_calls) skip_calls();
  for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) {
    if (!cursor_.tells_messages) skip_messages(selector);
  }
  cursor_.tells_calls = options.tells_calls;
  cursor_.tells_messages = options.tells_messages;
  drop_unwanted();
  if (text_of(cursor_) != text) save();
}

// Nobody asks for it any more.
void Events::drop_unwanted() {
  Event& event = cursor_.unacknowledged;
  const bool is_wanted = event.name == kCallEvent ? options_.tells_calls : options_.tells_messages;
  if (!is_wanted) event = {};
}

void Events::skip_calls() {
  const CallList list = read_call_list();
  if (!list.calls.empty()) pass(cursor_, list.calls.back());
}

void Events::skip_messages(int selector) {
  std::string content;
  if (!read_box(selector, content)) return;
  Cursor::Box& box = cursor_.boxes[selector];
  box = {identity_in(content), 0};
  for (const StoredMessage& message : messages_of(content)) box.id = std::max(box.id, message.id);
}

// What cannot be kept is known as long as this process lives: all is told, if after a restart
// again.
void Events::save() const {
  const int error = files::replace(path_, text_of(cursor_), 0600);
  if (error != 0) log(path_ + " cannot be written: " + strerror(error));
}

std::optional<Event> Events::next_call() {
  const CallList list = read_call_list();
  const size_t first = first_new(list, cursor_);
  if (first >= list.calls.size()) return std::nullopt;
  const capi_call_log_record& call = list.calls[first];
  pass(cursor_, call);
  const Json rows(to_json(call_table({call})));
  const Json event(cJSON_CreateObject());
  cJSON_AddItemToObject(event.get(), "call", cJSON_DetachItemFromArray(rows.get(), 0));
  return Event{kCallEvent, printed(event)};
}

std::optional<Event> Events::next_message(int selector) {
  std::string content;
  if (!read_box(selector, content)) return std::nullopt;
  const uint64_t identity = identity_in(content);
  const auto least = static_cast<double>(first_new_id(cursor_.boxes[selector], identity));
  const Json table(to_json(message_table(kMessageBoxes[selector], {}, {})));
  const Json rows(cJSON_Parse(printed(table).c_str()));  // with numbers instead of their texts
  const cJSON* next = nullptr;
  for (const cJSON* row = cJSON_GetArrayItem(rows.get(), 0); row != nullptr; row = row->next) {
    if (id_of(row) >= least && (next == nullptr || id_of(row) < id_of(next))) next = row;
  }
  if (next == nullptr) return std::nullopt;
  cursor_.boxes[selector] = {identity, static_cast<uint64_t>(id_of(next))};
  const Json event(cJSON_CreateObject());
  cJSON_AddStringToObject(event.get(), "box", kMessageBoxes[selector]);
  cJSON_AddItemToObject(event.get(), "message", cJSON_Duplicate(next, 1));
  return Event{kMessageEvent, printed(event)};
}

std::optional<Event> Events::next(const std::string& boot, int64_t now) {
  if (!cursor_.unacknowledged.name.empty()) return cursor_.unacknowledged;
  std::optional<Event> event;
  if (options_.tells_calls) {
    if (!await_lock(CAPI_LOCK_CALL_LOG, Patience::Short)) return event;
    event = next_call();
  }
  if (options_.tells_messages && !event) {
    if (!await_lock(CAPI_LOCK_VOICE_SMS, Patience::Short)) return event;
    event = next_message(CAPI_SMS_RECEIVED);
    if (!event) event = next_message(CAPI_SMS_SENT);
  }
  may_have_news_ = event.has_value();
  if (!event) return event;
  const Json json(cJSON_Parse(event->text.c_str()));
  cJSON_AddNumberToObject(json.get(), "seq", static_cast<double>(++cursor_.seq));
  cJSON_AddStringToObject(json.get(), "boot", boot.c_str());
  cJSON_AddStringToObject(json.get(), "at", time_text(now).c_str());
  event->text = printed(json);
  cursor_.unacknowledged = *event;
  save();
  return event;
}

void Events::told() {
  cursor_.unacknowledged = {};
  save();
}

}  // namespace tools::mqtt
