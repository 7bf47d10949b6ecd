// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whether the bytes of a call-log file are sound, told for people.
#pragma once

#include <string>
#include <vector>

namespace capictl {

// What is wrong with a file of this content; nothing when it is sound.
std::vector<std::string> check_call_log(const std::string& content);

}  // namespace capictl
