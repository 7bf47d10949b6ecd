// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl calls.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "call_tables.h"
#include "commands.h"
#include "filter_options.h"
#include "print.h"
#include "store_check.h"
#include "stores.h"

namespace tools::capictl {
namespace {

struct Args {
  unsigned node = 0;
  Filter filter;
  Order order;
  bool says_yes = false;
  std::string path;
  bool csv = false;
};

const capi_call_log_record& call_in_node(const Calls& calls, unsigned node) {
  for (const auto& call : calls) {
    if (call.index == node) return call;
  }
  throw Failure(
      "there is no call in node " + std::to_string(node) + ". All calls: capictl calls list",
      {kNotFound});
}

void list(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  Calls calls = read_calls(args.filter);
  args.order.apply(calls);
  print(call_table(calls), context);
}

void show(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  print(call_facts(call_in_node(read_calls(), args.node)), context);
}

void write_csv(FILE* out, const Calls& calls) {
  const bool shows_progress = isatty(STDERR_FILENO) != 0 && isatty(fileno(out)) == 0;
  fprintf(out, "%s\n", call_csv_head().c_str());
  size_t done = 0;
  for (const auto& call : calls) {
    fprintf(out, "%s\n", call_csv_row(call).c_str());
    if (shows_progress) fprintf(stderr, "\r%zu of %zu calls", ++done, calls.size());
  }
  if (shows_progress) fputs("\n", stderr);
}

void export_calls(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  Calls calls = read_calls(args.filter);
  args.order.apply(calls);
  if (args.path.empty()) return write_csv(stdout, calls);
  FILE* out = fopen(args.path.c_str(), "we");
  if (out == nullptr) throw Failure(args.path + " cannot be written");
  write_csv(out, calls);
  const bool is_whole = ferror(out) == 0;
  if (fclose(out) != 0 || !is_whole)
    throw Failure(args.path + " is not complete: is the disk full?");
}

void remove(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  const unsigned type = call_in_node(read_calls(), args.node).calltype;
  if (capi_voip_delete_call_log_by_node(type, args.node) != 0) {
    throw Failure("the call could not be deleted; --verbose tells more");
  }
  Table facts = Table::of_facts("result");
  facts.add_fact({"deleted", Type::Number}, "1");
  report(facts, context);
}

void tell_deleted(const Context& context, size_t count) {
  fprintf(stderr, "%s deleted\n", counted(count, "call").c_str());
  Table facts = Table::of_facts("result");
  facts.add_fact({"deleted", Type::Number}, std::to_string(count));
  report(facts, context);
}

// How many there are to go; -1 for a damaged log, which is emptied only whole.
long count_of(const Filter& filter) {
  try {
    return static_cast<long>(read_calls(filter).size());
  } catch (const Failure& failure) {
    if (!filter.is_empty() || failure.why().code == kUsage) throw;
    return -1;
  }
}

bool delete_calls(const Filter& filter) {
  if (filter.is_empty()) return capi_voip_clean_all_call_log() == 0;
  if (filter.has_type_only()) {
    return capi_voip_clean_call_log_by_type(static_cast<unsigned>(filter.type)) == 0;
  }
  bool is_done = true;
  for (const auto& call : read_calls(filter)) {
    is_done = delete_if_there(call) && is_done;
  }
  return is_done;
}

void clear(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  const long count = count_of(args.filter);
  if (count == 0) return tell_deleted(context, 0);
  confirm(count < 0 ? "empty the damaged call log"
                    : "delete " + counted(static_cast<size_t>(count), "call"),
          args.says_yes);
  if (!delete_calls(args.filter)) {
    throw Failure("the call log could not be cleared; --verbose tells more");
  }
  tell_deleted(context, static_cast<size_t>(std::max(count, 0L)));
}

void back_up(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  back_up_store(kCallLog, args.path);
  Table facts = Table::of_facts("result");
  facts.add({"file", args.path});
  report(facts, context);
}

// How many calls of a kind a day had, and how long people talked.
void stats(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_CALL_LOG});
  print(calls_by_day(read_calls(args.filter), args.order,
                     {"type", [](const capi_call_log_record& call) { return call.calltype; }}),
        context);
}

