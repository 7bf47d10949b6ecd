// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "log_ring.h"

#include <ctime>
#include <deque>
#include <string>

#include "text.h"

namespace tools::web {
namespace {

constexpr int kLastLevel = 5;  // of those for what is amiss
constexpr size_t kLongest = 256;

struct Line {
  int64_t at;
  int level;
  std::string text;
};

// A sink is a function, with no place of its own to keep anything.
std::deque<Line>& lines() {
  static std::deque<Line> kept;
  return kept;
}

}  // namespace

void keep_log(int level, const char* text) {
  if (level > kLastLevel) return;
  std::string line = std::string(text).substr(0, kLongest);
  line.erase(line.find_last_not_of("\r\n") + 1);
  if (lines().size() == kLogLines) lines().pop_front();
  lines().push_back({time(nullptr), level, std::move(line)});
}

void keep_and_print_log(int level, const char* text) {
  keep_log(level, text);
  print_log(level, text);
}

Table log_table() {
  Table table("log", {{"time", Type::Time}, {"level", Type::Number}, {"text"}});
  for (const Line& line : lines()) {
    table.add({time_text(line.at), std::to_string(line.level), line.text});
  }
  return table;
}

}  // namespace tools::web
