// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Explores the states that crashes leave, and prints what they cost. Exits with 0 when they cost
// nothing, 1 when they do, 2 when it could not tell and 77 where processes cannot be traced.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "device.h"
#include "explorer.h"

namespace {

using namespace capi::crash;

constexpr int kSkipped = 77;

struct PlantName {
  char name[24];
  Plant plant;
};
constexpr PlantName kPlants[] = {{"no-file-sync", Plant::NoFileSync},
                                 {"no-directory-sync", Plant::NoDirectorySync},
                                 {"late-mode", Plant::LateMode},
                                 {"unique-names", Plant::UniqueNames}};

struct Arguments {
  Options options{.bounds = full_bounds()};
  std::vector<std::string> groups;
  std::string scene;
  bool must_lose = false;
  bool only_names = false;
};

struct Row {
  std::string name;
  Result result;
};

int usage() {
  fprintf(stderr,
          "usage: capi_crash [--short] [--group GROUP]... [--scene NAME] [--plant FAULT]\n"
          "                  [--state ID] [--show N] [--must-lose] [--list]\n"
          "groups: call-log messages stack sim voice-block status schema writers reference\n"
          "        faults\n"
          "faults: no-file-sync no-directory-sync late-mode unique-names\n"
          "in a private view of the machine: tests/support/private-view capi_crash ...\n");
  return 2;
}

bool set_plant(Options& options, const char* name) {
  for (const PlantName& row : kPlants) {
    if (strcmp(row.name, name) != 0) continue;
    options.plant = row.plant;
    return true;
  }
  return false;
}

void be_short(Options& options) {
  options.bounds = short_bounds();
  options.again = options.fails = false;
}

// False for what is not understood.
bool take_flag(Arguments& arguments, const char* flag) {
  if (strcmp(flag, "--short") == 0) {
    be_short(arguments.options);
  } else if (strcmp(flag, "--must-lose") == 0) {
    arguments.must_lose = true;
  } else if (strcmp(flag, "--list") == 0) {
    arguments.only_names = true;
  } else {
    return false;
  }
  return true;
}

bool take_option(Arguments& arguments, const char* option, const char* value) {
  if (value == nullptr) return false;
  if (strcmp(option, "--plant") == 0) return set_plant(arguments.options, value);
  if (strcmp(option, "--group") == 0) {
    arguments.groups.emplace_back(value);
  } else if (strcmp(option, "--scene") == 0) {
    arguments.scene = value;
  } else if (strcmp(option, "--state") == 0) {
    arguments.options.state = value;
  } else if (strcmp(option, "--show") == 0) {
    arguments.options.shown = static_cast<unsigned>(strtoul(value, nullptr, 10));
  } else {
    return false;
  }
  return true;
}

bool take(Arguments& arguments, int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (take_flag(arguments, argv[i])) continue;
    if (!take_option(arguments, argv[i], argv[i + 1])) return false;
    ++i;
  }
  return true;
}

// Without a promise no sync of a directory is needed.
bool can_lose(const Scene& scene, Plant plant) {
  return plant != Plant::NoDirectorySync || scene.promise == Promise::Durable;
}

bool is_wanted(const Scene& scene, const Arguments& arguments) {
  if (!arguments.scene.empty()) return scene.name == arguments.scene;
  // The reference writer is no part of the library: only who asks for it gets it.
  if (arguments.groups.empty()) return scene.uses_library;
  for (const std::string& group : arguments.groups) {
    if (scene.group == group) return true;
  }
  return false;
}

std::vector<Scene> wanted_scenes(const Arguments& arguments) {
  std::vector<Scene> result;
  for (auto* make : {call_log_scenes, message_scenes, configuration_scenes, reference_scenes}) {
    for (Scene& scene : make()) {
      if (is_wanted(scene, arguments)) result.push_back(std::move(scene));
    }
  }
  return result;
}

constexpr char kCosts[] = " | states   lost silent  wrong undone   left";

void print_tally(const Tally& tally) {
  printf(" | %6u %6u %6u %6u %6u %6u", tally.states, tally.lost, tally.silently, tally.wrong,
         tally.undone, tally.left_over);
}

void print_head() {
  printf("%-42s | %-41s | %s\n", "", "killed", "power cut");
  printf("%-42s%s%s\n", "", kCosts, kCosts);
}

void print_row(const Row& row) {
  printf("%-42s", row.name.c_str());
  print_tally(row.result.kill);
  print_tally(row.result.power);
  printf("\n");
  fflush(stdout);
}

// What only the full form looks at.
void print_more(const std::vector<Row>& rows) {
  printf("\n%-42s | %-41s | %s\n", "", "the next change killed or cut", "failing calls");
  printf("%-42s%s | calls   lost\n", "", kCosts);
  for (const Row& row : rows) {
    printf("%-42s", row.name.c_str());
    print_tally(row.result.again);
    printf(" | %5u %6u\n", row.result.calls_failed, row.result.failures_lost);
  }
}

bool is_clean(const Result& result) {
  return result.kill.is_clean() && result.power.is_clean() && result.again.is_clean() &&
         result.failures_lost == 0;
}

void add(Result& total, const Result& result) {
  total.kill += result.kill;
  total.power += result.power;
  total.again += result.again;
  total.calls_failed += result.calls_failed;
  total.failures_lost += result.failures_lost;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!take(arguments, argc, argv)) return usage();
  const std::vector<Scene> scenes = wanted_scenes(arguments);
  if (arguments.only_names) {
    for (const Scene& scene : scenes) printf("%-12s %s\n", scene.group.c_str(), scene.name.c_str());
    return 0;
  }
  if (scenes.empty() || getenv("CAPI_PRIVATE_VIEW") == nullptr) return usage();
  if (!can_trace()) {
    puts("SKIPPED: processes cannot be traced here, an emulated one never can");
    return kSkipped;
  }

  make_device();
  print_head();
  std::vector<Row> rows;
  Row total{"in all", {}};
  bool all_lose = true;
  bool some_lose = false;
  for (const Scene& scene : scenes) {
    rows.push_back({scene.name, explore(scene, arguments.options)});
    const Row& row = rows.back();
    print_row(row);
    add(total.result, row.result);
    if (!row.result.is_planted || !can_lose(scene, arguments.options.plant)) continue;
    all_lose = all_lose && !is_clean(row.result);
    some_lose = true;
  }
  print_row(total);
  rows.push_back(total);
  if (arguments.options.again) print_more(rows);
  printf("\nThe older content after success, where nothing more is promised: %u killed, %u cut\n",
         total.result.kill.earlier, total.result.power.earlier);
  return (arguments.must_lose ? all_lose && some_lose : is_clean(total.result)) ? 0 : 1;
}
