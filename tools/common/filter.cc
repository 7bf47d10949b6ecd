// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "filter.h"

#include <algorithm>
#include <ctime>

#include "adapter.h"
#include "text.h"

namespace tools {
namespace {

// What people put between the digits.
std::string bare(const std::string& number) {
  std::string result;
  for (const char c : number) {
    if (std::string_view("+ -/().").find(c) == std::string_view::npos) result += c;
  }
  return result;
}

// "2h" in seconds, 0 for what is no age.
int64_t age_of(const std::string& text) {
  struct Unit {
    char letter;
    int64_t seconds;
  };
  constexpr Unit kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', 604800}};
  constexpr size_t kMostDigits = 6;
  if (text.size() < 2 || text.size() > kMostDigits + 1) return 0;
  if (text.find_first_not_of("0123456789") != text.size() - 1) return 0;
  for (const Unit& unit : kUnits) {
    if (text.back() == unit.letter) return std::stoll(text) * unit.seconds;
  }
  return 0;
}

// A date, with a time or without, all of the text.
bool read_time(const std::string& text, int64_t& time) {
  for (const char* form : {"%Y-%m-%d", "%Y-%m-%dT%H:%M", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%SZ",
                           "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S"}) {
    tm parts{};
    const char* end = strptime(text.c_str(), form, &parts);
    if (end == nullptr || *end != '\0') continue;
    time = seconds_of(parts);
    return true;
  }
  return false;
}

}  // namespace

bool Filter::is_empty() const {
  return type < 0 && line < 0 && !unread && since.empty() && number.empty() && text.empty();
}

bool Filter::has_type_only() const {
  Filter other = *this;
  other.type = -1;
  return type >= 0 && other.is_empty();
}

int64_t moment_of(const std::string& text, int64_t now) {
  int64_t time = 0;
  if (const int64_t age = age_of(text)) return now - age;
  if (read_time(text, time)) return time;
  const std::string allowed = "2026-11-22, 2026-11-22T08:30:00Z, 30m, 2h, 3d or 1w";
  throw Failure("\"" + text + "\" is no time: it is written as " + allowed,
                {kUsage, "--since", allowed});
}

Matcher::Matcher(const Filter& filter)
    : filter_(filter), since_(filter.since.empty() ? 0 : moment_of(filter.since, time(nullptr))) {}

bool Matcher::operator()(const Candidate& candidate) const {
  if (filter_.type >= 0 && candidate.type != static_cast<unsigned>(filter_.type)) return false;
  if (filter_.line >= 0 && candidate.line != static_cast<unsigned>(filter_.line)) return false;
  if (filter_.unread && candidate.is_read) return false;
  const bool is_since = is_time(candidate.time) && candidate.time >= since_;
  if (!filter_.since.empty() && !is_since) return false;
  if (!filter_.number.empty() && bare(candidate.number) != bare(filter_.number)) return false;
  return lower(candidate.text).find(lower(filter_.text)) != std::string::npos;
}

}  // namespace tools
