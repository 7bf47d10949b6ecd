// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Calls and messages, each told once, in order, whatever happens in between.
#pragma once

#include <optional>
#include <string>

#include "cursor.h"
#include "options.h"

namespace tools::mqtt {

struct Event {
  std::string name;  // of its topic: "event/call"
  std::string text;
};

class Events {
 public:
  // What happened before the first start is not told, nor what did while it was not to be. Needs an
  // Attachment. Throws a Failure where the file cannot be used.
  explicit Events(const Options& options);

  // There may be some.
  void look() { may_have_news_ = true; }
  bool may_have_news() const { return may_have_news_; }

  // The next one, which stays the next until it is told; none where there is none, or while a store
  // is locked for long: may_have_news() tells which.
  std::optional<Event> next(const std::string& boot, int64_t now);

  // The broker has it. Throws a Failure where that cannot be kept.
  void told();

  uint64_t seq() const { return cursor_.seq; }

 private:
  void skip_calls();
  void skip_messages(int selector);
  std::optional<Event> next_call(Cursor& behind);
  std::optional<Event> next_message(int selector, Cursor& behind);
  void save() const;

  const Options& options_;
  std::string path_;
  Cursor cursor_;
  Cursor behind_;  // the event that next() gave
  bool may_have_news_ = true;
};

}  // namespace tools::mqtt
