// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Texts as terminals, shells and JSON can take them.
#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// Control characters, which could also steer a terminal, and what is not UTF-8 written out: "\n",
// "\x1b".
std::string printable(std::string_view text);

bool is_utf8(std::string_view text);

// A text as JSON can carry it: what it cannot becomes the sign for that.
std::string json_text(std::string_view text);

// Whether JSON has a NUL character, as it is or escaped: the parser would take it for the end of a
// text.
bool has_nul(std::string_view json);

// Characters as a terminal counts them, for texts in UTF-8.
size_t width(std::string_view text);

// The text in lines of at most this width, broken at blanks and behind commas; a word that is wider
// is a line of its own.
std::vector<std::string> wrapped(std::string_view text, size_t max_width);

// The words of a list with this character between them.
std::vector<std::string> split(std::string_view list, char separator);
std::string joined(const std::vector<std::string>& words, std::string_view between);

// The lines of a text, without their ends, and its words, which have blanks between them.
std::vector<std::string> lines_of(std::string_view text);
std::vector<std::string> words_of(std::string_view text);

// In lower case, of ASCII.
std::string lower(std::string text);

// The one that was probably meant by a word; "" when none is near.
std::string nearest(std::string_view word, const std::vector<std::string>& candidates);

// The same as the end of a sentence: "; did you mean list?", or a full stop.
std::string guess(std::string_view word, const std::vector<std::string>& candidates);

// "1 call", "3 calls".
std::string counted(size_t count, const std::string& noun);

// A time in seconds since 1970, as "2026-11-22T05:10:00Z"; "" for 0.
std::string time_text(int64_t seconds);

// The seconds since 1970 of a date and a time in UTC, beyond 2038 as well where time_t has 32 bits.
int64_t seconds_of(const tm& parts);

// The text of a time that others made: what lies before the first adapter was built is no such
// time, but a number of something else, and stays one.
std::string time_or_number(uint32_t seconds);
bool is_time(uint32_t seconds);

}  // namespace tools