void check(Context& context, const Args& args) { check_store(kCallLog, args.path, context); }

template <typename Run>
CLI::App* add_command(CLI::App& calls, const char* name, const char* what, const char* footer,
                      Context& context, const std::shared_ptr<Args>& args, Run run) {
  CLI::App* command = calls.add_subcommand(name, what);
  command->footer(footer);
  command->callback([args, &context, run] { run(context, *args); });
  return command;
}

void add_filter(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_option("--type", args->filter.type, "Only calls of this type")
      ->check(CLI::Range(0, CAPI_CALL_LOG_TYPES - 1));
  command->add_option("--line", args->filter.line, "Only calls of this line, 0 for those of none")
      ->check(CLI::Range(0, int{CAPI_SIP_LINES}));
  add_filter_options(command, args->filter);
}

void add_selection(CLI::App* command, const std::shared_ptr<Args>& args) {
  add_filter(command, args);
  add_order_options(command, args->order);
}

void add_node(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_option("NODE", args->node, "The call's node, as listed")
      ->required()
      ->check(CLI::Range(0, CAPI_CALL_LOG_NODES - 1));
}

}  // namespace

void add_calls(CLI::App& app, Context& context) {
  CLI::App* calls = app.add_subcommand("calls", "Show and change the call log");
  calls->require_subcommand(1);
  calls->footer(
      "What the types 0 to 2 mean is up to the programs that add the calls. The line is 1 or 2, or "
      "0 where nobody said.\n\n"
      "Example:\n  capictl calls list --type 2");
  const auto args = std::make_shared<Args>();
  add_selection(add_command(*calls, "list", "Print the calls, the newest first",
                            "Times are in UTC. What cannot be one, because the program that added "
                            "the call counts something else, is the number.\n\n"
                            "Examples:\n  capictl calls list --type 2\n"
                            "  capictl calls list --line 1 --since 2h --limit 10",
                            context, args, list),
                args);
  add_node(add_command(*calls, "show", "Print all that is known of a call",
                       "Example:\n  capictl calls show 17", context, args, show),
           args);
  CLI::App* command =
      add_command(*calls, "export", "Write the calls as comma-separated values",
                  "Example:\n  capictl calls export --csv calls.csv", context, args, export_calls);
  command->add_flag("--csv", args->csv, "The only form there is, and so the default");
  command->add_option("FILE", args->path, "Instead of standard output");
  add_selection(command, args);
  add_node(add_command(*calls, "delete", "Remove a call", "Example:\n  capictl calls delete 17",
                       context, args, remove),
           args);
  command = add_command(*calls, "clear", "Remove all calls, or those that are meant",
                        "Asks before, and says how many went. Where nobody can be asked it "
                        "removes nothing without --yes.\n\n"
                        "Examples:\n  capictl calls clear --type 2\n"
                        "  capictl calls clear --number +15551230007 --yes",
                        context, args, clear);
  add_filter(command, args);
  command->add_flag("--yes", args->says_yes, "Ask nothing");
  add_selection(add_command(*calls, "stats", "Count the calls of each day and type",
                            "On a terminal with a bar for each number of calls.\n\n"
                            "Example:\n  capictl calls stats --since 1w",
                            context, args, stats),
                args);
  add_command(*calls, "backup", "Copy the call log's file",
              "Example:\n  capictl calls backup /tmp/call_log.backup", context, args, back_up)
      ->add_option("PATH", args->path, "Where to")
      ->required();
  add_command(*calls, "check", "Tell what is unsound in the call log's file",
              "Tells what the library would do about it, too. Reads only. Exit code 1 when "
              "something\nis found.\n\n"
              "Examples:\n  capictl calls check\n  capictl calls check /tmp/call_log.backup",
              context, args, check)
      ->add_option("FILE", args->path, "Another file than the adapter's, which need not run then");
}

}  // namespace tools::capictl
