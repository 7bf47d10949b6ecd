// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The states that a crash in the middle of a record can leave.
#pragma once

#include <string>
#include <vector>

#include "record.h"

namespace capi::crash {

struct State {
  Tree tree;
  bool promised;    // success had been reported
  std::string how;  // which actions are there or missing, by their numbers
};

// How far the states go.
struct Bounds {
  std::vector<size_t> pages;  // lengths at which writes are cut, besides 1, half and all but 1
  size_t subsets;             // up to so many unsynced actions all subsets, else pairs
  size_t combinations;        // of what two files may hold; above it, one file varies at a time
};
Bounds short_bounds();
Bounds full_bounds();

// A process dies: all that it did is visible, the last write up to any length.
std::vector<State> kill_states(const Record& record, const Bounds& bounds, Contents& contents);

// The power goes. What a sync covered is there. Of the rest, any subset is:
// - Data: each write and truncation of a file may be there or not, the writes up to a length, with
//   the new size but zeros or garbage in it, or without their first half.
// - Mode and owner: each change may be there or not.
// - Names: each change may be there or not, in no order, and without the data of their file; that a
//   file was synced says nothing about its name. A rename replaces its target in one step, but its
//   two names may be there together or, over an existing target, be lost alone.
std::vector<State> power_states(const Record& record, const Bounds& bounds, Contents& contents);

}  // namespace capi::crash
