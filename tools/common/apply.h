// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Changed values on their way to those who use them.
#pragma once

#include <vector>

#include "keys.h"

namespace tools {

// What tells the programs of the adapter that the configuration changed.
constexpr char kChangeSignal[] = "vop_sig_cfg_changed_info";

// Writes the file of each voice stack that has one of these values in it, and posts the signal,
// once for all. Needs an Attachment. Throws a Failure where a file could not be written, after the
// rest was done.
void apply(const std::vector<const Key*>& keys);

}  // namespace tools
