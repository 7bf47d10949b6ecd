// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Calls and messages, each told once, each kind in its order, whatever happens in between.
#pragma once

#include <optional>
#include <string>

#include "cursor.h"
#include "options.h"

namespace tools::mqtt {

class Events {
 public:
  // What happened before the first start is not told, nor what did while it was not to be. Needs an
  // Attachment.
  explicit Events(const Options& options);

  // There may be some.
  void look() { may_have_news_ = true; }
  bool may_have_news() const { return may_have_news_; }

  // The next one, which stays the next until it is told, after a restart too; none where there is
  // none, or while a store is locked for long: may_have_news() tells which.
  std::optional<Event> next(const std::string& boot, int64_t now);

  // The broker has it.
  void told();

  uint64_t seq() const { return cursor_.seq; }

 private:
  void skip_calls();
  void skip_messages(int selector);
  void drop_unwanted();
  std::optional<Event> next_call();
  std::optional<Event> next_message(int selector);
  void save() const;

  const Options& options_;
  std::string path_;
  Cursor cursor_;
  bool may_have_news_ = true;
};

}  // namespace tools::mqtt
