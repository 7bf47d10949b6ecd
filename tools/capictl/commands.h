// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The commands, a file a family. Each adds itself to the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "context.h"

namespace tools::capictl {

void add_status(CLI::App& app, Context& context);
void add_config(CLI::App& app, Context& context);
void add_config_changes(CLI::App& config, Context& context);
void add_config_confirm(CLI::App& config, Context& context);
void add_config_watch(CLI::App& config, Context& context);
void add_config_files(CLI::App& config, Context& context);
void add_monitor(CLI::App& app, Context& context);
void add_line(CLI::App& app, Context& context);
void add_locks(CLI::App& app, Context& context);
void add_carrier(CLI::App& app, Context& context);
void add_signal(CLI::App& app, Context& context);
void add_stack_file(CLI::App& app, Context& context);
void add_calls(CLI::App& app, Context& context);
void add_sms(CLI::App& app, Context& context);
void add_export(CLI::App& app, Context& context);
void add_schema(CLI::App& app, Context& context);
void add_master(CLI::App& app, Context& context);

// Prints pages that are made from the command line's own description.
void add_pages(CLI::App& app, Context& context);

}  // namespace tools::capictl
