// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <messages.h>

#include <algorithm>
#include <iterator>

#include "answer.h"
#include "api.h"

namespace tools::web {
namespace {

Response counted_as(const char* what, size_t count) {
  Table facts = Table::of_facts("result");
  facts.add_fact({what, Type::Number}, std::to_string(count));
  return json(to_json(facts));
}

void need_messages(App& app) {
  app.reader.record();
  app.reader.need({CAPI_LOCK_CONF_SHM, CAPI_LOCK_VOICE_SMS});
}

std::string box_in_path(const Request& request) {
  std::string box(request.part("box"));
  if (std::ranges::find(kMessageBoxes, box) != std::end(kMessageBoxes)) return box;
  throw Failure("there is no box of this name: received and sent", {kNotFound, "box"});
}

std::vector<Message> meant(App& app, const std::string& box, const Filter& filter) {
  app.reader.forget(CAPI_TOPIC_MESSAGES);
  return meant_messages(app.reader.messages(box), filter);
}

// Not by the library, which would replace a damaged file as soon as it looks.
void need_message(App& app, const std::string& box, uint64_t id) {
  const std::vector<Message> all = meant(app, box, {});
  if (std::ranges::find(all, id, &Message::id) != all.end()) return;
  throw Failure("there is no such message, or not any more", {kNotFound});
}

}  // namespace

Response get_messages(const Request& request, App& app) {
  const std::string box = box_in_path(request);
  const Order order{static_cast<size_t>(number_of(request, "limit", 1, CAPI_SMS_MAX_MESSAGES, 0))};
  return json(
      to_json(message_table(meant_messages(app.reader.messages(box), filter_of(request)), order)));
}

// The error names the field, so that a page can tell of it there.
std::string number_in(const Request& request) {
  std::string number = text_in(request, "number");
  try {
    refuse_wrong_number(number);
  } catch (const Failure& failure) {
    throw Failure(failure.what(), {kRefused, "number"});
  }
  return number;
}

std::string message_in(const Request& request) {
  std::string text = text_in(request, "text");
  if (text.empty()) throw Failure("there is no text to send", {kRefused, "text"});
  if (text.size() <= CAPI_SMS_MAX_TEXT) return text;
  const std::string allowed = "up to " + std::to_string(CAPI_SMS_MAX_TEXT) + " bytes";
  throw Failure("the text is too long: it has " + allowed, {kRefused, "text", allowed});
}

Response post_message(const Request& request, App& app) {
  const std::string number = number_in(request);
  const std::string text = message_in(request);
  need_messages(app);
  app.reader.need({CAPI_LOCK_VOP_RUN_INFO});  // the sender's number is kept under it
  send_message(number, 0, text);
  Table facts = Table::of_facts("result");
  facts.add({"sent_to", number});
  return json(to_json(facts), 201);
}

Response post_message_read(const Request& request, App& app) {
  need_messages(app);
  const std::string box = box_in_path(request);
  const uint64_t id = id_of(request, "id");
  need_message(app, box, id);
  mark_message_read(box, id);
  Table facts = Table::of_facts("result");
  facts.add_fact({"id", Type::Number}, std::to_string(id));
  facts.add_fact({"read", Type::Flag}, "1");
  return json(to_json(facts));
}

// All that came from a number.
Response post_read(const Request& request, App& app) {
  const std::string number = text_in(request, "number");
  need_messages(app);
  Filter filter;
  filter.unread = true;
  filter.number = number;
  const std::vector<Message> messages = meant(app, kMessageBoxes[CAPI_SMS_RECEIVED], filter);
  for (const Message& message : messages) {
    mark_message_read(kMessageBoxes[CAPI_SMS_RECEIVED], message.id);
  }
  return counted_as("read", messages.size());
}

Response delete_message(const Request& request, App& app) {
  need_messages(app);
  const std::string box = box_in_path(request);
  const uint64_t id = id_of(request, "id");
  need_message(app, box, id);
  tools::delete_message(box, id);
  return counted_as("deleted", 1);
}

Response delete_messages(const Request& request, App& app) {
  need_messages(app);
  const std::string box = box_in_path(request);
  const Filter filter = filter_of(request);
  const std::vector<Message> messages = meant(app, box, filter);
  if (filter.is_empty() && !messages.empty()) {
    if (capi_voip_sms_clean(message_selector(box)) != 0) {
      throw Failure("the messages could not be cleared");
    }
  } else {
    for (const Message& message : messages) tools::delete_message(box, message.id);
  }
  return counted_as("deleted", messages.size());
}

}  // namespace tools::web
