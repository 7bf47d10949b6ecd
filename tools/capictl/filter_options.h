// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The options by which calls and messages are chosen.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "filter.h"

namespace tools::capictl {

// --since and --number.
void add_filter_options(CLI::App* command, Filter& filter);

// --limit and --reverse.
void add_order_options(CLI::App* command, Order& order);

// Deletes nothing without a yes: that of --yes, or of the user on a terminal. Throws a Failure.
void confirm(const std::string& what, bool says_yes);

}  // namespace tools::capictl
