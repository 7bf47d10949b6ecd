// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "outbox.h"

#include <algorithm>

namespace tools::mqtt {

void Outbox::mark_all() {
  for (Topic& topic : topics_) topic.is_dirty = true;
}

std::optional<size_t> Outbox::take(int64_t now) {
  if (!has_room()) return std::nullopt;
  const auto ready = std::ranges::find_if(
      topics_, [&](const Topic& topic) { return topic.is_dirty && topic.next <= now; });
  if (ready == topics_.end()) return std::nullopt;
  ready->is_dirty = false;
  ready->next = now + kPauseMs;
  return static_cast<size_t>(ready - topics_.begin());
}

bool Outbox::is_dirty() const {
  return std::ranges::any_of(topics_, [](const Topic& topic) { return topic.is_dirty; });
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
