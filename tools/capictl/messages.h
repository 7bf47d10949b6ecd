// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "filter.h"
#include "table.h"

namespace capictl {

// The messages of a box ("received", "sent") that are meant. Throws a Failure.
Table message_table(const std::string& box, const Filter& filter, const Order& order);

}  // namespace capictl
