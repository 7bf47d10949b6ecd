// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Bounded texts: the fields of our records may lack a terminator, so every look at one is bounded.
//
// Records come from other processes and from files. So a field becomes a text by bounded(), which
// never looks behind the field, and a text becomes a field by copy_text(), which always terminates
// and clears the rest: no byte of an older, longer text stays in what other processes read or what
// goes into a file.
//
// Views do not own. One of a field of the segment is good only while its lock is held, and shows
// whatever the field has at the time.
//
// None of this depends on the locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "capi/util.h"

namespace capi {

// The text in a field, which ends at its terminator or at the field's width.
inline std::string_view bounded(const char* field, size_t width) {
  return {field, strnlen(field, width)};
}

template <size_t N>
std::string_view bounded(const char (&field)[N]) {
  return bounded(field, N);
}

// A caller's length as a size: nothing may be written where it is not positive.
inline size_t buffer_size(int len) { return len > 0 ? static_cast<size_t>(len) : 0; }

// strcpy_safe() for a text that need not be terminated.
void copy_text(char* dst, size_t size, std::string_view text);

template <size_t N>
void copy_text(char (&dst)[N], std::string_view text) {
  copy_text(dst, N, text);
}

inline bool contains(std::string_view text, std::string_view piece) {
  return text.find(piece) != std::string_view::npos;
}

// std::string_view's own needs the C++ runtime library where nothing is inlined.
inline bool starts_with(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

// The first "count" characters of a text, or all of them.
inline std::string_view head(std::string_view text, size_t count) {
  return {text.data(), count < text.size() ? count : text.size()};
}

// The part of a text behind its first "count" characters; empty when there is none.
inline std::string_view tail(std::string_view text, size_t count) {
  text.remove_prefix(count < text.size() ? count : text.size());
  return text;
}

// A line without its end: at most two characters go, "\r\n" in either order.
std::string_view without_line_end(std::string_view line);

// A text up to its first line end. A value that goes into a line of a file ends there: the rest
// would be lines of its own.
std::string_view first_line(std::string_view text);

// What strtol makes of a decimal number where long has 32 bits: saturated, and 0 for no number.
int32_t parse_int32(const char* text);

// A number's decimal text.
class NumberText {
 public:
  std::string_view put(int32_t number);

 private:
  char text_[12];
};

// Blanks and control characters, whatever the locale; bytes of 128 and above are text.
constexpr bool is_blank_or_control(char c) { return static_cast<unsigned char>(c) <= ' '; }

}  // namespace capi

// The arguments of "%.*s" for a string_view.
#define CAPI_TEXT_ARG(view) static_cast<int>((view).size()), (view).data()
