// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the bridge has done, for "capictl metrics".
#pragma once

#include <cstdint>
#include <string>

#include "request.h"

namespace tools::mqtt {

struct Counters {
  bool is_connected = false;
  uint64_t connections = 0;
  uint64_t failures = 0;     // to connect, and connections that were lost
  uint64_t published = 0;    // messages of any kind
  uint64_t events = 0;       // of these, calls and messages
  uint64_t answers[5] = {};  // by Status

  bool operator==(const Counters&) const = default;
};

// Lines of a name and a number.
std::string text_of(const Counters& counters);

}  // namespace tools::mqtt
