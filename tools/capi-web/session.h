// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Who is logged in.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

namespace tools::web {

struct Session {
  std::string name;      // by which others may call it: the owner of a change
  std::string secret;    // in the cookie; empty for that of an API token
  std::string token;     // that its requests for changes carry; the same
  std::string address;   // from which it was begun
  int64_t begun_at = 0;  // in seconds since 1970
  int64_t seen_ms = 0;   // of a clock that is never set
};

class Sessions {
 public:
  const std::list<Session>& all() const { return sessions_; }

 private:
  std::list<Session> sessions_;
};

}  // namespace tools::web
