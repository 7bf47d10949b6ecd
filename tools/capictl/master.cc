// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl master.
#include <memory>

#include "commands.h"
#include "confirm.h"
#include "table.h"

namespace capictl {
namespace {

struct Args {
  std::vector<std::string> settings;
  bool force = false;
};

// Whether there is a record already. Looking makes an empty one where there is none.
bool is_up(const Context& context) {
  capi_init(nullptr, 0, context.log_sink());
  cfg_shared_record record;
  const bool is_up = capi_snapshot_take(&record) == 0 && is_started(record);
  capi_uninit();
  return is_up;
}

void bring_up(const Context& context, const Args& args) {
  if (!args.force && is_up(context)) {
    throw Failure("the adapter is up already; --force clears its record and starts it anew",
                  {kRefused});
  }
  for (const std::string& path : args.settings) read_file(path);
  const capi_callbacks callbacks{};
  capi_init(&callbacks, 1, context.log_sink());
  for (const std::string& path : args.settings) {
    if (capi_init_settings_from_file(path.c_str()) != 0) {
      throw Failure(path + " cannot be opened for reading and writing, as setting files must be");
    }
  }
  const bool is_published = capi_config_finish() == 0;
  capi_post_init(1);
  cfg_shared_record record;
  const bool has_record = capi_snapshot_take(&record) == 0;
  capi_uninit();
  if (!is_published || !has_record) {
    throw Failure("there is no shared record: /usr/sbin/vsdk_cmd and /tmp/m_data must exist");
  }
  go_back_if_left();
  Table facts = Table::of_facts("result");
  facts.add_fact({"started", Type::Flag}, "1");
  report(facts, context);
}

}  // namespace

void add_master(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("master", "Bring an adapter up from setting files");
  const auto args = std::make_shared<Args>();
  command->add_option("--settings", args->settings, "Setting files, loaded in this order");
  command->add_flag("--force", args->force, "Even where one is up: its record is cleared");
  command->footer(
      "Does what the device's master process does at boot, and ends: the record stays.\n"
      "\nExample:\n  capictl master --settings voice.settings network.settings");
  command->callback([args, &context] { bring_up(context, *args); });
}

}  // namespace capictl
