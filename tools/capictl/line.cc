// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl line.
#include <memory>

#include "call_tables.h"
#include "commands.h"
#include "filter_options.h"
#include "print.h"
#include "status_tables.h"

namespace tools::capictl {
namespace {

void show(const Context& context, int line) {
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  print({line_table(record, line), registration_table(record, line)}, context);
}

struct HistoryArgs {
  Filter filter;
  Order order;
};

void show_history(const Context& context, const HistoryArgs& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  print(
      calls_by_day(read_calls(args.filter), args.order,
                   {"line", [](const capi_call_log_record& call) { return unsigned{call.endpt}; }}),
      context);
}

void add_history(CLI::App& line, Context& context) {
  CLI::App* command = line.add_subcommand("history", "Count the calls of each day and line");
  const auto args = std::make_shared<HistoryArgs>();
  command->add_option("LINE", args->filter.line, "Only this line, 0 for the calls of none")
      ->check(CLI::Range(0, int{CAPI_SIP_LINES}));
  add_filter_options(command, args->filter);
  add_order_options(command, args->order);
  command->footer(
      "Of the calls that are in the call log. On a terminal with a bar for each number of "
      "calls.\n\nExample:\n  capictl line history 1 --since 1w");
  command->callback([args, &context] { show_history(context, *args); });
}

}  // namespace

void add_line(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("line", "Show the telephone lines and registrations");
  const auto line = std::make_shared<int>(0);
  command->add_option("LINE", *line, "1 or 2")->check(CLI::Range(1, int{CAPI_SIP_LINES}));
  command->footer("Example:\n  capictl line 1");
  add_history(*command, context);
  command->callback([command, line, &context] {
    if (command->get_subcommands().empty()) show(context, *line);
  });
}

}  // namespace tools::capictl
