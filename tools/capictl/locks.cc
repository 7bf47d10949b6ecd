// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl locks.
#include "locks.h"

#include "commands.h"
#include "print.h"

namespace tools::capictl {

void add_locks(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("locks", "Show who holds which lock and how many wait");
  command->footer(
      "Takes no lock itself, so it answers while everything else waits.\n\n"
      "Example:\n  capictl locks");
  command->callback([&context] {
    capiv2_log_init(context.log_sink());
    print(lock_table(), context);
  });
}

}  // namespace tools::capictl
