// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the library logs, line by line.
#pragma once

#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/log.h"

namespace capi::test {

struct LogLine {
  int level;  // kLogErr and so on
  std::string func;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Lines to compare the captured ones with.
inline std::vector<LogLine> lines(std::initializer_list<LogLine> expected) { return expected; }

// The log sink: hand it to capi_init() or capiv2_log_init(). Sets errno, as a sink may.
void capture_log(int level, const char* text);

// What was captured in this process since the last clear_log().
const std::vector<LogLine>& captured_log();
void clear_log();

// The captured lines up to a level; most tests do not care about traces.
std::vector<LogLine> captured_log(int max_level);

}  // namespace capi::test
