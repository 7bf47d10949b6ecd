// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl: the adapter from a terminal.
#include <cstdio>

#include "commands.h"

namespace {

constexpr char kDescription[] = "Shows and changes the state of an LTE phone adapter.";
constexpr char kFooter[] =
    "On a terminal results are tables; elsewhere a row is a line of values with tabs between "
    "them.\n"
    "With --json they are JSON.\n"
    "\n"
    "Exit codes: 0 done, 1 something was found (lint, check) or differs (diff), 2 the command "
    "line\n"
    "is wrong, 3 it could not be done; the reason is on standard error.\n"
    "\n"
    "Examples:\n"
    "  capictl status\n"
    "  capictl config set sip_line_1.display_name Frontdesk\n"
    "  capictl config watch\n"
    "  capictl calls export calls.csv";

int report_failure(const char* text) {
  fprintf(stderr, "capictl: %s\n", text);
  return capictl::kFailed;
}

int run(CLI::App& app, const capictl::Context& context, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return context.exit_code;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    app.exit(error);
    return capictl::kUsage;
  } catch (const capictl::Failure& failure) {
    return report_failure(failure.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace capictl;
  Context context;
  CLI::App app(kDescription, "capictl");
  app.fallthrough();
  app.require_subcommand(1);
  app.footer(kFooter);
  app.set_version_flag("--version", CAPI_VERSION, "Print the version and end");
  app.add_flag("--json", context.json, "Print JSON");
  app.add_flag("--verbose", context.verbose, "Print the library's log on standard error");
  add_status(app, context);
  add_config(app, context);
  add_line(app, context);
  add_locks(app, context);
  add_carrier(app, context);
  add_signal(app, context);
  add_stack_file(app, context);
  add_calls(app, context);
  add_sms(app, context);
  add_schema(app, context);
  add_master(app, context);
  add_pages(app);
  return run(app, context, argc, argv);
}
