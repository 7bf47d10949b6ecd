// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// One operation under one fault, in a process of its own on an adapter of its own.
#pragma once

#include <map>
#include <string>

#include "operation.h"
#include "support/faults.h"

namespace capi::test {

// A way in which a call can fail.
struct FaultKind {
  const char* name;
  Call call;
  int error;
  bool half = false;
};

// The calls that take and free locks.
bool is_lock_call(Call call);

// What came of a trial.
struct Outcome {
  std::string told;      // result, files and log in a line
  std::string mistakes;  // what must never be, a line each
  std::map<Call, int> calls;
  std::map<std::string, std::string> files;  // their contents
};

// What is known of an operation when nothing fails; files are compared with it.
Outcome run_without_fault(const Operation& operation, const std::function<void()>& make_adapter);

Outcome run_with_fault(const Operation& operation, const std::function<void()>& make_adapter,
                       const Fault& fault, const Outcome& good);

}  // namespace capi::test
