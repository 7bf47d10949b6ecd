// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a handler answers. The headers that every answer has are the server's to add.
#pragma once

#include <adapter.h>
#include <cjson/cJSON.h>

#include <string>
#include <string_view>

#include "request.h"

namespace tools::web {

inline constexpr char kHtml[] = "text/html; charset=utf-8";
inline constexpr char kJson[] = "application/json";
inline constexpr char kEventStream[] = "text/event-stream";

// Seconds after which something may be free that somebody holds.
inline constexpr char kRetryAfter[] = "2";

struct Response {
  int status = 200;
  std::string type = kHtml;
  std::string body = {};
  std::string_view fixed = {};  // in place of a body: what lives as long as the program
  Fields headers = {};          // more of them
  bool is_kept = false;         // by the browser, which asks whether it is still the same
  bool is_known = false;        // it was asked for with a login or an API token
  bool is_stream = false;       // goes on with events, for as long as the other side wants
  std::string session = {};     // whose stream it is
  std::string last_event = {};  // that was seen on the one before
};

Response html(std::string page, int status = 200);

// Takes the JSON.
Response json(cJSON* document, int status = 200);

// To another page of ours, by a GET.
Response see_other(std::string path);

// Why there is no answer, as {"error": {"code": ..., "message": ...}} for programs and as a page
// for people. The text is one sentence for people.
// What else is known of it is for programs.
Response failure(const Request& request, int status, std::string_view text, const Why& why = {});

// "Not Found", as HTTP calls the status; in snake case it is the error's code: "not_found".
std::string_view reason_of(int status);

}  // namespace tools::web
