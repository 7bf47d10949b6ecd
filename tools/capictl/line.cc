// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl line.
#include <memory>

#include "call_days.h"
#include "commands.h"
#include "lines.h"

namespace capictl {
namespace {

bool wants(int wanted, int index) { return wanted == 0 || wanted == index + 1; }

bool was_published(const capi_line_reg_stat& stat) { return stat.magic[0] != '\0'; }

int registered_stacks(const cfg_shared_record& record, int line) {
  int count = 0;
  for (const auto& stack : record.reg_stat) {
    if (was_published(stack[line]) && stack[line].registered != 0) ++count;
  }
  return count;
}

std::string phone_status(const cfg_shared_record& record, int line) {
  const std::string status = text_of(record.phone_phy_status[line]);
  return status.empty() ? "Unknown" : status;
}

// With its texts, which only a library that is attached fills in.
capi_line_reg_stat registration(const cfg_shared_record& record, int line, int stack) {
  capi_line_reg_stat stat{};
  if (capi_live_get_line_reg_stat(line, &stat, stack) == 0) return stat;
  stat = record.reg_stat[stack][line];
  strcpy(stat.status_text, stat.registered != 0 ? "Registered" : "Unregistered");
  return stat;
}

void show(const Context& context, int line) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  print({line_table(record, line), registration_table(record, line)}, context);
}

}  // namespace

Table line_table(const cfg_shared_record& record, int line) {
  Table table("lines", {{"line", Type::Number},
                        {"enabled", Type::Flag},
                        {"name"},
                        {"user"},
                        {"phone"},
                        {"hook", Type::Flag, "off_hook"},
                        {"stacks", Type::Number, "registered_stacks"},
                        {"mail", Type::Flag, "voice_mail"}});
  for (int i = 0; i < CAPI_SIP_LINES; ++i) {
    if (!wants(line, i)) continue;
    const capi_voice_sip_line& config = record.sip_line[i];
    table.add({std::to_string(i + 1), std::to_string(config.enable), text_of(config.display_name),
               text_of(config.user_name), phone_status(record, i),
               std::to_string(record.shared_phone_status[i].hook),
               std::to_string(registered_stacks(record, i)),
               std::to_string(record.shared_reg_summary[i].vm)});
  }
  return table;
}

Table registration_table(const cfg_shared_record& record, int line) {
  Table table("registrations", {{"line", Type::Number},
                                {"stack", Type::Number},
                                {"type"},
                                {"status"},
                                {"since", Type::Time},
                                {.title = "reason", .is_long = true},
                                {.title = "detail", .is_long = true}});
  for (int i = 0; i < CAPI_SIP_LINES; ++i) {
    for (int stack = 0; stack < CAPI_VOICE_STACKS; ++stack) {
      if (!wants(line, i) || !was_published(record.reg_stat[stack][i])) continue;
      const capi_line_reg_stat stat = registration(record, i, stack);
      table.add({std::to_string(i + 1), std::to_string(stack + 1),
                 text_of(record.voice_stack[stack].type), text_of(stat.status_text),
                 time_text(stat.registered != 0 ? stat.reg_time : stat.unreg_time),
                 text_of(stat.reason_text), text_of(stat.detail_text)});
    }
  }
  return table;
}

namespace {

struct HistoryArgs {
  Filter filter;
  Order order;
};

void show_history(const Context& context, const HistoryArgs& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_CALL_LOG});
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

}  // namespace capictl
