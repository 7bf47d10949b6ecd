// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Carrying out requests.
#pragma once

#include <pending.h>

#include <optional>
#include <vector>

#include "request.h"

namespace tools::mqtt {

// What a request did beyond what the adapter shows.
struct Outcome {
  std::optional<pending::Change> waiting;
  std::vector<Error> errors;  // of what was done in part
};

// All but Command::Refresh. "Generation" is that of the settings. Needs an Attachment. Throws a
// Refusal.
Outcome carry_out(const Request& request, uint64_t generation);

}  // namespace tools::mqtt
