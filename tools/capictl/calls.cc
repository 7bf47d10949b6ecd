// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl calls.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "commands.h"
#include "stores.h"
#include "table.h"

namespace capictl {
namespace {

struct Args {
  unsigned node = 0;
  int type = -1;
  std::string path;
  bool csv = false;
};

using Calls = std::vector<capi_call_log_record>;

int take_call(const capi_call_log_record* record, void* user) {
  static_cast<Calls*>(user)->push_back(*record);
  return 0;
}

// The calls of a type, or all with -1, the newest first.
Calls read_calls(int type) {
  Calls calls;
  if (capi_voip_call_log_dump(0, take_call, &calls) != 0) {
    throw Failure("the call log cannot be read. What is wrong with it: capictl calls check");
  }
  if (type >= 0) {
    std::erase_if(calls, [type](const auto& call) { return call.calltype != unsigned(type); });
  }
  return calls;
}

const capi_call_log_record& call_in_node(const Calls& calls, unsigned node) {
  for (const auto& call : calls) {
    if (call.index == node) return call;
  }
  throw Failure(
      "there is no call in node " + std::to_string(node) + ". All calls: capictl calls list",
      {kNotFound});
}

void list(const Context& context, const Args& args) {
  const Attachment adapter(context);
  Table table("calls", {{"node", Type::Number},
                        {"type", Type::Number},
                        {"line", Type::Number},
                        {"number"},
                        {"name"},
                        {"start", Type::Time},
                        {"connect", Type::Time},
                        {"end", Type::Time}});
  for (const auto& call : read_calls(args.type)) {
    table.add({std::to_string(call.index), std::to_string(call.calltype),
               std::to_string(call.endpt), text_of(call.number), text_of(call.displayname),
               time_or_number(call.calltimestart), time_or_number(call.calltimeconnect),
               time_or_number(call.calltimeend)});
  }
  print(table, context);
}

// Every value of a call beside its name, in the order of the file.
std::vector<std::pair<std::string, std::string>> values_of(const capi_call_log_record& call) {
  const capi_call_log_statistics& media = call.statistics;
  return {{"node", std::to_string(call.index)},
          {"sequence", std::to_string(call.sequence)},
          {"type", std::to_string(call.calltype)},
          {"line", std::to_string(call.endpt)},
          {"start", time_or_number(call.calltimestart)},
          {"connect", time_or_number(call.calltimeconnect)},
          {"end", time_or_number(call.calltimeend)},
          {"name", text_of(call.displayname)},
          {"number", text_of(call.number)},
          {"PacketsSent", std::to_string(media.PacketsSent)},
          {"PacketsReceived", std::to_string(media.PacketsReceived)},
          {"PacketsLost", std::to_string(media.PacketsLost)},
          {"PacketsDiscarded", std::to_string(media.PacketsDiscarded)},
          {"BytesReceived", std::to_string(media.BytesReceived)},
          {"BytesSent", std::to_string(media.BytesSent)},
          {"RoundTripDelay", std::to_string(media.RoundTripDelay)},
          {"PayloadType", std::to_string(media.PayloadType)},
          {"ReceiveInterarrivalJitter", std::to_string(media.ReceiveInterarrivalJitter)},
          {"MinJitter", std::to_string(media.MinJitter)},
          {"MaxJitter", std::to_string(media.MaxJitter)},
          {"Decodelatency", std::to_string(media.Decodelatency)}};
}

Type type_of(const std::string& name) {
  if (name == "name" || name == "number") return Type::Text;
  return name == "start" || name == "connect" || name == "end" ? Type::Time : Type::Number;
}

void show(const Context& context, const Args& args) {
  const Attachment adapter(context);
  Table table = Table::of_facts("call");
  for (const auto& [name, value] : values_of(call_in_node(read_calls(-1), args.node))) {
    table.add_fact({name, type_of(name)}, value);
  }
  print(table, context);
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) result += c == '"' ? std::string("\"\"") : std::string(1, c);
  return result + "\"";
}

std::string csv_head() {
  std::string head;
  for (const auto& [name, value] : values_of({})) head += (head.empty() ? "" : ",") + name;
  return head;
}

std::string csv_row(const Calls::value_type& call) {
  std::string row;
  for (const auto& [name, value] : values_of(call)) {
    row += (row.empty() ? "" : ",") + (type_of(name) == Type::Text ? quoted(value) : value);
  }
  return row;
}

void write_csv(FILE* out, const Calls& calls) {
  const bool shows_progress = isatty(STDERR_FILENO) != 0 && isatty(fileno(out)) == 0;
  fprintf(out, "%s\n", csv_head().c_str());
  size_t done = 0;
  for (const auto& call : calls) {
    fprintf(out, "%s\n", csv_row(call).c_str());
    if (shows_progress) fprintf(stderr, "\r%zu of %zu calls", ++done, calls.size());
  }
  if (shows_progress) fputs("\n", stderr);
}

void export_calls(const Context& context, const Args& args) {
  const Attachment adapter(context);
  const Calls calls = read_calls(args.type);
  if (args.path.empty()) return write_csv(stdout, calls);
  FILE* out = fopen(args.path.c_str(), "we");
  if (out == nullptr) throw Failure(args.path + " cannot be written");
  write_csv(out, calls);
  const bool is_whole = ferror(out) == 0;
  if (fclose(out) != 0 || !is_whole)
    throw Failure(args.path + " is not complete: is the disk full?");
}

void remove(const Context& context, const Args& args) {
  const Attachment adapter(context);
  const unsigned type = call_in_node(read_calls(-1), args.node).calltype;
  if (capi_voip_delete_call_log_by_node(type, args.node) != 0) {
    throw Failure("the call could not be deleted; --verbose tells more");
  }
}

void clear(const Context& context, const Args& args) {
  const Attachment adapter(context);
  if (args.type >= 0 && read_calls(args.type).empty()) return;
  const int result = args.type < 0
                         ? capi_voip_clean_all_call_log()
                         : capi_voip_clean_call_log_by_type(static_cast<unsigned>(args.type));
  if (result != 0) throw Failure("the call log could not be cleared; --verbose tells more");
}

void back_up(const Context& context, const Args& args) {
  const Attachment adapter(context);
  back_up_store(kCallLog, args.path);
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

void add_type(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_option("--type", args->type, "Only calls of this type")
      ->check(CLI::Range(0, CAPI_CALL_LOG_TYPES - 1));
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
      "What the types 0 to 2 and the times mean is up to the programs that add the calls.\n\n"
      "Example:\n  capictl calls list --type 2");
  const auto args = std::make_shared<Args>();
  add_type(add_command(*calls, "list", "Print the calls, the newest first",
                       "Example:\n  capictl calls list --type 2", context, args, list),
           args);
  add_node(add_command(*calls, "show", "Print all that is known of a call",
                       "Example:\n  capictl calls show 17", context, args, show),
           args);
  CLI::App* command =
      add_command(*calls, "export", "Write the calls as comma-separated values",
                  "Example:\n  capictl calls export --csv calls.csv", context, args, export_calls);
  command->add_flag("--csv", args->csv, "The only form there is, and so the default");
  command->add_option("FILE", args->path, "Instead of standard output");
  add_type(command, args);
  add_node(add_command(*calls, "delete", "Remove a call", "Example:\n  capictl calls delete 17",
                       context, args, remove),
           args);
  add_type(add_command(*calls, "clear", "Remove all calls",
                       "Example:\n  capictl calls clear --type 2", context, args, clear),
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

}  // namespace capictl
