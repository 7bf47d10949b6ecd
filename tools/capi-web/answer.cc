// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "answer.h"

#include <cctype>
#include <charconv>

#include "layout.h"
#include "session.h"
#include "text.h"

namespace tools::web {
namespace {

int status_of(ExitCode code) {
  switch (code) {
    case kUsage:
      return 400;
    case kNotFound:
      return 404;
    case kRefused:
      return 422;
    case kNoAdapter:
    case kTimedOut:
      return 503;
    default:
      return 500;
  }
}

bool is_whole_number(std::string_view text, int64_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// The error names the parameter as a query has it.
std::string time_in(const Request& request, const char* name) {
  std::string time(request.parameter(name));
  if (time.empty()) return time;
  try {
    moment_of(time, now_s());
  } catch (const Failure& failure) {
    throw Failure(failure.what(), {kUsage, name, failure.why().allowed});
  }
  return time;
}

}  // namespace

Response failed(const Request& request, const Failure& failure) {
  const int status = status_of(failure.why().code);
  const std::string text = request.is_for_api() ? failure.what() : sentence(failure.what());
  Response response = web::failure(request, status, text, failure.why());
  if (failure.why().code == kTimedOut) response.headers.emplace_back("Retry-After", kRetryAfter);
  return response;
}

int number_of(const Request& request, const char* name, int min, int max, int none) {
  const std::string_view text = request.parameter(name);
  if (text.empty()) return none;
  int64_t number = 0;
  if (is_whole_number(text, number) && number >= min && number <= max) {
    return static_cast<int>(number);
  }
  const std::string allowed = std::to_string(min) + " to " + std::to_string(max);
  throw Failure(std::string(name) + " is " + allowed, {kUsage, name, allowed});
}

uint64_t id_of(const Request& request, const char* name) {
  int64_t number = 0;
  const std::string_view text = request.part(name);
  if (is_whole_number(text, number) && number >= 0) return static_cast<uint64_t>(number);
  throw Failure("there is no " + std::string(name) + " " + printable(text), {kNotFound});
}

Filter filter_of(const Request& request) {
  Filter filter;
  filter.type = number_of(request, "type", 0, CAPI_CALL_LOG_TYPES - 1, -1);
  filter.line = number_of(request, "line", 0, CAPI_SIP_LINES, -1);
  filter.number = request.parameter("number");
  filter.since = time_in(request, "since");
  filter.text = request.parameter("text");
  filter.unread = number_of(request, "unread", 0, 1, 0) != 0;
  return filter;
}

std::string text_in(const Request& request, const char* name) {
  const char* const text =
      cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(request.json.get(), name));
  if (text != nullptr) return text;
  throw Failure("\"" + std::string(name) + "\" is missing: a text", {kUsage, name, "a text"});
}

std::string sentence(std::string text) {
  if (text.empty()) return text;
  text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  if (text.back() != '.' && text.back() != '?') text += '.';
  return text;
}

std::string owner_of(const Request& request) {
  return "capi-web, session " + request.session->name;
}

}  // namespace tools::web
