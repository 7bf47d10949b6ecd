// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// One call of each exported function, with arguments that make it do its work.
#pragma once

#include <vector>

#include "capi/log.h"

namespace capi::test {

struct Operation {
  const char* name;  // of the function

  // Whether it answers as it should. The caller's records and buffers are static: what it needs of
  // the stack is the library's.
  bool (*run)();
};

// In an order in which each finds what it needs.
std::vector<Operation> every_operation();

// Brings a fresh adapter into the state for them, with this sink.
void prepare_operations(capi_log_sink sink);

}  // namespace capi::test
