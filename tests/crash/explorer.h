// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Explores a scene: records it, builds the states that a crash leaves, and lets the next processes
// look at each.
#pragma once

#include <map>
#include <string>

#include "scene.h"
#include "states.h"

namespace capi::crash {

// What the states of one kind of crash have cost.
struct Tally {
  unsigned states = 0;
  unsigned lost = 0;  // in all, the next two included
  unsigned silently = 0;
  unsigned wrong = 0;
  unsigned undone = 0;
  unsigned left_over = 0;  // states after which files stay that nobody uses
  unsigned earlier = 0;    // not a loss: nothing was promised

  bool is_clean() const { return lost + undone + left_over == 0; }
  Tally& operator+=(const Tally& other);
};

struct Result {
  Tally kill;
  Tally power;
  Tally again;                 // crashes of the next change, of any kind, in states of the first
  unsigned calls_failed = 0;   // calls that were made to fail, one at a time
  unsigned failures_lost = 0;  // those that cost something
  bool is_planted = false;     // the operation has what the planted fault, if any, leaves out
};

struct Options {
  Bounds bounds;
  Plant plant = Plant::None;
  bool again = true;    // also crashes of the next change
  bool fails = true;    // also calls that fail
  std::string state{};  // look at this state only, and tell all about it
  unsigned shown = 0;   // tell about so many states that lose something
};

Result explore(const Scene& scene, const Options& options);

}  // namespace capi::crash
