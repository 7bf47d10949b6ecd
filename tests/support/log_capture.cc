// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/log_capture.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <mutex>

namespace capi::test {
namespace {

std::vector<LogLine> captured_lines;
std::mutex captured_mutex;

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << "{" << line.level << ", " << line.func << ", \"" << line.text << "\"}";
}

void capture_log(int level, const char* text) {
  const std::string line = text;
  LogLine captured{level, "", line};
  // "func():Line[n] text"
  const size_t mark = line.find("():Line[");
  const size_t end = mark == std::string::npos ? mark : line.find("] ", mark);
  if (end != std::string::npos) captured = {level, line.substr(0, mark), line.substr(end + 2)};
  {
    const std::lock_guard guard(captured_mutex);
    captured_lines.push_back(captured);
  }
  errno = ENOTTY;
}

const std::vector<LogLine>& captured_log() { return captured_lines; }

void clear_log() { captured_lines.clear(); }

std::vector<LogLine> captured_log(int max_level) {
  std::vector<LogLine> result;
  std::copy_if(captured_lines.begin(), captured_lines.end(), std::back_inserter(result),
               [&](const LogLine& line) { return line.level <= max_level; });
  return result;
}

}  // namespace capi::test
