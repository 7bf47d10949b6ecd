// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "text.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <utility>

namespace tools {
namespace {

// Whether a character may begin so: not too long a spelling, no surrogate, and nothing behind the
// last character there is.
bool may_begin_with(uint8_t first, uint8_t second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second <= 0x9F;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second <= 0x8F;
    default:
      return true;
  }
}

// How many bytes a character has that begins with this one; 0 when none does.
size_t announced_size(uint8_t first) {
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  if (first < 0xE0) return 2;
  return first < 0xF0 ? 3 : 4;
}

// How many bytes of the text, which is not empty, are its first character in UTF-8; 0 when they are
// none.
size_t character_size(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const size_t size = announced_size(byte(0));
  if (size <= 1) return size;
  if (text.size() < size || !may_begin_with(byte(0), byte(1))) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return size;
}

// How many letters have to be changed, added, left out or swapped with the next to make one word of
// the other.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<size_t> before(b.size() + 1);
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    std::vector<size_t> next(b.size() + 1, i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      next[j + 1] = std::min({next[j] + 1, row[j + 1] + 1, row[j] + (a[i] == b[j] ? 0 : 1)});
      const bool are_swapped = i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j];
      if (are_swapped) next[j + 1] = std::min(next[j + 1], before[j - 1] + 1);
    }
    before = std::exchange(row, std::move(next));
  }
  return row.back();
}

// Where a line of the text ends, which does not fit into one.
size_t end_of_line(std::string_view text, size_t max_width) {
  size_t end = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (width(text.substr(0, i)) > max_width && end > 0) break;
    if (text[i] == ' ') end = i;
    if (text[i] == ',' && width(text.substr(0, i + 1)) <= max_width) end = i + 1;
  }
  return end == 0 ? text.size() : end;
}

constexpr size_t kLongestWord = 100;  // to guess about

// 2000-01-01T00:00:00Z.
constexpr uint32_t kFirstTime = 946684800;

}  // namespace

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const size_t size = character_size(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

std::string json_text(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t size = text[0] == '\0' ? 0 : character_size(text);
    result += size == 0 ? "\xEF\xBF\xBD" : text.substr(0, size);
    text.remove_prefix(std::max<size_t>(size, 1));
  }
  return result;
}

bool has_nul(std::string_view json) {
  if (json.find('\0') != std::string_view::npos) return true;
  for (size_t i = json.find('\\'); i < json.size(); i = json.find('\\', i + 2)) {
    if (json.substr(i + 1).starts_with("u0000")) return true;
  }
  return false;  // the second of two backslashes begins no escape
}

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t size = character_size(text);
    const auto first = static_cast<uint8_t>(text[0]);
    const bool is_control = first < ' ' || first == 0x7F ||
                            (size == 2 && first == 0xC2 && static_cast<uint8_t>(text[1]) < 0xA0);
    const std::string_view character = text.substr(0, std::max<size_t>(size, 1));
    text.remove_prefix(character.size());
    if (size != 0 && !is_control) {
      result += character;
    } else if (first == '\n') {
      result += "\\n";
    } else if (first == '\t') {
      result += "\\t";
    } else {
      for (const char c : character) {
        char escape[8];
        snprintf(escape, sizeof escape, "\\x%02x", static_cast<uint8_t>(c));
        result += escape;
      }
    }
  }
  return result;
}

size_t width(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::vector<std::string> wrapped(std::string_view text, size_t max_width) {
  std::vector<std::string> lines;
  while (width(text) > max_width) {
    const size_t end = end_of_line(text, max_width);
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(text.find_first_not_of(' ', end), text.size()));
  }
  if (!text.empty() || lines.empty()) lines.emplace_back(text);
  return lines;
}

std::vector<std::string> split(std::string_view list, char separator) {
  std::vector<std::string> words;
  while (true) {
    const size_t end = list.find(separator);
    words.emplace_back(list.substr(0, end));
    if (end == std::string_view::npos) return words;
    list.remove_prefix(end + 1);
  }
}

std::string joined(const std::vector<std::string>& words, std::string_view between) {
  std::string result;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) result += between;
    result += words[i];
  }
  return result;
}

std::vector<std::string> lines_of(std::string_view text) {
  std::vector<std::string> lines = split(text, '\n');
  if (lines.back().empty()) lines.pop_back();
  return lines;
}

std::vector<std::string> words_of(std::string_view text) {
  constexpr char kBlanks[] = " \t\n\v\f\r";
  std::vector<std::string> words;
  for (size_t begin = text.find_first_not_of(kBlanks); begin != std::string_view::npos;) {
    const size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
    words.emplace_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::string lower(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

std::string nearest(std::string_view word, const std::vector<std::string>& candidates) {
  std::string best;
  if (word.size() > kLongestWord) return best;
  size_t least = std::max<size_t>(word.size() / 3, 1) + 1;
  for (const std::string& candidate : candidates) {
    const size_t steps = distance(word, candidate);
    if (steps >= least) continue;
    least = steps;
    best = candidate;
  }
  const auto begun = std::ranges::find_if(
      candidates, [word](const std::string& one) { return one.starts_with(word); });
  if (best.empty() && word.size() > 1 && begun != candidates.end()) best = *begun;
  return best;
}

std::string guess(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string near = nearest(word, candidates);
  return near.empty() ? "." : "; did you mean " + near + "?";
}

std::string counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string time_text(int64_t seconds) {
  if (seconds == 0) return "";
  // Beyond 2038 as well, where time_t has 32 bits.
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[40];
  snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
           static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
           static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
           static_cast<int>(clock.seconds().count()));
  return text;
}

bool is_time(uint32_t seconds) { return seconds >= kFirstTime; }

int64_t seconds_of(const tm& parts) {
  const auto day = std::chrono::year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
  const int64_t days = std::chrono::sys_days(day).time_since_epoch().count();
  return ((days * 24 + parts.tm_hour) * 60 + parts.tm_min) * 60 + parts.tm_sec;
}

std::string time_or_number(uint32_t seconds) {
  return is_time(seconds) ? time_text(seconds) : std::to_string(seconds);
}

}  // namespace tools
