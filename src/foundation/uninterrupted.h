// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Calls of the system that a signal may cut short: the programs around us handle signals, and that
// one came is no reason to fail.
//
// Leaves to its callers what the call had done before; it must be one that can be made again. Calls
// on descriptors that do not wait have tries of their own (port/retries.h).
#pragma once

#include <cerrno>

namespace capi {

// Makes a call, again as long as it fails with EINTR. Returns what it gave then.
template <typename Call>
auto uninterrupted(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

}  // namespace capi
