// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config dump, diff and lint: the configuration and setting files.
#include <array>
#include <map>
#include <memory>

#include "commands.h"
#include "keys.h"
#include "lint.h"
#include "table.h"

namespace capictl {
namespace {

// What would become of a value in a setting file; "" when it stays as it is.
std::string loss_of(const Key& key, const std::string& value) {
  for (const char c : value) {
    if (static_cast<unsigned char>(c) <= ' ' || c == '#' || c == ';') {
      return "it holds blanks, \"#\" or \";\"";
    }
  }
  return loaded_value(key, value).loss;
}

void dump(Context& context) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  std::string section;
  for (const Key& key : all_keys()) {
    const std::string value = value_of(record, key);
    if (value.empty()) continue;
    if (key.section != section) {
      printf("%s[%s]\n", section.empty() ? "" : "\n", key.section.c_str());
      section = key.section;
    }
    const std::string loss = loss_of(key, value);
    if (loss.empty()) {
      printf("%s=%s\n", key.name.c_str(), value.c_str());
      continue;
    }
    printf("# %s cannot be kept in a setting file: %s\n", key.name.c_str(),
           printable(value).c_str());
    fprintf(stderr, "capictl: the value of %s is not in the dump: %s\n", key.label().c_str(),
            loss.c_str());
    context.exit_code = kFinding;
  }
}

// The items of a setting file in order; config_file_reader() has no room for more than this.
std::vector<std::array<std::string, 3>> items;

int take_item(const char* section, const char* name, const char* value) {
  items.push_back({section, name, value});
  return 0;
}

void diff(Context& context, const std::string& path) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  if (config_file_reader(path.c_str(), take_item) != 0) {
    throw Failure(path + " cannot be opened for reading and writing, as setting files must be");
  }
  std::map<std::string, std::pair<const Key*, std::string>> wanted;  // a later line wins
  for (const auto& [section, name, value] : items) {
    const Key* key = find_key(section, name);
    if (key != nullptr) wanted[key->label()] = {key, loaded_value(*key, value).value};
  }
  Table table("differences", {{"key"}, {"now"}, {"in the file"}});
  for (const auto& [label, entry] : wanted) {
    const std::string now = value_of(record, *entry.first);
    if (now != entry.second) table.add({label, now, entry.second});
  }
  print(table, context);
  if (!table.rows().empty()) context.exit_code = kFinding;
}

void lint_files(Context& context, const std::vector<std::string>& paths) {
  Table table("findings", {{"file"}, {"line", Type::Number}, {"finding"}});
  for (const std::string& path : paths) {
    for (const Finding& finding : lint(read_file(path))) {
      table.add({path, std::to_string(finding.line), finding.text});
    }
  }
  print(table, context);
  if (!table.rows().empty()) context.exit_code = kFinding;
}

}  // namespace

void add_config_files(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("dump", "Print the configuration as a setting file");
  command->footer(
      "Values that a setting file cannot hold become comments, and the exit code 1.\n\n"
      "Example:\n  capictl config dump >my.settings");
  command->callback([&context] { dump(context); });

  command = config.add_subcommand("diff", "Show what loading a setting file would change");
  const auto path = std::make_shared<std::string>();
  command->add_option("FILE", *path, "A setting file")->required();
  command->footer(
      "Exit code 1 when there are differences.\n\nExample:\n"
      "  capictl config diff my.settings");
  command->callback([path, &context] { diff(context, *path); });

  command = config.add_subcommand("lint", "Find the lines that loading would ignore or change");
  const auto paths = std::make_shared<std::vector<std::string>>();
  command->add_option("FILE", *paths, "Setting files")->required();
  command->footer(
      "Needs no adapter. Exit code 1 when something is found.\n\nExample:\n"
      "  capictl config lint voice.settings network.settings");
  command->callback([paths, &context] { lint_files(context, *paths); });
}

}  // namespace capictl
