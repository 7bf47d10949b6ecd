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
#include <cstring>
#include <memory>

namespace capi {

// What a command prints, as popen() hands it out. The destructor waits for the command to end.
struct CommandEnder {
  void operator()(FILE* output) const { pclose(output); }
};
using CommandOutput = std::unique_ptr<FILE, CommandEnder>;

// Whether a text arrives whole and does nothing else where a command line has it without quotes, or
// between single ones. A blank may stand anywhere: without quotes it parts words, as callers know.
bool may_stand_unquoted(const char* text);
inline bool may_stand_in_single_quotes(const char* text) { return strchr(text, '\'') == nullptr; }

// Logs a text that may not stand in its place in a command line. Returns true for it, so that its
// caller goes no further.
bool refuse_unless(bool may_stand, const char* text, const char* func);
bool refuse_unquoted(const char* text, const char* func);

// Runs a command; nobody looks at how it ended.
void run_shell(const char* command);

}  // namespace capi
