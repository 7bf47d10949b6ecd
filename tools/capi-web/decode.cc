// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "decode.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tools::web {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

void append_hex(std::string& text, unsigned char byte) {
  text += kDigits[byte >> 4];
  text += kDigits[byte & 15];
}

int digit_of(char c) {
  const char small = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  const size_t digit = kDigits.find(small);
  return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

// A text area has lines.
bool is_allowed(unsigned char c, Coding coding) {
  if (c >= ' ' && c != 0x7F) return true;
  return coding == Coding::Form && (c == '\t' || c == '\r' || c == '\n');
}

// A "/" that was coded would part what was one.
bool take_coded(std::string_view& coded, Coding coding, std::string& text) {
  if (coded.size() < 3) return false;
  const int high = digit_of(coded[1]);
  const int low = digit_of(coded[2]);
  if (high < 0 || low < 0) return false;
  const auto c = static_cast<unsigned char>(high * 16 + low);
  if (!is_allowed(c, coding) || (coding == Coding::Path && c == '/')) return false;
  text += static_cast<char>(c);
  coded.remove_prefix(3);
  return true;
}

std::string_view take_until(std::string_view& text, char end) {
  const size_t size = std::min(text.find(end), text.size());
  const std::string_view taken = text.substr(0, size);
  text.remove_prefix(std::min(size + 1, text.size()));
  return taken;
}

}  // namespace

bool decode(std::string_view coded, Coding coding, std::string& text) {
  text.clear();
  while (!coded.empty()) {
    if (coded.front() == '%') {
      if (!take_coded(coded, coding, text)) return false;
      continue;
    }
    if (!is_allowed(static_cast<unsigned char>(coded.front()), coding)) return false;
    text += coding == Coding::Form && coded.front() == '+' ? ' ' : coded.front();
    coded.remove_prefix(1);
  }
  return true;
}

std::string encode(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::string coded;
  for (const char c : text) {
    if (kPlain.find(c) != std::string_view::npos) {
      coded += c;
    } else {
      coded += '%';
      append_hex(coded, static_cast<unsigned char>(c));
    }
  }
  return coded;
}

bool decode_form(std::string_view coded, Fields& fields) {
  while (!coded.empty()) {
    std::string_view value = take_until(coded, '&');
    const std::string_view name = take_until(value, '=');
    std::pair<std::string, std::string> field;
    if (!decode(name, Coding::Form, field.first)) return false;
    if (!decode(value, Coding::Form, field.second)) return false;
    if (!field.first.empty()) fields.push_back(std::move(field));
  }
  return true;
}

std::string_view cookie(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    std::string_view value = take_until(header, ';');
    while (value.starts_with(' ')) value.remove_prefix(1);
    if (take_until(value, '=') == name) return value;
  }
  return {};
}

bool is_same_secret(std::string_view a, std::string_view b) {
  unsigned difference = a.size() == b.size() ? 0 : 1;
  for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
    difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
  }
  return difference == 0;
}

std::string new_secret(size_t bytes) {
  std::array<unsigned char, 32> random;
  bytes = std::min(bytes, random.size());
  if (getrandom(random.data(), bytes, 0) != static_cast<ssize_t>(bytes)) {
    throw std::runtime_error("the system has no random numbers");
  }
  std::string text;
  for (size_t i = 0; i < bytes; ++i) append_hex(text, random[i]);
  return text;
}

}  // namespace tools::web
