// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl master.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "confirm.h"
#include "key_facts.h"
#include "locks.h"
#include "print.h"

namespace tools::capictl {
namespace {

struct Args {
  std::vector<std::string> settings;
  bool at_boot = false;
  bool force = false;
};

// Whether a master has published. Looking makes an empty record where there is none.
bool is_up(const Context& context) {
  need_lock(CAPI_LOCK_CONF_SHM);
  capi_init(nullptr, 0, context.log_sink());
  capi_presence presence{};
  capi_get_presence(&presence);
  capi_uninit();
  return presence.published_generation != 0;
}

void tell_started(bool is_started, const Context& context) {
  Table facts = Table::of_facts("result");
  facts.add_fact({"started", Type::Flag}, is_started ? "1" : "0");
  report(facts, context);
}

// Whoever starts an adapter by hand wants to hear of a bad file. A device that boots is of more use
// with the rest of its settings than without an adapter.
void load_settings(const Args& args) {
  const std::string why = " cannot be opened for reading and writing, as setting files must be";
  for (const std::string& path : args.at_boot ? adapter_setting_files() : args.settings) {
    if (capi_init_settings_from_file(path.c_str()) == 0) continue;
    if (!args.at_boot) throw Failure(path + why);
    fprintf(stderr, "capictl: %s%s; starting without it\n", path.c_str(), why.c_str());
  }
}

void bring_up(const Context& context, const Args& args) {
  if (!args.force && is_up(context)) {
    if (args.at_boot) return tell_started(false, context);
    throw Failure("the adapter is up already; --force clears its record and starts it anew",
                  {kRefused});
  }
  for (const std::string& path : args.settings) read_file(path);
  const capi_callbacks callbacks{};
  capi_init(&callbacks, 1, context.log_sink());
  load_settings(args);
  const bool is_published = capi_config_finish() == 0;
  capi_post_init(1);
  cfg_shared_record record;
  const bool has_record = capi_snapshot_take(&record) == 0;
  capi_uninit();
  if (!is_published || !has_record) {
    throw Failure("there is no shared record: /usr/sbin/vsdk_cmd and /tmp/m_data must exist");
  }
  tell_what_was_left();
  tell_started(true, context);
}

}  // namespace

void add_master(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("master", "Bring an adapter up from setting files");
  const auto args = std::make_shared<Args>();
  CLI::Option* settings =
      command->add_option("--settings", args->settings, "Setting files, loaded in this order");
  command
      ->add_flag("--boot", args->at_boot,
                 std::string("The files *.settings in ") + kSettingsDirectory +
                     ", local.settings last; nothing where an adapter is up")
      ->excludes(settings);
  command->add_flag("--force", args->force, "Even where one is up: its record is cleared");
  command->footer(
      "Does what the device's master process does at boot, and ends: the record stays.\n"
      "A file that --boot cannot load is named, and the others are loaded.\n"
      "\nExample:\n  capictl master --settings voice.settings network.settings");
  command->callback([args, &context] { bring_up(context, *args); });
}

}  // namespace tools::capictl
