// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Running shell commands.
//
// The device's tools are reached by the shell because their output, and the commands as such, are
// known to people and scripts there. A command is run by the program's own user with all its
// rights.
//
// Leaves to its callers that a command is whole: one that was cut to fit a buffer is somebody
// else's command and must not be run.
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
