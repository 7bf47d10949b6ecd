// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What texts and numbers have to look like. A format is code and knows no key; a key is a row and
// has no code.
//
// Leaves to keys/check.cc what holds for all values: length, blanks, comments, line ends.
#pragma once

#include <cstdint>
#include <string_view>

namespace capi::keys {

// The name and an example finish the sentence "that is not ...".
struct Format {
  bool (*accepts)(std::string_view text);
  char name[40];
  char example[56];
};

// By enum capi_key_format; any text and numbers are accepted by everyone.
const Format& format_of(int format);

// A number as the library itself writes it.
enum class NumberSyntax : uint8_t { Number, TooLarge, NoNumber };
NumberSyntax read_number(std::string_view text, int32_t& number);

}  // namespace capi::keys
