// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <messages.h>

#include <algorithm>
#include <map>

#include "answer.h"
#include "layout.h"
#include "pages.h"
#include "render.h"
#include "text.h"

namespace tools::web {
namespace {

// A message of either box.
struct Entry {
  int selector;
  const StoredMessage* message;
  const char* box() const { return kMessageBoxes[selector]; }
  bool is_received() const { return selector == CAPI_SMS_RECEIVED; }
  bool is_unread() const { return is_received() && !message->is_read; }
};

// All with one number, the oldest first.
struct Thread {
  std::string number;
  std::vector<Entry> entries;
  size_t unread = 0;
  uint32_t latest = 0;
};

using Threads = std::vector<Thread>;

// By the number, those with the latest message first.
Threads read_threads(App& app) {
  std::map<std::string, Thread> threads;
  for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) {
    for (const StoredMessage& message : app.reader.messages(kMessageBoxes[selector])) {
      Thread& thread = threads[message.remote];
      thread.number = message.remote;
      thread.entries.push_back({selector, &message});
      thread.unread += thread.entries.back().is_unread() ? 1 : 0;
      thread.latest = std::max(thread.latest, message.stored_at);
    }
  }
  Threads result;
  for (auto& [number, thread] : threads) {
    std::ranges::stable_sort(thread.entries, {},
                             [](const Entry& entry) { return entry.message->stored_at; });
    result.push_back(std::move(thread));
  }
  std::ranges::stable_sort(result, std::ranges::greater(), &Thread::latest);
  return result;
}

std::string shown_number(const std::string& number) {
  return number.empty() ? "(no number)" : number;
}

void add_threads(Html& html, const Threads& threads, const Thread* chosen) {
  html.raw("<nav class=\"threads\" aria-label=\"Conversations\" id=\"threads\" ");
  html.raw("data-live=\"messages adapter\">\n");
  if (threads.empty()) html.raw("<p class=\"empty\">No messages yet.</p>\n");
  html.raw("<ul>\n");
  for (const Thread& thread : threads) {
    html.raw("<li").attr("data-key", "thread-" + thread.number).raw("><a");
    html.attr("href", "/messages?number=" + in_address(thread.number));
    if (&thread == chosen) html.raw(" aria-current=\"true\"");
    html.raw(">").text(shown_number(thread.number));
    if (thread.unread > 0) {
      const std::string count = std::to_string(thread.unread);
      html.raw(" <span class=\"badge\">").text(count);
      html.raw("<span class=\"quiet\"> unread</span></span>");
    }
    html.raw("</a></li>\n");
  }
  html.raw("</ul>\n</nav>\n");
}

void add_buttons(Html& html, const Entry& entry) {
  const std::string path =
      "/api/1/messages/" + std::string(entry.box()) + "/" + std::to_string(entry.message->id);
  const std::string time = time_or_number(entry.message->stored_at);
  if (entry.is_unread()) {
    html.raw(" <button").attr("data-api", path + "/read");
    html.attr("aria-label", "Mark as read: the message of " + time);
    html.raw(" data-done=\"Marked.\" data-needs-script>Mark as read</button>");
  }
  html.raw(" <button class=\"danger\" data-method=\"DELETE\"").attr("data-api", path);
  html.attr("aria-label", "Delete the message of " + time);
  html.raw(" data-ask=\"Delete this message?\" data-done=\"Deleted.\" data-needs-script>");
  html.raw("Delete</button>");
}

void add_entry(Html& html, const Entry& entry) {
  html.raw("<li").attr("class", entry.is_unread()     ? "received unread"
                                : entry.is_received() ? "received"
                                                      : "sent");
  html.attr("data-key",
            "sms-" + std::string(entry.box()) + "-" + std::to_string(entry.message->id));
  html.raw("><p class=\"text\">").text(entry.message->text).raw("</p>\n<p class=\"meta\">");
  html.raw(entry.is_received() ? Markup("received ") : Markup("sent "));
  add_time(html, time_or_number(entry.message->stored_at));
  if (entry.is_unread()) html.raw(" \xc2\xb7 unread");
  add_buttons(html, entry);
  html.raw("</p></li>\n");
}

// The number as JSON, which an attribute can carry like any text.
std::string number_document(const std::string& number) {
  const Json document(cJSON_CreateObject());
  cJSON_AddStringToObject(document.get(), "number", json_text(number).c_str());
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(document.get()),
                                                          cJSON_free);
  return text ? text.get() : "{}";
}

void add_thread(Html& html, const Thread* thread) {
  html.raw("<section id=\"thread\" data-live=\"messages adapter\" aria-labelledby=\"thread-h\">\n");
  if (thread == nullptr) {
    html.raw(
        "<h2 id=\"thread-h\">Messages</h2>\n<p class=\"empty\">No conversation is chosen.</p>\n");
  } else {
    html.raw("<h2 id=\"thread-h\">").text(shown_number(thread->number)).raw("</h2>\n");
    if (thread->unread > 0) {
      html.raw("<p><button data-api=\"/api/1/messages/read\"");
      html.attr("data-body", number_document(thread->number));
      html.raw(" data-done=\"Marked.\" data-needs-script>Mark all as read</button></p>\n");
    }
    html.raw("<ol class=\"bubbles\">\n");
    for (const Entry& entry : thread->entries) add_entry(html, entry);
    html.raw("</ol>\n");
  }
  html.raw("</section>\n");
}

void add_form(Html& html, const std::string& number) {
  html.raw("<section class=\"card\" aria-labelledby=\"send-h\">\n<h2 id=\"send-h\">Send</h2>\n");
  html.raw("<form data-api=\"/api/1/messages\" data-done=\"Sent.\" data-needs-script>\n");
  html.raw("<p><label for=\"number\">Number</label> <input id=\"number\" name=\"number\" ");
  html.raw("type=\"tel\" maxlength=\"23\" required").attr("value", number).raw("></p>\n");
  html.raw("<p><label for=\"text\">Text</label> <textarea id=\"text\" name=\"text\" rows=\"3\" ");
  html.raw("maxlength=\"39100\" required></textarea></p>\n");
  html.raw("<p><button class=\"primary\">Send</button></p>\n</form>\n</section>\n");
}

// The one that was asked for, and the latest where none was.
const Thread* chosen_thread(const Request& request, const Threads& threads) {
  const std::string* const number = find(request.query, "number");
  if (number == nullptr) return threads.empty() ? nullptr : &threads.front();
  const auto found = std::ranges::find(threads, *number, &Thread::number);
  return found == threads.end() ? nullptr : &*found;
}

}  // namespace

Response get_messages_page(const Request& request, App& app) {
  app.reader.record();
  const Threads threads = read_threads(app);
  const Thread* const thread = chosen_thread(request, threads);
  Html main;
  main.raw("<h1>Messages</h1>\n<div class=\"columns\">\n");
  add_threads(main, threads, thread);
  add_thread(main, thread);
  main.raw("</div>\n");
  add_form(main, thread != nullptr ? thread->number : std::string(request.parameter("number")));
  return page(request, app, "Messages", main);
}

}  // namespace tools::web
