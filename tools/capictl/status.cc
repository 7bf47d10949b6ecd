// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl status.
#include "commands.h"
#include "print.h"
#include "status_tables.h"

namespace tools::capictl {
namespace {

void show(const Context& context) {
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  print(status_tables(adapter, record), context);
}

}  // namespace

void add_status(CLI::App& app, Context& context) {
  CLI::App* command =
      app.add_subcommand("status", "Show adapter, device, SIM, lines, stores and locks");
  command->footer(
      "Under \"adapter\" stand the time when the settings were published, the generation\n"
      "of the record, which grows with each change, and how often another record took\n"
      "the place of this process's one. While somebody holds a lock for longer than a second, it "
      "is told "
      "who, and what needs that lock is left out.\n\nExample:\n  capictl status --json");
  command->callback([&context] { show(context); });
}

}  // namespace tools::capictl
