// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Logging in and out, and the tokens of programs.
#include "app.h"
#include "login_page.h"
#include "route.h"
#include "text.h"

namespace tools::web {
namespace {

// Behind a proxy with TLS the cookie is not to be sent without.
std::string cookie_end(const Request& request) {
  const bool is_encrypted = request.header("origin").starts_with("https://");
  return std::string("; HttpOnly; SameSite=Strict; Path=/") + (is_encrypted ? "; Secure" : "");
}

Response refuse_for_now(const Request& request, int64_t wait_ms) {
  const std::string seconds = std::to_string((wait_ms + 999) / 1000);
  Response response = login_page(request, "Too many wrong passwords: wait " + seconds + " s.", 429);
  response.headers.emplace_back("Retry-After", seconds);
  return response;
}

// To where the login was asked for; elsewhere than on this server never.
std::string destination_of(const Request& request) {
  const std::string_view next = request.field("next");
  const bool is_ours = next.starts_with('/') && !next.starts_with("//") &&
                       next.find_first_of("\\\r\n\t") == std::string_view::npos && is_utf8(next);
  return is_ours ? std::string(next) : "/";
}

// A login of before ends: its number may be known to somebody.
Response post_login(const Request& request, App& app) {
  const int64_t wait_ms = app.throttle.wait_ms(request.address, now_ms());
  if (wait_ms > 0) return refuse_for_now(request, wait_ms);
  const std::string hash = read_password_file(app.password_file);
  if (!is_password(std::string(request.field("password")), hash)) {
    app.throttle.failed(request.address, now_ms());
    return login_page(request, "The password is wrong.", 403);
  }
  app.throttle.succeeded(request.address);
  if (request.session != nullptr) app.sessions.end(request.session->name);
  const Session& session = app.sessions.begin(request.address, now_ms(), now_s());
  Response response = see_other(destination_of(request));
  response.headers.emplace_back("Set-Cookie",
                                "capi_session=" + session.secret + cookie_end(request));
  return response;
}

Response get_login(const Request& request, App&) { return login_page(request, {}, 200); }

Response post_logout(const Request& request, App& app) {
  app.sessions.end(request.session->name);
  Response response = see_other("/login");
  response.headers.emplace_back("Set-Cookie", "capi_session=; Max-Age=0" + cookie_end(request));
  return response;
}

cJSON* to_json(const ApiTokens::Token& token) {
  cJSON* const object = cJSON_CreateObject();
  cJSON_AddStringToObject(object, "id", token.id.c_str());
  cJSON_AddStringToObject(object, "name", json_text(token.name).c_str());
  cJSON_AddNumberToObject(object, "made_at", static_cast<double>(token.made_at));
  return object;
}

Response get_tokens(const Request&, App& app) {
  cJSON* const document = cJSON_CreateObject();
  cJSON* const tokens = cJSON_AddArrayToObject(document, "tokens");
  for (const ApiTokens::Token& token : app.tokens.all()) {
    cJSON_AddItemToArray(tokens, to_json(token));
  }
  return json(document);
}

// A program is not to let in others.
bool is_program(const Request& request) { return request.session->secret.empty(); }

Response refuse_program(const Request& request) {
  return failure(request, 403, "API tokens are made and revoked by a login only.");
}

// A line of a file, which is shown to people.
bool is_name(const char* name) {
  const std::string text = name == nullptr ? "" : name;
  return !text.empty() && width(text) <= 64 && text.front() != ' ' && printable(text) == text;
}

Response post_token(const Request& request, App& app) {
  if (is_program(request)) return refuse_program(request);
  const char* const name =
      cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(request.json.get(), "name"));
  if (!is_name(name)) {
    return failure(request, 422, "\"name\" says what the token is for, in up to 64 characters.");
  }
  const std::string token = app.tokens.make(name, now_s());
  cJSON* const document = to_json(app.tokens.all().back());
  cJSON_AddStringToObject(document, "token", token.c_str());
  app.events.tell(kTopicChange);
  return json(document, 201);
}

Response delete_token(const Request& request, App& app) {
  if (is_program(request)) return refuse_program(request);
  if (!app.tokens.revoke(request.part("id"))) {
    return failure(request, 404, "There is no such token.");
  }
  app.events.tell(kTopicChange);
  return {.status = 204};
}

constexpr Route kRoutes[] = {
    {Method::Get, "/login", Access::Anyone, get_login},
    {Method::Post, "/login", Access::Login, post_login},
    {Method::Post, "/logout", Access::Form, post_logout},
    {Method::Get, "/api/1/tokens", Access::Reader, get_tokens},
    {Method::Post, "/api/1/tokens", Access::Change, post_token},
    {Method::Delete, "/api/1/tokens/{id}", Access::Change, delete_token},
};

}  // namespace

Routes login_routes() { return kRoutes; }

}  // namespace tools::web
