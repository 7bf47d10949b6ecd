// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The texts within a request.
#pragma once

#include <string>
#include <string_view>

#include "request.h"

namespace tools::web {

// Decodes percent signs, in forms and queries also "+" as a blank. False for a percent sign without
// two hexadecimal digits, and for a control character where no text of lines is meant.
enum class Coding { Path, Form };
bool decode(std::string_view coded, Coding coding, std::string& text);

// For a value of a query.
std::string encode(std::string_view text);

// "a=b&c=d". False where a name or value cannot be decoded.
bool decode_form(std::string_view coded, Fields& fields);

// The value of a cookie of the header's text; empty without one.
std::string_view cookie(std::string_view header, std::string_view name);

// So that how long it takes tells nothing of what is alike.
bool is_same_secret(std::string_view a, std::string_view b);

// Bytes that nobody can guess, as hexadecimal digits. Throws where the system has none.
std::string new_secret(size_t bytes);

}  // namespace tools::web
