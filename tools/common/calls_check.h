// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is unsound in a call-log file, in words.
#pragma once

#include "fault.h"

namespace tools {

Faults check_call_log(const std::string& content);

}  // namespace tools
