// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the loader would not take as it stands in a setting file.
#pragma once

#include <string>
#include <vector>

namespace capictl {

struct Finding {
  int line;  // from 1
  std::string text;
};

// Checks the content of a setting file.
std::vector<Finding> lint(const std::string& content);

}  // namespace capictl
