// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "context.h"

namespace tools::capictl {

// What may stand for the last of the words behind "capictl": commands, options, and values as they
// are now. Nothing for what is not the tool's to say, as the name of a file.
std::vector<std::string> completions(const CLI::App& app, const Context& context,
                                     const std::vector<std::string>& words);

}  // namespace tools::capictl
