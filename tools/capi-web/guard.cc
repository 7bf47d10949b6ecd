// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "guard.h"

#include <algorithm>
#include <utility>

#include "decode.h"

namespace tools::web {
namespace {

constexpr std::string_view kBearer = "bearer ";

std::string small(std::string_view text) {
  std::string made(text);
  std::ranges::transform(made, made.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return made;
}

bool consists_of(std::string_view text, std::string_view characters) {
  return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

// Takes the port away. False where what stands behind the name is none.
bool split_port(std::string_view& host) {
  const size_t bracket = host.rfind(']');
  const size_t colon = host.rfind(':');
  constexpr size_t kNone = std::string_view::npos;
  if (colon == kNone || (bracket != kNone && colon < bracket)) return true;
  const std::string_view port = host.substr(colon + 1);
  host = host.substr(0, colon);
  return port.size() <= 5 && consists_of(port, "0123456789");
}

bool is_address(std::string_view host) {
  if (host.starts_with('[') && host.ends_with(']')) {
    return consists_of(host.substr(1, host.size() - 2), "0123456789abcdefABCDEF:.%");
  }
  return consists_of(host, "0123456789.") && std::ranges::count(host, '.') == 3;
}

// A browser says from where a request comes. What says nothing is no browser of today, or hides it.
bool is_from_our_pages(const Request& request) {
  const std::string_view origin = request.header("origin");
  if (origin.empty()) return request.header("sec-fetch-site") == "same-origin";
  const std::string_view host = request.header("host");
  constexpr std::string_view kSchemes[] = {"http://", "https://"};
  return std::ranges::any_of(kSchemes, [&](std::string_view scheme) {
    return origin.starts_with(scheme) && origin.substr(scheme.size()) == host;
  });
}

bool is_of_type(const Request& request, std::string_view type) {
  const std::string_view given = request.header("content-type");
  return small(given.substr(0, given.find_first_of("; "))) == type;
}

// What was asked for, to come back to behind the login. What has to be sent cannot be come back to.
std::string place_of(const Request& request) {
  if (request.method != Method::Get && request.method != Method::Head) return "/";
  std::string place = request.path;
  char separator = '?';
  for (const auto& [name, value] : request.query) {
    place += std::exchange(separator, '&') + encode(name) + "=" + encode(value);
  }
  return place;
}

Response ask_for_login(const Request& request) {
  if (request.is_for_api()) {
    Response response = failure(request, 401, "There is no such login, or it is over: log in.");
    response.headers.emplace_back("WWW-Authenticate", "Bearer");
    return response;
  }
  const std::string place = place_of(request);
  return see_other(place == "/" ? "/login" : "/login?next=" + encode(place));
}

Response refuse_origin(const Request& request) {
  return failure(request, 403, "The request does not come from a page of this server.");
}

Response refuse_token(const Request& request) {
  return failure(request, 403, "The request has not the token of its login: load the page anew.");
}

std::optional<Response> refusal_of_form(const Request& request) {
  if (!is_from_our_pages(request)) return refuse_origin(request);
  if (is_of_type(request, "application/x-www-form-urlencoded")) return std::nullopt;
  return failure(request, 415, "This takes application/x-www-form-urlencoded.");
}

// No other site can have a browser send an API token.
std::optional<Response> refusal_of_change(const Request& request) {
  if (!request.session->secret.empty()) {
    if (!is_from_our_pages(request)) return refuse_origin(request);
    if (!is_same_secret(request.header("x-capi-token"), request.session->token)) {
      return refuse_token(request);
    }
  }
  if (request.method == Method::Delete) return std::nullopt;
  if (is_of_type(request, "application/json")) return std::nullopt;
  return failure(request, 415, "This takes application/json.");
}

}  // namespace

bool is_our_host(std::string_view host, const App& app) {
  if (!split_port(host)) return false;
  const std::string name = small(host);
  return is_address(host) || name == "localhost" || std::ranges::count(app.hosts, name) > 0;
}

void end_outdated_logins(App& app) {
  const files::State now = files::state_of(app.password_file);
  const files::State before = std::exchange(app.password_state, now);
  if (before != files::State{} && before != now) app.sessions.end_all();
}

void identify(Request& request, App& app) {
  end_outdated_logins(app);
  const std::string_view credentials = request.header("authorization");
  if (small(credentials.substr(0, kBearer.size())) == kBearer) {
    request.session = app.tokens.find(credentials.substr(kBearer.size()));
    return;
  }
  const std::string_view secret = cookie(request.header("cookie"), "capi_session");
  // Nor does a user open a stream: a page does, again whenever something on the way cuts it.
  const bool is_users_doing =
      request.header("x-capi-refresh").empty() && request.path != kEventsPath;
  if (!secret.empty()) request.session = app.sessions.find(secret, now_ms(), is_users_doing);
}

std::optional<Response> refusal(const Request& request, Access access) {
  if (access == Access::Anyone) return std::nullopt;
  if (access == Access::Login) return refusal_of_form(request);
  if (request.session == nullptr) return ask_for_login(request);
  if (access == Access::Reader) return std::nullopt;
  if (access == Access::Change) return refusal_of_change(request);
  auto refused = refusal_of_form(request);
  if (refused || is_same_secret(request.field("token"), request.session->token)) return refused;
  return refuse_token(request);
}

}  // namespace tools::web
