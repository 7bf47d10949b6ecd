// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace capictl {

// The names of the signals that the library reads and writes as JSON, and that it posts itself.
std::vector<std::string> signal_names();

}  // namespace capictl
