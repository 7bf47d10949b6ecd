// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Running shell commands.
#pragma once

#include <cstdio>
#include <memory>

namespace capi {

struct PipeCloser {
  void operator()(FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, PipeCloser>;

// Runs a command; nobody looks at how it ended.
void run_shell(const char* command);

}  // namespace capi
