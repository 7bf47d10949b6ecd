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

int usage() {
  fprintf(stderr,
          "usage: capi_crash [--short] [--group GROUP]... [--scene NAME] [--plant FAULT]\n"
          "                  [--state ID] [--show N] [--must-lose] [--list]\n"
          "groups: call-log messages stack sim voice-block status schema writers reference\n"
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

bool is_wanted(const Scene& scene, const Arguments& arguments) {
  if (!arguments.scene.empty()) return scene.name == arguments.scene;
  // The reference writer is no part of the library: only who asks for it gets it.
  if (arguments.groups.empty()) return scene.group != "reference";
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

void print_tally(const Tally& tally) {
  printf(" | %6u %5u %5u %5u %5u %5u", tally.states, tally.lost, tally.silently, tally.wrong,
         tally.undone, tally.left_over);
}

void print_head() {
  printf("%-42s | %-36s | %-36s | %-36s | %s\n", "", "killed", "power cut",
         "the next change, either", "failing calls");
  printf("%-42s", "");
  for (int i = 0; i < 3; ++i) printf(" | states  lost silnt wrong undon  left");
  printf(" |  calls  lost\n");
}

void print_row(const std::string& name, const Result& result) {
  printf("%-42s", name.c_str());
  for (const Tally* tally : {&result.kill, &result.power, &result.again}) print_tally(*tally);
  printf(" | %6u %5u\n", result.calls_failed, result.failures_lost);
  fflush(stdout);
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
  Result total;
  bool all_lose = true;
  for (const Scene& scene : scenes) {
    const Result result = explore(scene, arguments.options);
    print_row(scene.name, result);
    add(total, result);
    all_lose = all_lose && !is_clean(result);
  }
  print_row("in all", total);
  printf("older content after success where nothing more is promised: %u killed, %u power cut\n",
         total.kill.earlier, total.power.earlier);
  return (arguments.must_lose ? all_lose : is_clean(total)) ? 0 : 1;
}
