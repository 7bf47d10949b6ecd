// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "front.h"

#include <ctime>
#include <exception>
#include <iterator>

#include "answer.h"
#include "decode.h"
#include "guard.h"
#include "route.h"
#include "text.h"

namespace tools::web {
namespace {

// No page of ours needs more than what comes from here, none may stand in a frame of somebody
// else's, and no text that was taken for markup could run. Browsers leave the origin of a form out
// where nothing may be referred to at all.
constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
     "form-action 'self'; base-uri 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"X-Frame-Options", "DENY"},
};

Response finished(const Request& request, Response response) {
  response.is_known = request.session != nullptr;
  for (const auto& [name, value] : kHeaders) response.headers.emplace_back(name, value);
  response.headers.emplace_back("Cache-Control", response.is_kept ? "no-cache" : "no-store");
  const bool has_content = response.status != 204 && response.status != 304;
  if (has_content) response.headers.emplace_back("Content-Type", response.type);
  return response;
}

Method method_of(std::string_view name) {
  if (name == "GET") return Method::Get;
  if (name == "HEAD") return Method::Head;
  if (name == "POST") return Method::Post;
  return name == "DELETE" ? Method::Delete : Method::Other;
}

// False where it cannot be decoded.
bool read_target(std::string_view target, Request& request) {
  const size_t mark = target.find('?');
  if (!decode(target.substr(0, mark), Coding::Path, request.path)) return false;
  return mark == std::string_view::npos || decode_form(target.substr(mark + 1), request.query);
}

// The parser would end a text at a NUL, and half of a value would be set. It takes bytes that are
// no UTF-8, with which no answer that tells of them could be read.
bool read_json(const std::string& body, Request& request) {
  if (!is_utf8(body) || has_nul(body)) return false;
  const char* end = nullptr;
  request.json.reset(cJSON_ParseWithLengthOpts(body.c_str(), body.size() + 1, &end, 1));
  return cJSON_IsObject(request.json.get()) != 0;
}

bool read_body(const Message& message, Access access, Request& request) {
  switch (access) {
    case Access::Login:
    case Access::Form:
      return decode_form(message.body, request.form);
    case Access::Change:
      return (message.body.empty() && request.method == Method::Delete) ||
             read_json(message.body, request);
    default:
      return true;
  }
}

Response refuse_route(const Request& request, const std::string& allowed) {
  if (allowed.empty()) return failure(request, 404, "There is no such page.");
  Response response = failure(request, 405, "This cannot be done with it.");
  response.headers.emplace_back("Allow", allowed);
  return response;
}

Response answer(const Message& message, Request& request, App& app) {
  if (!read_target(message.target, request)) {
    return failure(request, 400, "The address is not coded as it should be.");
  }
  if (!is_our_host(request.header("host"), app)) {
    return failure(request, 421, "This server has no such name; --host gives it one.");
  }
  std::string allowed;
  const Route* const route = find_route(request, allowed);
  if (route == nullptr) return refuse_route(request, allowed);
  // A form's token stands in its body.
  const bool is_readable = read_body(message, route->access, request);
  identify(request, app);
  if (auto refused = refusal(request, route->access)) return std::move(*refused);
  if (!is_readable) return failure(request, 400, "The content of the request cannot be read.");
  return route->handler(request, app);
}

Response answer_whatever_comes(const Message& message, Request& request, App& app) {
  try {
    return answer(message, request, app);
  } catch (const Failure& failure) {
    return failed(request, failure);
  } catch (const std::exception& error) {
    return failure(request, 500, error.what());
  }
}

}  // namespace

bool is_open(App& app, std::string_view session) {
  end_outdated_logins(app);
  return app.sessions.has(session, now_ms()) || app.tokens.has(session);
}

int64_t now_ms() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

int64_t now_s() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}

Response serve(const Message& message, const std::string& address, App& app) {
  Request request{
      .method = method_of(message.method), .headers = message.headers, .address = address};
  Response response = answer_whatever_comes(message, request, app);
  if (app.reader.has_missed() && response.status == 200) {
    response.headers.emplace_back("Retry-After", kRetryAfter);
  }
  return finished(request, std::move(response));
}

Response refuse(int status, bool is_for_api) {
  const Request request{.path = is_for_api ? "/api/" : "/"};
  const char* const text = status == 408   ? "The request took too long."
                           : status == 413 ? "The content of the request is too long."
                           : status == 429 ? "There are too many streams of events already."
                           : status == 431 ? "The head of the request is too long."
                                           : "The request is none that this server takes.";
  return finished(request, failure(request, status, text));
}

}  // namespace tools::web
