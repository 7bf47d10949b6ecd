// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Many processes of the device at once, at full speed or killed at random. Exits with 0 when all
// went as it should.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "device.h"
#include "runs.h"

namespace {

int usage() {
  fprintf(stderr,
          "usage: capi_soak [--seed N] [--kills N] [--minutes N] | [--seed N] --together ROUNDS |\n"
          "       [--seed N] --live KILLS | [--seed N] --watch KILLS\n"
          "in a private view of the machine: tests/support/private-view capi_soak ...\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace capi::soak;
  KillPlan plan{.seed = 1, .kills = 300, .minutes = 0};
  unsigned rounds = 0;
  void (*run)(const KillPlan&) = run_kills;
  for (int i = 1; i < argc; i += 2) {
    if (i + 1 == argc) return usage();
    const auto number = static_cast<uint32_t>(strtoul(argv[i + 1], nullptr, 10));
    if (strcmp(argv[i], "--seed") == 0) {
      plan.seed = number;
    } else if (strcmp(argv[i], "--kills") == 0) {
      plan.kills = number;
    } else if (strcmp(argv[i], "--live") == 0) {
      run = run_live;
      plan.kills = number;
    } else if (strcmp(argv[i], "--watch") == 0) {
      run = run_watchers;
      plan.kills = number;
    } else if (strcmp(argv[i], "--minutes") == 0) {
      plan.minutes = number;
    } else if (strcmp(argv[i], "--together") == 0) {
      rounds = number;
    } else {
      return usage();
    }
  }
  if (getenv("CAPI_PRIVATE_VIEW") == nullptr) return usage();

  start_device();
  if (rounds > 0) {
    run_together(plan.seed, rounds);
  } else {
    run(plan);
  }
  if (board().failures == 0) return 0;
  fprintf(stderr, "%u failures\n", board().failures.load());
  return 1;
}
