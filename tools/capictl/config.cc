// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config get, list, describe and schema.
#include <iostream>
#include <memory>

#include "commands.h"
#include "document.h"
#include "key_facts.h"
#include "key_tables.h"
#include "print.h"

namespace tools::capictl {
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

std::vector<const Key*> named_keys(const std::vector<std::string>& labels) {
  std::vector<const Key*> keys;
  keys.reserve(labels.size());
  for (const std::string& label : labels) keys.push_back(&named_key(label));
  return keys;
}

void get(const Context& context, const std::vector<std::string>& labels) {
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  const std::vector<const Key*> keys = named_keys(with_input(labels));
  if (context.json) return print_json(Json(document_of(record, keys, context.secrets())).get());
  if (keys.size() == 1) {
    const std::string value = value_of(record, *keys[0]);
    puts(printable(told_value(*keys[0], value, context)).c_str());
    return;
  }
  Table table("values", kKeyAndValue);
  for (const Key* key : keys) {
    table.add({key->label(), told_value(*key, value_of(record, *key), context)});
  }
  print(table, context);
}

struct ListArgs {
  std::string section;
  bool only_changed = false;
  bool is_long = false;
};

KeyState state_of(const cfg_shared_record& record, const Key& key,
                  const std::vector<SourceFile>& files) {
  const std::string value = value_of(record, key);
  return {value, source_of(key, value, files)};
}

void print_long_json(const cfg_shared_record& record, const std::vector<const Key*>& keys,
                     const Context& context) {
  const std::vector<SourceFile> files = read_source_files(adapter_setting_files());
  const Json json(cJSON_CreateArray());
  for (const Key* key : keys) {
    cJSON_AddItemToArray(json.get(),
                         key_json(*key, state_of(record, *key, files), context.secrets()));
  }
  print_json(json.get());
}

Table list_table(const cfg_shared_record& record, const std::vector<const Key*>& keys,
                 const ListArgs& args, const Context& context) {
  std::vector<Column> columns = kKeyAndValue;
  columns[1].is_long = !args.is_long;  // one long column is enough
  if (args.is_long || args.only_changed) columns.push_back({"default"});
  if (args.is_long)
    columns.insert(columns.end(), {{"unit"}, {.title = "meaning", .is_long = true}});
  Table table("values", columns);
  for (const Key* key : keys) {
    std::vector<std::string> cells = {
        key->label(), told_value(*key, value_of(record, *key), context),
        told_value(*key, key->meaning.start, context), key->meaning.unit, key->meaning.meaning};
    cells.resize(columns.size());
    table.add(cells);
  }
  return table;
}

void list(const Context& context, const ListArgs& args) {
  std::vector<const Key*> keys = keys_of(args.section);
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  if (args.only_changed) {
    std::erase_if(keys,
                  [&](const Key* key) { return value_of(record, *key) == key->meaning.start; });
  }
  if (!context.json) return print(list_table(record, keys, args, context), context);
  args.is_long ? print_long_json(record, keys, context)
               : print_json(Json(document_of(record, keys, context.secrets())).get());
}

// The state of a key where an adapter is up.
std::optional<KeyState> present_state(const Key& key, const std::vector<std::string>& files,
                                      const Context& context) {
  try {
    const Attachment adapter(context.log_sink(), Need::Record);
    return state_of(adapter.snapshot(), key, read_source_files(files));
  } catch (const Failure&) {
    return std::nullopt;
  }
}

void describe(const Context& context, const std::string& label,
              const std::vector<std::string>& files) {
  const Key& key = named_key(label);
  const std::optional<KeyState> state =
      present_state(key, files.empty() ? adapter_setting_files() : files, context);
  if (!context.json) return print(key_tables(key, state, context), context);
  const Json json(key_json(key, state, context.secrets()));
  add_places(json.get(), key);
  print_json(json.get());
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

void add_list(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("list", "Print all values, or those of a section");
  const auto args = std::make_shared<ListArgs>();
  command->add_option("SECTION", args->section,
                      "A section, without its number for all of its kind");
  command->add_flag("--changed", args->only_changed,
                    "Only values that differ from those of a start without settings");
  command->add_flag("--long", args->is_long, "With the value of a start, unit and meaning");
  command->footer(
      "With --json it is a document that \"capictl config load\" takes.\n\n"
      "Example:\n  capictl config list sip_line");
  command->callback([args, &context] { list(context, *args); });
}

void add_describe(CLI::App& config, Context& context) {
  struct Args {
    std::string label;
    std::vector<std::string> files;
  };
  CLI::App* command =
      config.add_subcommand("describe", "Tell what a key means, what it takes and where it stands");
  const auto args = std::make_shared<Args>();
  command->add_option("KEY", args->label, "SECTION.FIELD")->required();
  command->add_option("--settings", args->files,
                      "Setting files that the value may come from, in the order in which\n"
                      "they were loaded, instead of those in /etc/capi/settings.d");
  command->footer(
      "\"from\" tells where the value comes from, where an adapter is up. \"written to\"\n"
      "lists the lines that have the value in them: the types of the voice stacks'\n"
      "files, section and key, and when.\n\n"
      "Example:\n  capictl config describe voice_stack_1.codec");
  command->callback([args, &context] { describe(context, args->label, args->files); });
}

void add_schema_command(CLI::App& config) {
  CLI::App* command =
      config.add_subcommand("schema", "Print the JSON Schema of a document of settings");
  command->footer(
      "Draft 2020-12; for what \"capictl config list --json\" prints and \"capictl config\n"
      "load\" takes. Needs no adapter.\n\nExample:\n  capictl config schema >settings.schema.json");
  command->callback([] { print_json(Json(document_schema()).get()); });
}

}  // namespace

void add_config(CLI::App& app, Context& context) {
  CLI::App* config = app.add_subcommand("config", "Read and change the configuration");
  config->require_subcommand(1);
  config->footer(
      "A key is named SECTION.FIELD, as sip_line_1.display_name.\n\n"
      "Example:\n  capictl config get sip_line_1.display_name");
  add_get(*config, context);
  add_config_changes(*config, context);
  add_config_confirm(*config, context);
  add_list(*config, context);
  add_describe(*config, context);
  add_schema_command(*config);
  add_config_files(*config, context);
  add_config_watch(*config, context);
}

}  // namespace tools::capictl
