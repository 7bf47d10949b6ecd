// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "message.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace tools::web {
namespace {

constexpr std::string_view kEnd = "\r\n\r\n";

char small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_token_char(char c) {
  return is_digit(c) || (small(c) >= 'a' && small(c) <= 'z') ||
         (c != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
}

bool is_visible(char c) { return c > ' ' && c < '\x7F'; }

// Up to the first of "c", which goes as well.
std::string_view take_until(std::string_view& text, std::string_view end) {
  const size_t size = std::min(text.find(end), text.size());
  const std::string_view taken = text.substr(0, size);
  text.remove_prefix(std::min(size + end.size(), text.size()));
  return taken;
}

std::string_view trimmed(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// Those that others know besides ours are for the routes to refuse, which know what is allowed.
bool is_known_method(std::string_view method) {
  constexpr std::string_view kMethods[] = {"GET",     "HEAD",  "POST",  "DELETE", "PUT",
                                           "OPTIONS", "PATCH", "TRACE", "CONNECT"};
  return std::ranges::find(kMethods, method) != std::end(kMethods);
}

bool is_path(std::string_view target) {
  return target.starts_with('/') && !target.starts_with("//") &&
         target.find('#') == std::string_view::npos && std::ranges::all_of(target, is_visible);
}

int read_first_line(std::string_view line, Message& message) {
  const std::string_view method = take_until(line, " ");
  const std::string_view target = take_until(line, " ");
  if (method.empty() || !std::ranges::all_of(method, is_token_char)) return 400;
  if (!is_path(target) || !line.starts_with("HTTP/")) return 400;
  if (line != "HTTP/1.1" && line != "HTTP/1.0") return 505;
  if (!is_known_method(method)) return 501;
  message.method = method;
  message.target = target;
  return 0;
}

// Two of these would have two meanings. Of the others the first counts.
bool comes_once(std::string_view name) {
  constexpr std::string_view kNames[] = {"host",   "content-length", "content-type", "origin",
                                         "cookie", "authorization",  "x-capi-token", "connection"};
  return std::ranges::find(kNames, name) != std::end(kNames);
}

int read_field(std::string_view line, Message& message) {
  const size_t colon = line.find(':');
  if (colon == 0 || colon == std::string_view::npos) return 400;
  std::string name(line.substr(0, colon));
  if (!std::ranges::all_of(name, is_token_char)) return 400;
  std::ranges::transform(name, name.begin(), small);
  if (comes_once(name) && find(message.headers, name) != nullptr) return 400;
  message.headers.emplace_back(std::move(name), trimmed(line.substr(colon + 1)));
  return 0;
}

bool read_length(const std::string& text, size_t& length) {
  if (text.empty() || !std::ranges::all_of(text, is_digit)) return false;
  unsigned long long value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  length =
      result.ec == std::errc() && value <= kMaxBody ? static_cast<size_t>(value) : kMaxBody + 1;
  return true;
}

bool has_no_body(std::string_view method) { return method == "HEAD" || method == "TRACE"; }

int measure_body(const Message& message, size_t& length) {
  const std::string* const given = find(message.headers, "content-length");
  length = 0;
  if (find(message.headers, "transfer-encoding") != nullptr) return given == nullptr ? 411 : 400;
  if (find(message.headers, "expect") != nullptr) return 417;
  if (given == nullptr) return message.method == "POST" ? 411 : 0;
  if (!read_length(*given, length)) return 400;
  if (length > kMaxBody) return 413;
  return length > 0 && has_no_body(message.method) ? 400 : 0;
}

}  // namespace

int read_head(std::string_view head, Message& message, size_t& length) {
  int status = read_first_line(take_until(head, "\r\n"), message);
  while (status == 0 && !head.starts_with("\r\n")) {
    status = read_field(take_until(head, "\r\n"), message);
  }
  if (status != 0) return status;
  const std::string* const host = find(message.headers, "host");
  if (host == nullptr || host->empty()) return 400;
  return measure_body(message, length);
}

void Gate::refuse(int status) {
  refusal_ = status;
  std::string_view target = held_;
  take_until(target, " ");
  is_refused_for_api_ = target.starts_with("/api/");
  held_.clear();
}

// A control character, and half a line end, is found as soon as it is there: nobody waits for the
// rest of such a head.
void Gate::look_for_head_end() {
  for (; looked_at_ < held_.size(); ++looked_at_) {
    const char c = held_[looked_at_];
    const bool is_behind_return = looked_at_ > 0 && held_[looked_at_ - 1] == '\r';
    if ((c == '\n') != is_behind_return) return refuse(400);
    if (c != '\r' && c != '\n' && c != '\t' && c != ' ' && !is_visible(c)) return refuse(400);
    if (looked_at_ >= kMaxHead) return refuse(431);
    if (std::string_view(held_).substr(0, looked_at_ + 1).ends_with(kEnd)) {
      head_ = ++looked_at_;
      return;
    }
  }
}

// True when a request has become whole, and is still at the front of what is held.
bool Gate::read_one() {
  if (head_ == 0) {
    look_for_head_end();
    if (refusal_ != 0 || head_ == 0) return false;
    message_ = {};
    const int status = read_head(std::string_view(held_).substr(0, head_), message_, body_);
    if (status != 0) {
      refuse(status);
      return false;
    }
  }
  return held_.size() - head_ >= body_;
}

std::string Gate::take(std::string_view bytes) {
  std::string whole;
  if (refusal_ != 0) return whole;
  held_ += bytes;
  while (!held_.empty() && read_one()) {
    const size_t size = head_ + body_;
    message_.body = held_.substr(head_, body_);
    messages_.push_back(std::move(message_));
    whole += std::string_view(held_).substr(0, size);
    held_.erase(0, size);
    head_ = looked_at_ = 0;
  }
  return whole;
}

}  // namespace tools::web
