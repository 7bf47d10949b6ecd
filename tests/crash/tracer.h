// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Records what a process, and the processes that it starts, do to the files of some directories: at
// the border of the system, where no call can be missed.
#pragma once

#include <functional>
#include <string>

#include "disk.h"
#include "record.h"

namespace capi::crash {

// Whether this machine can: an emulated process cannot be traced.
bool can_trace();

// Calls on the files that fail.
struct Failures {
  int first_sync = 0;  // the number of the first file sync that fails, from 1; 0 for none
  int syncs = 0;       // how many fail, from that one on
  int action = 0;      // the number of the one action that fails, from 1; 0 for none
  int error = 0;
};

struct Trace {
  Record record;
  bool succeeded = false;    // what the operation returned
  bool met_failure = false;  // a call was made to fail
  std::string trouble{};     // what could not be recorded; empty is well
};

// Runs "operation" in a forked process after "start", which is not recorded. The directories must
// be as they are to be before. The operation returns whether it reports success.
Trace trace(const Disk& disk, Contents& contents, const std::function<void()>& start,
            const std::function<bool()>& operation, const Failures& failures = {});

}  // namespace capi::crash
