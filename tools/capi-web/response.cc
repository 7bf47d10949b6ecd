// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "response.h"

#include <text.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "layout.h"

namespace tools::web {
namespace {

struct Reason {
  int status;
  std::string_view text;
};
constexpr Reason kReasons[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {303, "See Other"},
    {304, "Not Modified"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {415, "Unsupported Media Type"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

std::string code_of(int status) {
  std::string code(reason_of(status));
  std::ranges::transform(code, code.begin(), [](char c) {
    if (c == ' ') return '_';
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return code;
}

void add_text(cJSON* object, const char* name, std::string_view text) {
  if (!text.empty()) cJSON_AddStringToObject(object, name, json_text(text).c_str());
}

// As capictl --json tells of an error.
cJSON* error_object(int status, std::string_view text, const Why& why) {
  const std::string& name = why.code == kFailed ? code_of(status) : kExitCodes[why.code].name;
  cJSON* const document = cJSON_CreateObject();
  cJSON* const error = cJSON_AddObjectToObject(document, "error");
  add_text(error, "code", why.name.empty() ? name : why.name);
  add_text(error, "message", text);
  add_text(error, "key", why.key);
  add_text(error, "allowed", why.allowed);
  return document;
}

}  // namespace

std::string_view reason_of(int status) {
  const Reason* const found = std::ranges::find(kReasons, status, &Reason::status);
  return found == std::end(kReasons) ? std::string_view("Error") : found->text;
}

Response html(std::string page, int status) { return {.status = status, .body = std::move(page)}; }

Response json(cJSON* document, int status) {
  const Json owned(document);
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(document),
                                                          cJSON_free);
  return {.status = status, .type = kJson, .body = text ? text.get() : "{}"};
}

Response see_other(std::string path) {
  return {.status = 303, .headers = {{"Location", std::move(path)}}};
}

Response failure(const Request& request, int status, std::string_view text, const Why& why) {
  if (request.is_for_api()) return json(error_object(status, text, why), status);
  Html main;
  main.element("h1", reason_of(status)).raw("\n<p class=\"notice bad\">").text(text);
  main.raw("</p>\n<p><a href=\"/\">Overview</a></p>\n");
  return page_without_notices(request, reason_of(status), main, status);
}

}  // namespace tools::web
