// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl: the adapter from a terminal.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "commands.h"
#include "table.h"

namespace {

constexpr char kDescription[] = "Shows and changes the state of an LTE phone adapter.";
constexpr char kFooter[] =
    "On a terminal results are tables; elsewhere a row is a line of values with tabs between "
    "them.\n"
    "With --json they are JSON. Files (dump, export, stack-file --print) stay as they are.\n"
    "\n"
    "Exit codes: 0 done, 1 something was found (lint, check) or differs (diff), 2 the command "
    "line\n"
    "is wrong, 3 it could not be done; the reason is on standard error.\n"
    "\n"
    "Examples:\n"
    "  capictl status\n"
    "  capictl config set sip_line_1.display_name Frontdesk\n"
    "  capictl monitor\n"
    "  capictl calls export calls.csv";

// A standard stream that was closed would lend its number to the next file that is opened, and what
// is printed would go there. For reading only: printing to it fails.
void occupy_standard_streams() {
  while (true) {
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (fd > STDERR_FILENO) close(fd);
    if (fd < 0 || fd > STDERR_FILENO) return;
  }
}

int report_failure(const char* text) {
  fprintf(stderr, "capictl: %s\n", capictl::printable(text).c_str());
  return capictl::kFailed;
}

int run(CLI::App& app, const capictl::Context& context, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return context.exit_code;
  } catch (const CLI::RequiredError& error) {
    // What was written instead of that which is required says more.
    const std::vector<std::string> unknown = app.remaining(true);
    unknown.empty() ? app.exit(error) : app.exit(CLI::ExtrasError("", unknown));
    return capictl::kUsage;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? capictl::kDone : capictl::kUsage;
  } catch (const std::exception& failure) {
    return report_failure(failure.what());
  }
}

int flush_output(int exit_code) {
  if (fflush(stdout) == 0 && ferror(stdout) == 0) return exit_code;
  return report_failure("the output is not complete: standard output cannot be written");
}

int run_tool(int argc, char** argv) {
  using namespace capictl;
  Context context;
  CLI::App app(kDescription, "capictl");
  app.fallthrough();
  app.require_subcommand(1);
  app.footer(kFooter);
  app.set_version_flag("--version", CAPI_VERSION, "Print the version and end");
  app.add_flag("--json", context.json, "Print JSON");
  app.add_flag("--verbose", context.verbose, "Print the library's log on standard error");
  app.add_flag("--show-secrets", context.show_secrets, "Show passwords, not just if they are set");
  add_status(app, context);
  add_monitor(app, context);
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
  return flush_output(run(app, context, argc, argv));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    occupy_standard_streams();
    return run_tool(argc, argv);
  } catch (...) {
    fputs("capictl: there is no memory\n", stderr);
    return capictl::kFailed;
  }
}
