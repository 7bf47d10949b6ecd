// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The runs.
#pragma once

#include <cstdint>

namespace capi::soak {

struct KillPlan {
  uint32_t seed;
  unsigned kills;
  unsigned minutes;  // ends earlier after this time; 0 is never
};

// Kills processes at random instants while others go on, and prints what that cost.
void run_kills(const KillPlan& plan);

// Eight processes at full speed, each for so many rounds over all families.
void run_together(uint32_t seed, unsigned rounds);

// Readers without the lock beside setters that are killed: none may read anything torn.
void run_live(const KillPlan& plan);

// Watchers beside setters and watchers that are killed: each that lives has to come to see the last
// value.
void run_watchers(const KillPlan& plan);

}  // namespace capi::soak
