// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Calls per day and type as a picture, and as a table for who cannot see it.
#pragma once

#include <call_tables.h>

#include "html.h"

namespace tools::web {

// The days up to the one with this time, of which there are a few.
void add_chart(Html& html, const Calls& calls, int64_t now);

// "Type 1". What a type means is up to the programs that add the calls.
std::string name_of_type(unsigned type);

}  // namespace tools::web
