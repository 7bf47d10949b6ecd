// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Running shell commands.
#pragma once

#include <cstdio>
#include <memory>

namespace capi {

// What a command prints, as popen() hands it out. The destructor waits for the command to end.
struct CommandEnder {
  void operator()(FILE* output) const { pclose(output); }
};
using CommandOutput = std::unique_ptr<FILE, CommandEnder>;

// Runs a command; nobody looks at how it ended.
void run_shell(const char* command);

}  // namespace capi
