// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl stack-file.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "commands.h"
#include "places.h"
#include "print.h"
#include "stack_files.h"
#include "value.h"

namespace tools::capictl {
namespace {

struct Args {
  std::string type;
  bool print = false;
  bool diff = false;
};

unsigned number_of(const std::string& type) {
  const auto* found = std::find_if(std::begin(kStackTypes), std::end(kStackTypes),
                                   [&](const StackType& row) { return type == row.name; });
  return static_cast<unsigned>(found - std::begin(kStackTypes));
}

// What writing the file would change.
void diff(Context& context, const char* path, const std::string& text) {
  std::string present;
  read_file(path, present);
  print(stack_file_differences(present, text, context.secrets()), context);
  if (present != text) context.exit_code = kFinding;
}

void run(Context& context, const Args& args) {
  const Attachment adapter(context.log_sink());
  const unsigned type = number_of(args.type);
  const char* path = kStackTypes[type].path;
  if (args.print || args.diff) {
    const cfg_shared_record record = take_snapshot();
    if (args.diff) return diff(context, path, stack_file_text(record, type));
    // Elsewhere than on a terminal it is the file itself that is wanted.
    const bool is_whole = context.show_secrets || !is_set_for_people(context);
    const std::string text = stack_file_text(is_whole ? record : without_secrets(record), type);
    fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  if (capi_make_config_file(type) != 0) {
    throw Failure(std::string(path) + " cannot be written; --print shows what it would be");
  }
  Table facts = Table::of_facts("result");
  facts.add({"file", path});
  if (context.json) return report(facts, context);
  puts(path);
}

}  // namespace

void add_stack_file(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("stack-file", "Write the configuration of a voice stack");
  const auto args = std::make_shared<Args>();
  std::vector<std::string> types;
  for (const StackType& type : kStackTypes) types.emplace_back(type.name);
  command->add_option("TYPE", args->type, "Which stack")->required()->check(CLI::IsMember(types));
  CLI::Option* print =
      command->add_flag("--print", args->print,
                        "Print what would be written, and write nothing; passwords\n"
                        "are shown on a terminal only with --show-secrets");
  command
      ->add_flag(
          "--diff", args->diff,
          "Print the lines that would change, and write nothing; exit code 1 when some would")
      ->excludes(print);
  command->footer(
      "Prints the path of the file that it wrote. The voice application has to be told.\n\n"
      "Examples:\n  capictl stack-file voip --diff\n"
      "  capictl stack-file voip && capictl signal vop_sig_cfg_changed_info");
  command->callback([args, &context] { run(context, *args); });
}

}  // namespace tools::capictl
