// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl: the adapter from a terminal.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>

#include "commands.h"
#include "confirm.h"
#include "help.h"
#include "print.h"

namespace tools::capictl {
namespace {

constexpr char kDescription[] = "Show and change the state of an LTE phone adapter";
constexpr char kFooter[] =
    "On a terminal results are tables as wide as the terminal; elsewhere a row is a line of values "
    "with tabs between them, in which \\t and \\n stand for tabs and line ends. With --json they "
    "are JSON, and so is an error. Files (dump, export, stack-file --print) stay as they are.\n"
    "\n"
    "NO_COLOR in the environment keeps colours away, COLUMNS is the width for --table where no "
    "terminal tells one.\n"
    "\n"
    "Examples:\n"
    "  capictl status\n"
    "  capictl config set sip_line_1.display_name Frontdesk\n"
    "  capictl monitor\n"
    "  capictl calls export calls.csv";

std::string footer() {
  std::string text = "Exit codes:\n";
  for (size_t i = 0; i < std::size(kExitCodes); ++i) {
    text += "  " + std::to_string(i) + "  " + kExitCodes[i].meaning + "\n";
  }
  return text + "\n" + kFooter;
}

// A standard stream that was closed would lend its number to the next file that is opened, and what
// is printed would go there. For reading only: printing to it fails.
void occupy_standard_streams() {
  while (true) {
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (fd > STDERR_FILENO) close(fd);
    if (fd < 0 || fd > STDERR_FILENO) return;
  }
}

void add_text(cJSON* object, const char* name, const std::string& text) {
  if (!text.empty()) cJSON_AddStringToObject(object, name, json_text(text).c_str());
}

void print_error_as_json(const Why& why, const std::string& message) {
  const Json document(cJSON_CreateObject());
  cJSON* error = cJSON_AddObjectToObject(document.get(), "error");
  add_text(error, "code", why.name.empty() ? kExitCodes[why.code].name : why.name);
  add_text(error, "message", message);
  add_text(error, "key", why.key);
  add_text(error, "allowed", why.allowed);
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(document.get()),
                                                          cJSON_free);
  fprintf(stderr, "%s\n", text ? text.get() : "{}");
}

int report(const Failure& failure, bool as_json) {
  if (as_json) {
    print_error_as_json(failure.why(), failure.what());
  } else {
    fprintf(stderr, "capictl: %s\n", printable(failure.what()).c_str());
  }
  return failure.why().code;
}

// A command line that is wrong is not read to its end.
bool wants_json(int argc, char** argv) {
  const auto is_word = [](const char* text) {
    return [text](const char* word) { return strcmp(word, text) == 0; };
  };
  char** const end = std::find_if(argv, argv + argc, is_word("--"));
  return std::any_of(argv, end, is_word("--json"));
}

void parse(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    if (app.get_subcommands().empty()) print_help(app);
  } catch (const CLI::ParseError& error) {
    if (print_asked_help(app, error)) return;
    if (error.get_exit_code() != 0) throw usage_failure(app, error);
    app.exit(error);  // the version
  }
}

int run(CLI::App& app, const Context& context, int argc, char** argv) {
  try {
    parse(app, argc, argv);
    if (fflush(stdout) == 0 && ferror(stdout) == 0) return context.exit_code;
    throw Failure("the output is not complete: standard output cannot be written");
  } catch (const Failure& failure) {
    return report(failure, wants_json(argc, argv));
  } catch (const std::exception& failure) {
    return report(Failure(failure.what()), wants_json(argc, argv));
  }
}

void add_options(CLI::App& app, Context& context) {
  app.set_version_flag("--version", CAPI_VERSION, "Print the version and end");
  CLI::Option* json = app.add_flag("--json", context.json, "Print JSON, and errors as JSON");
  app.add_flag("--table", context.table, "Print tables as on a terminal")->excludes(json);
  CLI::Option* header = app.add_flag("--header", context.header, "Print the fields' names first");
  app.add_flag("--no-header", context.no_header, "Print no names above tables")->excludes(header);
  app.add_option("--fields", context.fields, "Print these fields only, as name,number");
  app.add_flag("--show-secrets", context.show_secrets, "Show passwords, not just if they are set");
  app.add_flag("--verbose", context.verbose, "Print the library's log on standard error");
}

int run_tool(int argc, char** argv) {
  Context context;
  CLI::App app(kDescription, "capictl");
  app.fallthrough();
  app.require_subcommand(0, 1);
  app.footer(footer());
  add_options(app, context);
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
  add_export(app, context);
  add_schema(app, context);
  add_master(app, context);
  add_help(app);
  add_pages(app, context);
  return run(app, context, argc, argv);
}

// Returns the exit code.
int run_safely(int argc, char** argv) {
  try {
    occupy_standard_streams();
    tell_what_was_left();
    return run_tool(argc, argv);
  } catch (...) {
    fputs("capictl: there is no memory\n", stderr);
    return kFailed;
  }
}

}  // namespace
}  // namespace tools::capictl

int main(int argc, char** argv) { return tools::capictl::run_safely(argc, argv); }
