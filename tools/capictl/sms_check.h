// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is unsound in a file of short messages, in words.
#pragma once

#include "fault.h"

namespace capictl {

Faults check_messages(const std::string& content);

// How many messages a file counts that is usable.
unsigned count_messages(const std::string& content);

}  // namespace capictl
