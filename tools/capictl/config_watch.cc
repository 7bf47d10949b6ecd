// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config watch.
#include <memory>

#include "commands.h"
#include "keys.h"
#include "print.h"
#include "value.h"
#include "watcher.h"

namespace tools::capictl {
namespace {

struct Args {
  int interval_ms = 0;
  int count = 0;
};

// Prints what differs and returns how much does.
int print_changes(const cfg_shared_record& before, const cfg_shared_record& now,
                  const Context& context) {
  Table table("changes", {{"key"}, {"old"}, {"new"}});
  for (const Difference& difference : differences(before, now)) {
    const Key& key = *difference.key;
    table.add({key.label(), shown_value(key, difference.before, context.secrets()),
               shown_value(key, difference.after, context.secrets())});
  }
  print_more(table, context);
  return static_cast<int>(table.rows().size());
}

void watch(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink());
  Watcher watcher(CAPI_TOPIC_CONFIG | CAPI_TOPIC_DEVICE, args.interval_ms);
  View view;
  fprintf(stderr, "Watching %zu values. Ctrl-C ends.\n", all_keys().size());
  int seen = 0;
  while ((args.count == 0 || seen < args.count) && watcher.wait() != 0) {
    const auto before = view.look();
    seen += print_changes(*before, view.record(), context);
    if (!flush_line()) return;
  }
}

}  // namespace

void add_config_watch(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("watch", "Print values as other processes change them");
  const auto args = std::make_shared<Args>();
  command
      ->add_option("--interval", args->interval_ms,
                   "Milliseconds that pass at least between two looks")
      ->check(CLI::Range(1, 3600'000));
  command->add_option("--count", args->count, "End after this many changes")
      ->check(CLI::NonNegativeNumber);
  command->footer(
      "Prints key, old and new value, and does nothing while nothing changes. A value\n"
      "that changes back before it is looked at is not seen. Ctrl-C ends.\n\n"
      "Example:\n  capictl config watch --interval 1000");
  command->callback([args, &context] { watch(context, *args); });
}

}  // namespace tools::capictl
