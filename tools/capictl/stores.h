// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is in the stores of calls and short messages.
#pragma once

#include "table.h"

namespace capictl {

Table store_table();

}  // namespace capictl
