// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the handlers share, for the life of the process.
#pragma once

#include <files.h>

#include <string>
#include <vector>

#include "events.h"
#include "link.h"
#include "password.h"
#include "reader.h"
#include "session.h"

namespace tools::web {

struct App {
  std::string password_file = {};  // with the hash of the password, which is read for each login
  std::vector<std::string> hosts = {};  // names by which we may be called, in small letters
  files::State password_state = {};     // of that file, when it was last looked at
  Sessions sessions = Sessions();
  ApiTokens tokens = ApiTokens();
  Throttle throttle = {};
  Events events = {};
  int confirm_seconds = 60;  // for a change
  Link link = Link();
  Reader reader = Reader();
  // The change that was made last, and by whom, to tell them how it ended.
  struct {
    std::string owner;
    std::string id;
    std::string trouble = {};  // what of it could not be applied, in words
  } last_change = {};
};

// Whether the login or API token of this name goes on.
bool is_open(App& app, std::string_view session);

// Milliseconds of a clock that nobody sets, and the time of day.
int64_t now_ms();
int64_t now_s();

}  // namespace tools::web
