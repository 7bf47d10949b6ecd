// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Logging from inside the library, and keeping errno over it.
//
// A line shows the name of a function. People and scripts on the device look for these names, so
// many of them are not those of the functions in our sources: what an operation has always been
// called is its name in the log, and moving code must not change it (CAPI_LOG_AS). The same holds
// for texts and levels; docs/troubleshooting.md lists all of them.
//
// The sink is a function of the program's that runs on our caller's thread, maybe under our locks.
// Whoever logs may still look at errno afterwards: a sink's failures do not reach us.
#pragma once

#include <cerrno>

#include "capi/log.h"

namespace capi {

enum LogLevel : int {
  kLogErr = 3,      // internal errors
  kLogWarning = 4,  // file and resource errors
  kLogNotice = 5,   // failures of public getters
  kLogInfo = 6,     // progress
  kLogDebug = 7,    // traces
};

// Whoever logs may still want to look at errno, and a sink may change it.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { errno = saved_; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  int saved_;
};

}  // namespace capi

// Logs under the name of the calling function, or under the name that people know an operation by.
#define CAPI_LOG(level, ...) capiv2_log_print(level, __func__, __LINE__, __VA_ARGS__)
#define CAPI_LOG_AS(name, level, ...) capiv2_log_print(level, name, __LINE__, __VA_ARGS__)
