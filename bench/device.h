// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter on which everything is measured: its files, its master, a sink that discards.
#pragma once

#include <string>
#include <vector>

#include "bench.h"
#include "capi.h"

namespace bench {

inline constexpr char kToolPath[] = "/usr/sbin/vsdk_cmd";

void discard_log(int level, const char* text);

// Makes this process the master of a fresh adapter whose every key is set.
void start_device();

// Writes a setting file of so many lines, such as a device has them. Returns its path.
std::string write_settings(int lines);

// Where a store's files may be. What a disk is waited for is no processor time.
struct Medium {
  std::string dir;
  const char* where;  // behind the name of a row
  Clock clock;
};

// In memory, and on the disk of the checkout.
const std::vector<Medium>& media();

// The whole of a file.
std::string read_file(const std::string& path);

}  // namespace bench
