// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "session.h"

#include <algorithm>

#include "decode.h"

namespace tools::web {

const Session& Sessions::begin(const std::string& address, int64_t now_ms, int64_t now_s) {
  drop_idle(now_ms);
  while (sessions_.size() >= kMax) {
    sessions_.erase(std::ranges::min_element(sessions_, {}, &Session::seen_ms));
  }
  sessions_.push_back({.name = new_secret(8),
                       .secret = new_secret(32),
                       .token = new_secret(32),
                       .address = address,
                       .begun_at = now_s,
                       .seen_ms = now_ms});
  return sessions_.back();
}

// All are compared, whichever it is.
const Session* Sessions::find(std::string_view secret, int64_t now_ms, bool is_seen) {
  drop_idle(now_ms);
  Session* found = nullptr;
  for (Session& session : sessions_) {
    if (is_same_secret(session.secret, secret)) found = &session;
  }
  if (found != nullptr && is_seen) found->seen_ms = now_ms;
  return found;
}

bool Sessions::has(std::string_view name, int64_t now_ms) {
  drop_idle(now_ms);
  return std::ranges::any_of(sessions_, [&](const Session& one) { return one.name == name; });
}

void Sessions::end(std::string_view name) {
  std::erase_if(sessions_, [&](const Session& session) { return session.name == name; });
}

void Sessions::drop_idle(int64_t now_ms) {
  std::erase_if(sessions_,
                [&](const Session& session) { return now_ms - session.seen_ms >= idle_ms_; });
}

int64_t Throttle::wait_ms(std::string_view address, int64_t now_ms) const {
  const auto row = std::ranges::find(rows_, address, &Row::address);
  return row == rows_.end() ? 0 : std::max<int64_t>(row->until_ms - now_ms, 0);
}

void Throttle::failed(const std::string& address, int64_t now_ms) {
  auto row = std::ranges::find(rows_, address, &Row::address);
  if (row == rows_.end()) {
    if (rows_.size() >= kMax) rows_.pop_back();
    row = rows_.insert(rows_.begin(), {.address = address});
  }
  rows_.splice(rows_.begin(), rows_, row);
  if (now_ms - row->failed_ms > kForgottenMs) row->failures = 0;
  row->failed_ms = now_ms;
  ++row->failures;
  if (row->failures < kFree) return;
  const int doublings = std::min(row->failures - kFree, 16);
  row->until_ms = now_ms + std::min(int64_t{1000} << doublings, kLongestMs);
}

void Throttle::succeeded(std::string_view address) {
  std::erase_if(rows_, [&](const Row& row) { return row.address == address; });
}

}  // namespace tools::web
