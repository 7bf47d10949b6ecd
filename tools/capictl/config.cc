// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config get, set, list and describe.
#include <iostream>
#include <memory>

#include "commands.h"
#include "keys.h"
#include "places.h"
#include "table.h"

namespace capictl {
namespace {

const std::vector<Column> kKeyAndValue = {{"key"}, {.title = "value", .is_long = true}};

// "-" stands for the words on standard input.
std::vector<std::string> with_input(const std::vector<std::string>& words) {
  std::vector<std::string> result;
  for (const std::string& word : words) {
    if (word != "-") {
      result.push_back(word);
      continue;
    }
    for (std::string line; std::cin >> line;) result.push_back(line);
  }
  return result;
}

void get(const Context& context, const std::vector<std::string>& labels) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  const std::vector<std::string> wanted = with_input(labels);
  if (wanted.size() == 1 && !context.json) {
    puts(printable(value_of(record, named_key(wanted[0]))).c_str());
    return;
  }
  Table table("values", kKeyAndValue);
  for (const std::string& label : wanted) {
    const Key& key = named_key(label);
    table.add({key.label(), value_of(record, key)});
  }
  print(table, context);
}

void set(const Context& context, const std::string& label, const std::string& value) {
  const Attachment adapter(context);
  const Key& key = named_key(label);
  const Stored stored = stored_value(key, value);
  if (!stored.loss.empty()) {
    throw Failure(
        label + " is left as it was: the value would not stay as it is (" + stored.loss + ")",
        {kRefused, label});
  }
  if (capi_config_set(key.section.c_str(), key.name.c_str(), 0, value.c_str()) != 0) {
    throw Failure(label + " could not be set; --verbose tells more");
  }
}

void list(const Context& context, const std::string& section) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  Table table("values", kKeyAndValue);
  for (const Key& key : all_keys()) {
    const bool wanted =
        section.empty() || key.section == section || key.section.starts_with(section + "_");
    if (wanted) table.add({key.label(), value_of(record, key)});
  }
  if (table.rows().empty()) {
    std::string names;
    for (const std::string& name : all_sections()) names += " " + name;
    throw Failure("there is no section " + section + ". The sections:" + names,
                  {kNotFound, section});
  }
  print(table, context);
}

std::string numbered(const char* pattern, int max) {
  return pattern + std::string(", 1 to ") + std::to_string(max);
}

Table facts_of(const Key& key) {
  const capi_config_key& row = key.row;
  const bool is_text = row.kind == CAPI_CONFIG_TEXT;
  Table table = Table::of_facts("key");
  table.add({"section", key.section});
  table.add({"key", key.name});
  table.add({"kind", is_text ? "text" : "number"});
  if (is_text) table.add({"most characters", std::to_string(row.capacity - 1)});
  if (row.value_max != 0) table.add({"kept in", "0 to " + std::to_string(row.value_max)});
  if (row.section_max != 0) table.add({"sections", numbered(row.section, row.section_max)});
  if (row.name_max != 0) table.add({"keys", numbered(row.name, row.name_max)});
  if (row.is_shared != 0) table.add({"shared", "all sections of the number have one value"});
  table.add({"setting file", "[" + key.section + "] " + key.name + "=..."});
  return table;
}

Table places_table(const Key& key) {
  Table table("written to", {{"files"}, {"section"}, {"line"}, {"when"}});
  for (const Place& place : places_of(key)) {
    table.add({place.files, place.section, place.line, place.when});
  }
  return table;
}

void describe(const Context& context, const std::string& label) {
  const Key& key = named_key(label);
  print({facts_of(key), places_table(key)}, context);
}

void add_get(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("get", "Print the values of keys");
  const auto labels = std::make_shared<std::vector<std::string>>();
  command->add_option("KEY", *labels, "SECTION.FIELD; - reads keys from standard input")
      ->required();
  command->footer(
      "All values belong to one moment.\n\nExample:\n"
      "  capictl config get sip_line_1.user_name sip_line_1.enable");
  command->callback([labels, &context] { get(context, *labels); });
}

void add_set(CLI::App& config, Context& context) {
  struct Args {
    std::string label;
    std::string value;
  };
  CLI::App* command = config.add_subcommand("set", "Change the value of a key");
  const auto args = std::make_shared<Args>();
  command->add_option("KEY", args->label, "SECTION.FIELD")->required();
  command->add_option("VALUE", args->value, "What to set it to; a number for a number")->required();
  command->footer(
      "A value that could not be kept as it is, is refused. Nobody is told of the\n"
      "change: see \"capictl signal\" and \"capictl stack-file\". Put -- in front of a\n"
      "value that begins with a minus.\n\nExample:\n"
      "  capictl config set sip_registration.reg_interval 3600");
  command->callback([args, &context] { set(context, args->label, args->value); });
}

void add_list(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("list", "Print all values, or those of a section");
  const auto section = std::make_shared<std::string>();
  command->add_option("SECTION", *section, "A section, without its number for all of its kind");
  command->footer("Example:\n  capictl config list sip_line");
  command->callback([section, &context] { list(context, *section); });
}

void add_describe(CLI::App& config, Context& context) {
  CLI::App* command =
      config.add_subcommand("describe", "Tell what a key takes and where it stands");
  const auto label = std::make_shared<std::string>();
  command->add_option("KEY", *label, "SECTION.FIELD")->required();
  command->footer(
      "\"written to\" lists the lines that have the value in them: the types of the voice stacks'\n"
      "files, section and key, and when. Needs no adapter.\n\nExample:\n  capictl config describe "
      "voice_stack_1.codec");
  command->callback([label, &context] { describe(context, *label); });
}

}  // namespace

void add_config(CLI::App& app, Context& context) {
  CLI::App* config = app.add_subcommand("config", "Read and change the configuration");
  config->require_subcommand(1);
  config->footer(
      "A key is named SECTION.FIELD, as sip_line_1.display_name.\n\n"
      "Example:\n  capictl config get sip_line_1.display_name");
  add_get(*config, context);
  add_set(*config, context);
  add_list(*config, context);
  add_describe(*config, context);
  add_config_files(*config, context);
  add_config_watch(*config, context);
}

}  // namespace capictl
