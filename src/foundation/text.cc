// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace capi {

void copy_text(char* dst, size_t size, std::string_view text) {
  if (size < 2) return;
  memset(dst, 0, size);
  if (!text.empty()) memcpy(dst, text.data(), std::min(text.size(), size - 1));
}

std::string_view without_line_end(std::string_view line) {
  for (int i = 0; i < 2 && !line.empty(); ++i) {
    if (line.back() != '\n' && line.back() != '\r') break;
    line.remove_suffix(1);
  }
  return line;
}

std::string_view first_line(std::string_view text) {
  size_t length = 0;
  while (length < text.size() && text[length] != '\n' && text[length] != '\r') ++length;
  return head(text, length);
}

int32_t parse_int32(const char* text) {
  // Most numbers are plain, and short enough to fit in any case.
  const bool is_negative = *text == '-';
  const char* const digits = text + (is_negative ? 1 : 0);
  const char* end = digits;
  int32_t number = 0;
  for (; *end >= '0' && *end <= '9' && end - digits < 9; ++end) number = number * 10 + (*end - '0');
  if (*end == '\0' && end != digits) return is_negative ? -number : number;
  const long value = strtol(text, nullptr, 10);
  return static_cast<int32_t>(std::clamp<long>(value, INT32_MIN, INT32_MAX));
}

std::string_view NumberText::put(int32_t number) {
  char* const end = std::end(text_);
  char* begin = end;
  uint32_t rest = number < 0 ? 0 - static_cast<uint32_t>(number) : static_cast<uint32_t>(number);
  do {
    *--begin = static_cast<char>('0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (number < 0) *--begin = '-';
  return {begin, static_cast<size_t>(end - begin)};
}

}  // namespace capi

using namespace capi;

void strcpy_safe(char* dst, const char* src, int size) {
  if (dst == nullptr || size < 2) return;
  const auto capacity = static_cast<size_t>(size);
  copy_text(dst, capacity, bounded(src != nullptr ? src : "", capacity - 1));
}

void utils_str_trim(char* s, char ch) {
  if (s == nullptr || ch == '\0') return;
  char* end = std::remove(s, s + strlen(s), ch);
  *end = '\0';
}

void utils_str_trim_left(char* s, char ch) {
  if (s == nullptr || ch == '\0') return;
  const char* start = s;
  while (*start == ch) ++start;
  memmove(s, start, strlen(start) + 1);
}

char* utils_str_trim_right(char* s, char ch) {
  if (s == nullptr || ch == '\0') return s;
  size_t length = strlen(s);
  while (length > 0 && s[length - 1] == ch) s[--length] = '\0';
  return s;
}
