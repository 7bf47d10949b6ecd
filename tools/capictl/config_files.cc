// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config dump, save, diff and lint: the configuration and setting files.
#include <map>
#include <memory>

#include "commands.h"
#include "key_facts.h"
#include "print.h"
#include "setting_file.h"
#include "text.h"

namespace tools::capictl {
namespace {

struct Lost {
  const Key* key;
  std::string why;
};

// The configuration as a setting file, and what that cannot hold.
struct SettingFile {
  std::string text;
  std::vector<Lost> lost;
};

// What would become of a value in a setting file; "" when it stays as it is.
std::string loss_of(const Key& key, const std::string& value) {
  if (value.empty()) return "a key without a value is ignored";
  for (const char c : value) {
    if (static_cast<unsigned char>(c) <= ' ' || c == '#' || c == ';') {
      return "it holds blanks, \"#\" or \";\"";
    }
  }
  const std::string loaded = loaded_value(key, value);
  return loaded == value ? "" : "it would be read as " + loaded;
}

// Puts a file together, section by section.
class Writer {
 public:
  explicit Writer(const Context& context) : context_(context) {}

  void add(const Key& key, const std::string& value) {
    if (key.section != section_) {
      file_.text += (section_.empty() ? "[" : "\n[") + key.section + "]\n";
      section_ = key.section;
    }
    const std::string why = loss_of(key, value);
    if (!why.empty()) file_.lost.push_back({&key, why});
    const std::string shown = shown_value(key, value, context_.secrets());
    if (!why.empty()) {
      file_.text +=
          "# " + key.name + " cannot be kept in a setting file: " + printable(shown) + "\n";
    } else if (shown != value) {
      file_.text += "# " + key.name + "=" + shown + "\n";
    } else {
      file_.text += key.name + "=" + value + "\n";
    }
  }

  SettingFile take() { return std::move(file_); }

 private:
  const Context& context_;
  std::string section_;
  SettingFile file_;
};

void tell_lost(const SettingFile& file, const char* where) {
  for (const Lost& lost : file.lost) {
    fprintf(stderr, "capictl: the value of %s is not in the %s: %s\n", lost.key->label().c_str(),
            where, lost.why.c_str());
  }
}

void dump(Context& context) {
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  Writer writer(context);
  for (const Key& key : all_keys()) {
    const std::string value = value_of(record, key);
    if (!value.empty()) writer.add(key, value);
  }
  const SettingFile file = writer.take();
  fputs(file.text.c_str(), stdout);
  tell_lost(file, "dump");
  if (!file.lost.empty()) context.exit_code = kFinding;
}

struct SaveArgs {
  std::string path;
  bool is_local = false;
  bool has_all = false;
  bool is_forced = false;
};

// What is worth a line: the values that a start without settings does not give anyway, but for
// those that it gets from the device.
bool is_saved(const Key& key, const std::string& value, bool has_all) {
  if (has_all) return !value.empty() || key.meaning.start[0] != '\0';
  return value != key.meaning.start && key.meaning.is_read_back == 0;
}

void save(Context context, const SaveArgs& args) {
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  context.show_secrets = true;  // they have to outlive a restart
  Writer writer(context);
  for (const Key& key : all_keys()) {
    const std::string value = value_of(record, key);
    if (is_saved(key, value, args.has_all)) writer.add(key, value);
  }
  const SettingFile file = writer.take();
  if (!context.json) tell_lost(file, "file");
  if (!file.lost.empty() && !args.is_forced) {
    throw Failure("nothing was saved, because of " + file.lost[0].key->label() + ": " +
                      file.lost[0].why +
                      "; --force saves the rest, and a document has room for all: "
                      "capictl config list --json --show-secrets",
                  {kRefused, file.lost[0].key->label()});
  }
  const std::string path = args.is_local ? kLocalSettings : args.path;
  replace_file(path, file.text, 0600);
  Table facts = Table::of_facts("result");
  facts.add({"file", path});
  if (context.json) report(facts, context);
}

void diff(Context& context, const std::string& path) {
  const Settings settings = read_settings(read_file(path));
  const Attachment adapter(context.log_sink(), Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  std::map<std::string, const Setting*> wanted;  // a later line wins
  for (const Setting& setting : settings.items) wanted[setting.key->label()] = &setting;
  Table table("differences", {{"key"}, {"now"}, {"file"}});
  for (const auto& [label, setting] : wanted) {
    const Key& key = *setting->key;
    const std::string now = value_of(record, key);
    if (now == setting->value) continue;
    table.add({label, shown_value(key, now, context.secrets()),
               shown_value(key, setting->value, context.secrets())});
  }
  print(table, context);
  if (!table.rows().empty()) context.exit_code = kFinding;
}

void lint_files(Context& context, const std::vector<std::string>& paths) {
  Table table(
      "findings",
      {{"file"}, {"line", Type::Number}, {"severity"}, {.title = "finding", .is_long = true}});
  for (const std::string& path : paths) {
    for (const Finding& finding : read_settings(read_file(path)).findings) {
      table.add({path, finding.line != 0 ? std::to_string(finding.line) : "",
                 finding.is_error ? "error" : "warning", finding.text});
    }
  }
  print(table, context);
  if (!table.rows().empty()) context.exit_code = kFinding;
}

void add_save(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("save", "Keep the configuration in a setting file");
  const auto args = std::make_shared<SaveArgs>();
  CLI::Option* path = command->add_option("FILE", args->path, "Replaced whole, or left as it was");
  command
      ->add_flag("--local", args->is_local,
                 std::string("Save in ") + kLocalSettings + ", which a start loads last")
      ->excludes(path);
  command->add_flag("--all", args->has_all,
                    "All values, not just those that differ from a start's");
  command->add_flag("--force", args->is_forced,
                    "Save the rest where a setting file cannot hold all values");
  command->footer(
      "The file has the passwords, and nobody but its owner may read it.\n\n"
      "Example:\n  capictl config save my.settings");
  command->callback([args, &context] {
    if (args->path.empty() && !args->is_local) throw CLI::RequiredError("FILE");
    save(context, *args);
  });
}

}  // namespace

void add_config_files(CLI::App& config, Context& context) {
  CLI::App* command = config.add_subcommand("dump", "Print the configuration as a setting file");
  command->footer(
      "Values that a setting file cannot hold become comments, and the exit code 1. So\n"
      "do passwords without --show-secrets: loading the dump leaves them as they are.\n\n"
      "Example:\n  capictl config dump >my.settings");
  command->callback([&context] { dump(context); });

  add_save(config, context);

  command = config.add_subcommand("diff", "Show what loading a setting file would change");
  const auto path = std::make_shared<std::string>();
  command->add_option("FILE", *path, "A setting file or a JSON document")->required();
  command->footer(
      "Exit code 1 when there are differences.\n\nExample:\n"
      "  capictl config diff my.settings");
  command->callback([path, &context] { diff(context, *path); });

  command = config.add_subcommand("lint", "Find what is wrong in setting files");
  const auto paths = std::make_shared<std::vector<std::string>>();
  command->add_option("FILE", *paths, "Setting files or JSON documents")->required();
  command->footer(
      "An error keeps \"capictl config load\" from loading; a warning does not. Needs no\n"
      "adapter. Exit code 1 when something is found.\n\nExample:\n"
      "  capictl config lint voice.settings network.settings");
  command->callback([paths, &context] { lint_files(context, *paths); });
}

}  // namespace tools::capictl
