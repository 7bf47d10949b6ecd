// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the processes of a run do all day.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

#include "device.h"

namespace capi::soak {

using Random = std::mt19937;

// Numbers for content: small, so that their texts differ in length.
uint32_t any_number(Random& random);

// Does one operation, and notes on the board what it writes while it is under way.
void do_any_operation(Board::Worker& worker, Random& random);

// Reads a store and fails the run when anything in it is not whole. Returns how many entries there
// are, or -1 when the store cannot be read.
int check_call_log();
int check_messages(int selector);

// Lists of a call log, oldest first.
const capi_call_log_image* read_calls();

}  // namespace capi::soak
