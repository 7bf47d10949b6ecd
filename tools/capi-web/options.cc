// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// By the C library: the parser that the other programs have would take a tenth of the memory that a
// server may take, for good.
#include "options.h"

#include <adapter.h>
#include <getopt.h>
#include <text.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tools::web {
namespace {

// One of the members is where it goes.
struct Row {
  const char* name;
  const char* value;  // what is to be given, null for a flag
  const char* help;
  bool Options::*flag = nullptr;
  std::string Options::*text = nullptr;
  std::vector<std::string> Options::*list = nullptr;  // the first one takes the default's place
  double Options::*number = nullptr;
  double least = 0;
  double most = 0;
  bool is_whole = false;
};

const Row kRows[] = {
    {.name = "listen",
     .value = "ADDRESS:PORT",
     .help = "Where to listen, port 0 for a free one; may come again",
     .list = &Options::listen},
    {.name = "host",
     .value = "NAME",
     .help = "A name by which browsers may call the server, besides localhost and addresses; may "
             "come again",
     .list = &Options::hosts},
    {.name = "password-file",
     .value = "FILE",
     .help = "Where the password's hash is kept",
     .text = &Options::password_file},
    {.name = "token-file",
     .value = "FILE",
     .help = "Where the API tokens' hashes are kept",
     .text = &Options::token_file},
    {.name = "session-minutes",
     .value = "MINUTES",
     .help = "A login ends when it was idle for so long",
     .number = &Options::session_minutes,
     .least = 0.001,
     .most = 30000},
    {.name = "confirm-seconds",
     .value = "SECONDS",
     .help = "A change goes back when it is not confirmed within this time",
     .number = &Options::confirm_seconds,
     .least = 1,
     .most = 86400,
     .is_whole = true},
    {.name = "timeout-seconds",
     .value = "SECONDS",
     .help = "A connection is cut when a request takes longer to arrive",
     .number = &Options::timeout_seconds,
     .least = 0.05,
     .most = 3600},
    {.name = "comment-seconds",
     .value = "SECONDS",
     .help = "An event stream has a sign of life in this interval",
     .number = &Options::comment_seconds,
     .least = 0.05,
     .most = 3600},
    {.name = "connections",
     .value = "NUMBER",
     .help = "So many at most at a time; others wait",
     .number = &Options::connections,
     .least = 1,
     .most = 1000,
     .is_whole = true},
    {.name = "verbose",
     .value = nullptr,
     .help = "Print the library's log on standard error",
     .flag = &Options::verbose},
    {.name = "stdin",
     .value = nullptr,
     .help = "With password: take it from the first line of standard input",
     .flag = &Options::from_stdin},
};

constexpr int kHelp = 'h';
constexpr int kVersion = 'v';
constexpr int kFirstRow = 256;

constexpr char kHead[] =
    "Show and change the state of an LTE phone adapter in a browser\n"
    "Usage: capi-web [OPTION]...\n"
    "       capi-web password [OPTION]...\n"
    "\n"
    "With \"password\" the password is set, which is asked for twice. Without one there is no\n"
    "server. SIGTERM and SIGINT end it.\n"
    "\n"
    "Options:\n";
constexpr char kFooter[] =
    "  -h, --help\n"
    "        Print this and end\n"
    "  --version\n"
    "        Print the version and end\n"
    "\n"
    "Examples:\n"
    "  capi-web password\n"
    "  capi-web\n"
    "  capi-web --listen 192.0.2.7:8080 --host adapter.lan\n";

std::string number_text(double number) {
  char text[32];
  snprintf(text, sizeof text, "%g", number);
  return text;
}

std::string default_of(const Row& row, const Options& options) {
  if (row.text != nullptr) return options.*row.text;
  if (row.number != nullptr) return number_text(options.*row.number);
  return row.list != nullptr ? joined(options.*row.list, " ") : "";
}

void print_help(const Options& options) {
  constexpr size_t kWidth = 72;
  fputs(kHead, stdout);
  for (const Row& row : kRows) {
    printf("  --%s%s%s\n", row.name, row.value == nullptr ? "" : " ",
           row.value == nullptr ? "" : row.value);
    const std::string otherwise = default_of(row, options);
    const std::string help = row.help + (otherwise.empty() ? "" : " [" + otherwise + "]");
    for (const std::string& line : wrapped(help, kWidth)) printf("        %s\n", line.c_str());
  }
  fputs(kFooter, stdout);
}

[[noreturn]] void end_after(bool is_printed) {
  if (is_printed && fflush(stdout) == 0) exit(kDone);
  throw Failure("standard output cannot be written");
}

[[noreturn]] void refuse(const std::string& what) {
  throw Failure(what + ". Help: capi-web --help", {kUsage});
}

double number_of(const Row& row, const char* text) {
  char* end = nullptr;
  const double number = strtod(text, &end);
  const bool is_number = end != text && *end == '\0' && number >= row.least && number <= row.most;
  if (!is_number || (row.is_whole && number != std::floor(number))) {
    refuse(std::string("--") + row.name + ": \"" + printable(text) + "\" is no " +
           (row.is_whole ? "whole number" : "number") + " from " + number_text(row.least) + " to " +
           number_text(row.most));
  }
  return number;
}

class Reader {
 public:
  Reader(int argc, char** argv, Options& options) : argc_(argc), argv_(argv), options_(options) {
    for (const Row& row : kRows) {
      rows_.push_back({row.name, row.value == nullptr ? no_argument : required_argument, nullptr,
                       kFirstRow + static_cast<int>(rows_.size())});
    }
    rows_.push_back({"help", no_argument, nullptr, kHelp});
    rows_.push_back({"version", no_argument, nullptr, kVersion});
    rows_.push_back({});
  }

  Task read() {
    opterr = 0;
    while (true) {
      const int option = getopt_long(argc_, argv_, ":h", rows_.data(), nullptr);
      if (option == -1) return read_task();
      take(option);
    }
  }

 private:
  void take(int option) {
    const std::string before = printable(argv_[optind - 1]);
    if (option == ':') refuse(before + " needs something behind it");
    if (option == '?') refuse("\"" + before + "\" is none of the options, or is given too much");
    if (option == kVersion) end_after(puts(CAPI_VERSION) != EOF);
    if (option == kHelp) {
      print_help(defaults_);
      end_after(true);
    }
    const Row& row = kRows[option - kFirstRow];
    if (row.flag != nullptr) options_.*row.flag = true;
    if (row.text != nullptr) options_.*row.text = optarg;
    if (row.number != nullptr) options_.*row.number = number_of(row, optarg);
    if (row.list != nullptr) add(options_.*row.list, defaults_.*row.list);
  }

  static void add(std::vector<std::string>& list, const std::vector<std::string>& otherwise) {
    if (list == otherwise) list.clear();
    list.emplace_back(optarg);
  }

  Task read_task() const {
    const bool is_password = optind < argc_ && strcmp(argv_[optind], "password") == 0;
    const int end = optind + (is_password ? 1 : 0);
    if (end < argc_) refuse("\"" + printable(argv_[end]) + "\" was not expected");
    if (options_.from_stdin && !is_password) refuse("--stdin is for capi-web password");
    return is_password ? Task::SetPassword : Task::Serve;
  }

  int argc_;
  char** argv_;
  Options& options_;
  const Options defaults_ = options_;
  std::vector<option> rows_;
};

}  // namespace

Task read_options(int argc, char** argv, Options& options) {
  return Reader(argc, argv, options).read();
}

}  // namespace tools::web
