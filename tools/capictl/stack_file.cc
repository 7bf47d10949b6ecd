// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl stack-file.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "commands.h"
#include "places.h"
#include "stack_types.h"
#include "table.h"
#include "value.h"

namespace capictl {
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

// Whether a line shows a secret that is set.
bool is_secret(const StackLine& line) {
  const size_t equals = line.text.find('=');
  if (equals == std::string::npos || equals + 1 == line.text.size()) return false;
  const std::string name = line.text.substr(0, equals);
  return std::ranges::any_of(all_keys(), [&](const Key& key) {
    if (key.meaning.is_secret == 0) return false;
    return std::ranges::any_of(places_of(key), [&](const Place& place) {
      return place.section == line.section && place.line == name;
    });
  });
}

std::string shown_line(const StackLine& line, const Context& context) {
  if (context.show_secrets || !is_secret(line)) return line.text;
  return line.text.substr(0, line.text.find('=') + 1) + kSecretIsSet;
}

void add_lines(Table& table, const char* mark, const std::vector<StackLine>& lines,
               const std::vector<StackLine>& others, const Context& context) {
  for (const StackLine& line : lines) {
    if (std::find(others.begin(), others.end(), line) == others.end()) {
      table.add({mark, line.section, shown_line(line, context)});
    }
  }
}

// The record with what stands for its secrets.
cfg_shared_record without_secrets(cfg_shared_record record) {
  for (const Key& key : all_keys()) {
    char* field = reinterpret_cast<char*>(&record) + key.offset();
    if (key.meaning.is_secret != 0 && field[0] != '\0') strcpy(field, kSecretIsSet);
  }
  return record;
}

// What writing the file would change.
void diff(Context& context, const char* path, const std::string& text) {
  std::string present;
  read_file(path, present);
  const std::vector<StackLine> before = stack_lines(present);
  const std::vector<StackLine> after = stack_lines(text);
  Table table("differences", {{"change"}, {"section"}, {"line"}});
  add_lines(table, "-", before, after, context);
  add_lines(table, "+", after, before, context);
  print(table, context);
  if (present != text) context.exit_code = kFinding;
}

void run(Context& context, const Args& args) {
  const Attachment adapter(context);
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

}  // namespace capictl
