// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a crash has cost, judged from what the next process sees.
#pragma once

#include <string>
#include <vector>

#include "record.h"

namespace capi::crash {

// What stands for a content: of each file of an operation, what its reader makes of it.
using Parts = std::vector<std::string>;
inline constexpr char kAbsent[] = "absent";
inline constexpr char kUnreadable[] = "unreadable";

// From the best to the worst.
enum class Outcome : uint8_t {
  Kept,          // the old content or the new one
  Earlier,       // the old one after success was reported, where nothing is promised about that
  Undone,        // the old one although success had been reported
  Lost,          // nothing, and the log tells so
  LostSilently,  // nothing, without a word
  Wrong,         // read as if it were sound, but something else; or with another mode or owner
};

// What one kind of process sees in one state.
struct Sight {
  bool finished = false;  // it neither hung nor died
  Parts parts{};
  std::vector<std::string> log{};  // its warnings and errors
  bool next_done = false;          // the next change succeeded
  Parts next_parts{};
  std::vector<std::string> names{};  // the files there in the end
};

// What such a process sees where nothing crashed.
struct Expectation {
  Sight before;
  Sight after;
  Sight gone;   // when there is no file at all
  Parts fresh;  // what the master makes where there is nothing
  bool durable;
};

// The worst of the parts.
Outcome judge(const Sight& sight, const Expectation& expected, bool promised);

// Files that nobody uses and nobody removes: those that neither sight without a crash has.
std::vector<std::string> left_over(const Sight& sight, const Expectation& expected,
                                   const std::vector<std::string>& allowed_endings);

// Whether the files have the mode and owner that they had before the operation or, those that it
// makes, "may_change" or not, after it.
bool has_right_meta(const Tree& state, const Tree& before, const Tree& after, bool may_change);

}  // namespace capi::crash
