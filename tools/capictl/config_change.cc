// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config set, load and reset.
#include "config_change.h"

#include <cstdio>
#include <memory>

#include "apply.h"
#include "commands.h"
#include "confirm.h"
#include "print.h"
#include "text.h"

namespace tools::capictl {
namespace {

void warn(const std::string& text) { fprintf(stderr, "capictl: %s\n", printable(text).c_str()); }

// What people write on the command line: KEY VALUE or KEY=VALUE, again and again.
std::vector<Setting> pairs_of(const std::vector<std::string>& words) {
  std::vector<Setting> settings;
  for (size_t i = 0; i < words.size(); ++i) {
    const size_t equals = words[i].find('=');
    const bool has_value = equals != std::string::npos;
    if (!has_value && i + 1 == words.size()) throw CLI::RequiredError("VALUE");
    const Key& key = named_key(words[i].substr(0, equals));
    const std::string value = has_value ? words[i].substr(equals + 1) : words[++i];
    settings.push_back({&key, taken_value(key, value)});
  }
  return settings;
}

void set(const Context& context, const std::vector<std::string>& words,
         const ChangeOptions& options) {
  const std::vector<Setting> settings = pairs_of(words);
  if (!options.is_forced) refuse_wrong(settings, "; --force sets it until the next start");
  for (const Setting& setting : settings) {
    if (context.json || setting.key->meaning.is_read_back == 0) continue;
    warn(setting.key->label() + " is read from the device's own files, and not meant to be set");
  }
  const Attachment adapter(context.log_sink());
  change(settings, options, context);
}

void load(const Context& context, const std::string& path, const ChangeOptions& options) {
  const Settings settings = read_settings(read_file(path));
  std::string errors;
  for (const Finding& finding : settings.findings) {
    const std::string place = finding.line != 0 ? ":" + std::to_string(finding.line) : "";
    const std::string text = path + place + ": " + finding.text;
    if (!context.json) warn(text);
    if (context.json && finding.is_error) errors += text + "; ";
  }
  if (settings.has_error() && !options.is_forced) {
    throw Failure(errors + "nothing was set; --force sets what a master would take", {kRefused});
  }
  const Attachment adapter(context.log_sink());
  change(settings.items, options, context);
}

void reset(const Context& context, const std::vector<std::string>& names,
           const ChangeOptions& options) {
  std::vector<Setting> settings;
  for (const std::string& name : names) {
    for (const Setting& setting : start_values(name)) settings.push_back(setting);
  }
  const Attachment adapter(context.log_sink());
  change(settings, options, context);
}

void add_change_options(CLI::App& command, ChangeOptions& options) {
  command.add_flag("--dry-run", options.is_dry_run, "Tell what would change, and change nothing");
  command.add_flag(
      "--apply", options.is_applied,
      std::string("Also write the voice stacks' files that show the values, and post ") +
          kChangeSignal);
  command
      .add_option("--confirm-within", options.confirm_within,
                  "Prints an id, and goes back after these seconds, 120 without a number, unless "
                  "\"capictl config confirm\" comes. Another such change joins it, and the time "
                  "begins anew")
      ->expected(0, 1)
      ->default_str("120")
      ->check(CLI::Range(1, 86400));
}

void add_set(CLI::App& config, Context& context) {
  struct Args {
    std::vector<std::string> words;
    ChangeOptions options;
  };
  CLI::App* command = config.add_subcommand("set", "Change the values of keys, all or none");
  const auto args = std::make_shared<Args>();
  command->add_option("KEY", args->words, "SECTION.FIELD VALUE, or SECTION.FIELD=VALUE; and more")
      ->option_text("KEY VALUE ...")
      ->required();
  command->add_flag("--force", args->options.is_forced,
                    "Set what is refused otherwise, as a master would take it");
  add_change_options(*command, args->options);
  command->footer(
      "A value may be given by its name, as tls for 2, and a time with its unit, as\n"
      "30s. \"capictl config describe\" tells what a key takes; anything else is\n"
      "refused. Without --apply the voice stacks keep what they have until somebody\n"
      "writes their files and tells them: see \"capictl stack-file\" and \"capictl signal\".\n"
      "Put -- in front of a value that begins with a minus.\n\n"
      "Examples:\n  capictl config set sip_registration.reg_interval 3600\n"
      "  capictl config set sip_line_2.enable on sms.enable off --apply");
  command->callback([args, &context] { set(context, args->words, args->options); });
}

void add_load(CLI::App& config, Context& context) {
  struct Args {
    std::string path;
    ChangeOptions options;
  };
  CLI::App* command = config.add_subcommand("load", "Set the values of a file, all or none");
  const auto args = std::make_shared<Args>();
  command->add_option("FILE", args->path, "A setting file or a JSON document")->required();
  command->add_flag("--force", args->options.is_forced,
                    "Set what is right, and the rest as a master would take it");
  add_change_options(*command, args->options);
  command->footer(
      "A JSON document is what \"capictl config list --json\" prints, or a part of it: "
      "{\"sip_line_1\": {\"display_name\": \"Kitchen\", \"enable\": 1}}. \"capictl config schema\" "
      "tells what may stand in it. A secret that is \"(set)\" stays as it is.\n\n"
      "Example:\n  capictl config load my.settings");
  command->callback([args, &context] { load(context, args->path, args->options); });
}

void add_reset(CLI::App& config, Context& context) {
  struct Args {
    std::vector<std::string> names;
    ChangeOptions options;
  };
  CLI::App* command =
      config.add_subcommand("reset", "Give keys the values of a start without settings");
  const auto args = std::make_shared<Args>();
  command->add_option("KEY", args->names, "SECTION.FIELD, or a SECTION for all of its keys")
      ->required();
  add_change_options(*command, args->options);
  command->footer("Example:\n  capictl config reset sip_line_2 basic_sip.rtp_dscp");
  command->callback([args, &context] { reset(context, args->names, args->options); });
}

}  // namespace

void change(const std::vector<Setting>& settings, const ChangeOptions& options,
            const Context& context) {
  if (options.is_dry_run) {
    return print(changes_table(present_values(settings), settings, context.secrets()), context);
  }
  Turn turn(change_owner(), options.confirm_within);
  const std::vector<Setting> before = turn.make(settings, options.is_applied);
  if (turn.waiting() != nullptr && !context.json) tell(*turn.waiting());
  if (options.is_applied) apply(keys_in(settings));
  if (context.json) print(changes_table(before, settings, context.secrets()), context);
}

void add_config_changes(CLI::App& config, Context& context) {
  add_set(config, context);
  add_load(config, context);
  add_reset(config, context);
}

}  // namespace tools::capictl
