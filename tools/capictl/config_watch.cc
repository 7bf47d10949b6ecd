// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config watch.
#include <csignal>
#include <ctime>
#include <memory>

#include "commands.h"
#include "keys.h"
#include "table.h"

namespace capictl {
namespace {

struct Args {
  int interval_ms = 200;
  int count = 0;
};

// Waits a while. True when the user wants to end.
bool wait_for_end(int interval_ms) {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  const timespec time{interval_ms / 1000, interval_ms % 1000 * 1'000'000L};
  return sigtimedwait(&ends, nullptr, &time) > 0;
}

void block_ends() {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  sigprocmask(SIG_BLOCK, &ends, nullptr);
}

// Prints what differs and returns how much does.
int print_changes(const cfg_shared_record& before, const cfg_shared_record& now,
                  const Context& context) {
  Table table("changes", {{"key"}, {"old"}, {"new"}});
  for (const Key& key : all_keys()) {
    const std::string old_value = value_of(before, key);
    const std::string new_value = value_of(now, key);
    if (old_value != new_value) table.add({key.label(), old_value, new_value});
  }
  print_more(table, context);
  fflush(stdout);
  return static_cast<int>(table.rows().size());
}

void watch(const Context& context, const Args& args) {
  const Attachment adapter(context);
  block_ends();
  auto before = std::make_unique<cfg_shared_record>(take_snapshot());
  fprintf(stderr, "Watching %zu values. Ctrl-C ends.\n", all_keys().size());
  int seen = 0;
  while ((args.count == 0 || seen < args.count) && !wait_for_end(args.interval_ms)) {
    auto now = std::make_unique<cfg_shared_record>(take_snapshot());
    seen += print_changes(*before, *now, context);
    before = std::move(now);
  }
}

}  // namespace

void add_config_watch(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("watch", "Print values as other processes change them");
  const auto args = std::make_shared<Args>();
  command->add_option("--interval", args->interval_ms, "Milliseconds between two looks (200)")
      ->check(CLI::Range(1, 3600'000));
  command->add_option("--count", args->count, "End after this many changes")
      ->check(CLI::NonNegativeNumber);
  command->footer(
      "Prints key, old and new value. A value that changes back between two looks is\n"
      "not seen. Ctrl-C ends.\n\nExample:\n  capictl config watch --interval 1000");
  command->callback([args, &context] { watch(context, *args); });
}

}  // namespace capictl
