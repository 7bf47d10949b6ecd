// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Carrying out requests.
#pragma once

#include <pending.h>

#include <functional>
#include <optional>
#include <vector>

#include "request.h"

namespace tools::mqtt {

// What a request did beyond what the adapter shows.
struct Outcome {
  std::optional<pending::Change> waiting;
  std::vector<Error> errors;  // of what was done in part
};

// All but Command::Refresh. "Generation" looks for that of the settings. Needs an Attachment.
// Throws a Refusal.
Outcome carry_out(const Request& request, const std::function<uint64_t()>& generation);

}  // namespace tools::mqtt
