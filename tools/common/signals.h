// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The signals that programs of the adapter know.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace tools {

struct Signal {
  const char* name;
  const char* meaning;
};

// Those that the library reads and writes as JSON, and that it posts itself.
std::span<const Signal> all_signals();
std::vector<std::string> signal_names();

struct SignalCall {
  std::string name;
  std::vector<std::string> params;  // up to three
};

// Throws a Failure for a name with a typing error, for which nobody waits.
void refuse_unknown(const SignalCall& call);

// The name and the texts go to the device's shell, the texts between quotes, in a command of
// limited length: throws a Failure for what could mean something there, or could be cut.
void refuse_unsafe(const SignalCall& call);

// Posts one that is not refused. Needs an Attachment. Throws a Failure.
void post_signal(const SignalCall& call);

}  // namespace tools
