// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Who is logged in. Times are milliseconds of a clock that nobody sets, and seconds since 1970
// where people see them.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

namespace tools::web {

struct Session {
  std::string name = {};     // by which others may know it: the owner of a change
  std::string secret = {};   // in the cookie; empty for an API token's
  std::string token = {};    // that requests for changes carry besides; the same
  std::string address = {};  // from which it was begun
  int64_t begun_at = 0;
  int64_t seen_ms = 0;
};

class Sessions {
 public:
  static constexpr size_t kMax = 16;

  explicit Sessions(int64_t idle_ms = int64_t{30} * 60 * 1000) : idle_ms_(idle_ms) {}

  // Begins a login; the one that was seen longest ago ends where there are too many.
  const Session& begin(const std::string& address, int64_t now_ms, int64_t now_s);

  // One whose secrets are known.
  void add(Session session, int64_t now_ms);

  // The one with this secret, unless it has been idle for too long. It is seen now, unless the
  // request was none of its user's doing.
  const Session* find(std::string_view secret, int64_t now_ms, bool is_seen = true);

  // Whether this one goes on.
  bool has(std::string_view name, int64_t now_ms);

  void end(std::string_view name);
  void end_all() { sessions_.clear(); }

  const std::list<Session>& all() const { return sessions_; }

 private:
  void drop_idle(int64_t now_ms);

  int64_t idle_ms_;
  std::list<Session> sessions_;
};

// Wrong passwords, and how long their address has to wait: the longer, the more there were.
class Throttle {
 public:
  // Milliseconds until the next attempt may be made; 0 for now.
  int64_t wait_ms(std::string_view address, int64_t now_ms) const;

  void failed(const std::string& address, int64_t now_ms);
  void succeeded(std::string_view address);

 private:
  static constexpr size_t kMax = 64;
  static constexpr int kFree = 3;  // mistakes that cost nothing
  static constexpr int64_t kLongestMs = int64_t{60} * 1000;
  static constexpr int64_t kForgottenMs = int64_t{10} * 60 * 1000;

  struct Row {
    std::string address;
    int failures = 0;
    int64_t failed_ms = 0;
    int64_t until_ms = 0;
  };
  std::list<Row> rows_;  // the latest failure first
};

}  // namespace tools::web
