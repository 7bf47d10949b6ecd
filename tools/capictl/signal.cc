// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl signal.
#include <cjson/cJSON.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include "commands.h"
#include "print.h"
#include "signals.h"

namespace tools::capictl {
namespace {

struct Args {
  SignalCall signal;
  bool is_forced = false;
};

void list(const Context& context) {
  Table table("signals", {{"name"}, {.title = "meaning", .is_long = true}});
  for (const Signal& signal : all_signals()) table.add({signal.name, signal.meaning});
  print(table, context);
}

void post(const Context& context, const Args& args) {
  refuse_unsafe(args.signal);
  if (!args.is_forced) refuse_unknown(args.signal);
  const Attachment adapter(context.log_sink());
  post_signal(args.signal);
  Table facts = Table::of_facts("result");
  facts.add({"posted", args.signal.name});
  report(facts, context);
}

std::string value_text(const cJSON* item) {
  if (cJSON_IsString(item)) return item->valuestring;
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(item), cJSON_free);
  return text ? text.get() : "";
}

// The attributes, those within others under "outer.inner".
void add_attributes(Table& table, const std::string& prefix, const cJSON* object) {
  int position = 0;
  const cJSON* item = nullptr;
  cJSON_ArrayForEach(item, object) {
    const std::string name =
        prefix + (item->string != nullptr ? item->string : std::to_string(position++).c_str());
    if (cJSON_IsObject(item) || cJSON_IsArray(item)) {
      add_attributes(table, name + ".", item);
    } else {
      table.add({name, value_text(item)});
    }
  }
}

void decode(const Context& context) {
  const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  const Json json(cJSON_Parse(text.c_str()));
  if (!json) throw Failure("standard input is not JSON");
  const auto info = std::make_unique<capi_signal_info>();
  char name[CAPI_SIGNAL_NAME_SIZE] = {};
  if (ctrlv2_json_to_siginfo(json.get(), name, info.get()) != 0) {
    throw Failure("this JSON is no signal: it has no \"name\"");
  }
  // Encoded anew it shows what a program sees: every attribute, defaults filled in.
  const Json seen(ctrlv2_siginfo_to_json(name, info.get()));
  Table table("signal", {{"attribute"}, {"value"}});
  table.add({"name", name});
  add_attributes(table, "", cJSON_GetObjectItem(seen.get(), "attrs"));
  print(table, context);
}

}  // namespace

void add_signal(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("signal", "Post a signal, or read one");
  const auto args = std::make_shared<Args>();
  command->add_option("NAME", args->signal.name, "The signal's name");
  command->add_option("PARAM", args->signal.params, "Up to three texts")->expected(0, 3);
  command->add_flag("--force", args->is_forced, "Also one that no program is known to wait for");
  command->footer(
      "With texts the signal is posted as JSON, else by its name alone.\n\n"
      "Examples:\n  capictl signal vop_sig_cfg_changed_info\n"
      "  capictl signal vop_sig_vsdk_service_control restart");
  CLI::App* all = command->add_subcommand("list", "Print the names that programs know");
  all->footer("Posts nothing and needs no adapter.\n\nExample:\n  capictl signal list");
  all->callback([&context] { list(context); });
  CLI::App* reader = command->add_subcommand("decode", "Read a signal's JSON on standard input");
  reader->footer(
      "Prints what a program sees of it. Needs no adapter.\n\nExample:\n"
      "  capictl signal decode <signal.json");
  reader->callback([&context] { decode(context); });
  command->callback([command, args, &context] {
    if (!command->get_subcommands().empty()) return;
    if (args->signal.name.empty()) throw CLI::RequiredError("NAME");
    post(context, *args);
  });
}

}  // namespace tools::capictl
