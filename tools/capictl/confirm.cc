// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config confirm, cancel and pending.
#include "confirm.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

#include "commands.h"
#include "print.h"
#include "text.h"

namespace tools::capictl {
namespace {

void tell(const pending::Outcome& outcome) {
  for (const std::string& trouble : troubles_of(outcome)) {
    fprintf(stderr, "capictl: %s\n", printable(trouble).c_str());
  }
}

void confirm(const Context& context, const std::string& id) {
  const pending::Outcome outcome = confirm_change(id);
  if (context.json) print(outcome_tables(outcome), context);
}

void cancel(const Context& context, const std::string& id) {
  named_change(id);  // needs no adapter to find none
  const Attachment adapter(context.log_sink());
  const pending::Outcome outcome = cancel_change(id);
  if (context.json) return print(outcome_tables(outcome), context);
  tell(outcome);
}

void add_command(CLI::App& config, Context& context, const char* name, const char* text,
                 const char* footer, void (*run)(const Context&, const std::string&)) {
  CLI::App* command = config.add_subcommand(name, text);
  const auto id = std::make_shared<std::string>();
  command->add_option("ID", *id, "As it was printed; without, the one that waits");
  command->footer(footer);
  command->callback([id, run, &context] { run(context, *id); });
}

}  // namespace

std::string change_owner() { return "capictl, user " + std::to_string(getuid()); }

void tell(const pending::Change& change) {
  puts(change.id.c_str());
  fprintf(stderr, "capictl: it goes back in %s s, at %s, unless: capictl config confirm %s\n",
          seconds_left(change).c_str(), time_text(change.deadline).c_str(), change.id.c_str());
}

void tell_what_was_left() {
  const std::optional<pending::Outcome> outcome = go_back_if_left();
  if (!outcome) return;
  fprintf(stderr, "capictl: the change %s was not confirmed and has gone back\n",
          outcome->id.c_str());
  tell(*outcome);
}

void add_config_confirm(CLI::App& config, Context& context) {
  add_command(config, context, "confirm", "Keep a change that would go back",
              "A change goes back that was made with --confirm-within.\n\n"
              "Example:\n  capictl config confirm",
              confirm);
  add_command(config, context, "cancel", "Take a change back that waits for its confirmation",
              "Values that somebody else has changed meanwhile stay, and are told of. Files\n"
              "and programs that --apply has reached get what was before.\n\n"
              "Example:\n  capictl config cancel",
              cancel);
  CLI::App* command =
      config.add_subcommand("pending", "Show the change that waits for its confirmation");
  command->footer(
      "Or what became of the last one, and which values somebody else had changed.\n"
      "Needs no adapter.\n\nExample:\n  capictl config pending");
  command->callback([&context] { print(change_tables(context.secrets()), context); });
}

}  // namespace tools::capictl
