// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the handlers share, for the life of the process.
#pragma once

#include <string>
#include <vector>

#include "events.h"
#include "password.h"
#include "session.h"

namespace tools::web {

struct App {
  std::string password_file = {};  // with the hash of the password, which is read for each login
  std::vector<std::string> hosts = {};  // names by which we may be called, in small letters
  Sessions sessions = Sessions();
  ApiTokens tokens = ApiTokens();
  Throttle throttle = {};
  Events events = {};
  bool is_attached = false;  // whether there is an adapter
};

// Milliseconds of a clock that nobody sets, and the time of day.
int64_t now_ms();
int64_t now_s();

}  // namespace tools::web
