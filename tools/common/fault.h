// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is unsound in the file of a store.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace tools {

// How the library takes it.
enum class Outcome {
  Ignored,   // it does not notice
  AtStart,   // it uses the file until the master's next start, and then begins an empty one
  Replaced,  // it refuses the file, and begins an empty one
};

struct Fault {
  std::string text;
  Outcome outcome;
};

using Faults = std::vector<Fault>;

// Whether the library reads the file in spite of them.
inline bool is_usable(const Faults& faults) {
  return std::ranges::none_of(
      faults, [](const Fault& fault) { return fault.outcome == Outcome::Replaced; });
}

}  // namespace tools
