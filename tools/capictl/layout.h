// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Tables for people, as wide as the terminal.
#pragma once

#include "table.h"

namespace tools::capictl {

// How many characters a line has; without an end where no terminal says so.
size_t terminal_width();

// Whether standard output takes colours.
bool has_colours();

// A text that stands out from what is under it.
std::string heading(const std::string& text);

// No value is cut and no word broken: a long value goes on a line of its own, and columns that have
// no room are left out from the right, which is told on standard error.
void print_set(const Table& table, bool has_header);

}  // namespace tools::capictl
