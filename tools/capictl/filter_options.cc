// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "filter_options.h"

#include <strings.h>
#include <unistd.h>

#include <iostream>

#include "adapter.h"
#include "text.h"

namespace tools::capictl {
namespace {

bool is_yes(const std::string& answer) {
  return strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0;
}

}  // namespace

void add_filter_options(CLI::App* command, Filter& filter) {
  command->add_option(
      "--since", filter.since,
      "Only from this time on, in UTC: 2026-11-22, 2026-11-22T08:30:00Z; or from so "
      "long ago: 30m, 2h, 3d, 1w");
  command->add_option("--number", filter.number,
                      "Only of this phone number, with a + in front or without");
}

void add_order_options(CLI::App* command, Order& order) {
  command->add_option("--limit", order.limit, "Only so many, the newest");
  command->add_flag("--reverse", order.is_reversed, "The oldest first");
}

void confirm(const std::string& what, bool says_yes) {
  if (says_yes) return;
  if (isatty(STDIN_FILENO) == 0) {
    throw Failure("nobody can be asked whether to " + what + ": --yes says so", {kRefused});
  }
  fprintf(stderr, "Really %s? [y/N] ", what.c_str());
  std::string answer;
  std::getline(std::cin, answer);
  if (!is_yes(answer)) throw Failure("nothing was deleted", {kRefused});
}

}  // namespace tools::capictl
