// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Logging from inside the library, and keeping errno over it.
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
