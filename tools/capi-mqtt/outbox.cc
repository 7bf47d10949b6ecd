// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "outbox.h"

#include <algorithm>

namespace tools::mqtt {

void Outbox::mark_all() {
  for (Topic& topic : topics_) {
    if (topic.is_put_off) topic = {};
    topic.is_dirty = true;
  }
}

void Outbox::put_off(size_t topic, int64_t until) { topics_[topic] = {true, true, until}; }

void Outbox::refused(int message, int64_t until) {
  const auto found = in_flight_.find(message);
  if (found == in_flight_.end()) return;
  if (found->second != kNoTopic) put_off(found->second, until);
  in_flight_.erase(found);
}

std::optional<size_t> Outbox::take(int64_t now) {
  if (!has_room()) return std::nullopt;
  const auto ready = std::ranges::find_if(
      topics_, [&](const Topic& topic) { return topic.is_dirty && topic.next <= now; });
  if (ready == topics_.end()) return std::nullopt;
  *ready = {false, false, now + kPauseMs};
  return static_cast<size_t>(ready - topics_.begin());
}

bool Outbox::is_dirty() const {
  return std::ranges::any_of(
      topics_, [](const Topic& topic) { return topic.is_dirty && !topic.is_put_off; });
}

int64_t Outbox::wait(int64_t now) const {
  int64_t wait = -1;
  if (!has_room()) return wait;
  for (const Topic& topic : topics_) {
    if (!topic.is_dirty) continue;
    const int64_t left = std::max<int64_t>(topic.next - now, 0);
    wait = wait == -1 ? left : std::min(wait, left);
  }
  return wait;
}

void Outbox::restart() {
  in_flight_.clear();
  mark_all();
}

}  // namespace tools::mqtt
