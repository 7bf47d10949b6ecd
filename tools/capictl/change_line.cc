// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "change_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <ctime>

#include "print.h"
#include "text.h"

namespace tools::capictl {
namespace {

constexpr std::string_view kCutMark = "...";

// Columns of the terminal that standard output is; 0 when it is none.
size_t terminal_width() {
  if (isatty(STDOUT_FILENO) == 0) return 0;
  winsize size{};
  const bool is_known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return is_known ? size.ws_col : 80;
}

bool begins_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

// Cut to so many characters, the last of which say so.
std::string cut(const std::string& line, size_t columns) {
  size_t seen = 0;
  size_t end = line.size();
  for (size_t i = 0; i < line.size(); ++i) {
    if (begins_character(line[i]) && ++seen + kCutMark.size() == columns + 1) end = i;
  }
  return seen <= columns ? line : line.substr(0, end).append(kCutMark);
}

std::string shown(const std::string& value) { return value.empty() ? "(empty)" : printable(value); }

}  // namespace

std::string local_time(int64_t seconds) {
  const auto time = static_cast<time_t>(seconds);
  // Where it has 32 bits it knows no time zone beyond 2038.
  if (time != seconds) {
    const std::string in_utc = time_text(seconds);
    return in_utc.substr(0, in_utc.size() - 1) + "+00:00";
  }
  tm parts{};
  char text[40];
  localtime_r(&time, &parts);
  strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &parts);
  std::string result = text;
  return result.insert(result.size() - 2, ":");
}

ChangeLine::ChangeLine(unsigned topic, const char* change)
    : topic_(kTopicNames[std::countr_zero(topic)]),
      time_(local_time(time(nullptr))),
      json_(cJSON_CreateObject()) {
  text("time", time_).text("topic", topic_).text("change", change);
}

ChangeLine& ChangeLine::text(const char* name, std::string_view value) {
  cJSON_AddStringToObject(json_.get(), name, json_text(value).c_str());
  return *this;
}

ChangeLine& ChangeLine::number(const char* name, int64_t value) {
  cJSON_AddRawToObject(json_.get(), name, std::to_string(value).c_str());
  return *this;
}

ChangeLine& ChangeLine::flag(const char* name, bool value) {
  cJSON_AddBoolToObject(json_.get(), name, value);
  return *this;
}

ChangeLine& ChangeLine::numbers(const char* name, const int32_t* values, size_t count) {
  cJSON_AddItemToObject(json_.get(), name, cJSON_CreateIntArray(values, static_cast<int>(count)));
  return *this;
}

ChangeLine& ChangeLine::words(std::string words) {
  words_ = {std::move(words)};
  return *this;
}

ChangeLine& ChangeLine::values(std::string what, std::string before, std::string after) {
  words_ = {std::move(what), std::move(before), std::move(after)};
  return *this;
}

void ChangeLine::print(const Context& context) const {
  if (context.json) return print_json_line(json_.get());
  const size_t width = terminal_width();
  const std::string gap = width > 0 ? "  " : "\t";
  std::string line = time_ + gap + topic_ + gap + printable(words_[0]);
  if (words_.size() == 1) {
    // Nothing more.
  } else if (width > 0) {
    line += ": " + shown(words_[1]) + " -> " + shown(words_[2]);
  } else {
    line += gap + printable(words_[1]) + gap + printable(words_[2]);
  }
  puts((width > 0 ? cut(line, width) : line).c_str());
}

}  // namespace tools::capictl
