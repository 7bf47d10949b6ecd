// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Watchers, beside setters that are killed at random and watchers that are.
#include <poll.h>
#include <time.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "capi/live.h"
#include "capi/watch.h"
#include "device.h"
#include "operations.h"
#include "runs.h"
#include "support/process.h"

namespace capi::soak {
namespace {

constexpr size_t kWatchers = 4;
constexpr unsigned kSettersEachWatcher = 10;  // killed ones
constexpr long kLongestLife = 2000000;        // nanoseconds
constexpr int kPatience = 300000;             // looks of a tenth of a millisecond

constexpr char kSection[] = "voice_switch";
constexpr char kKey[] = "option_voice_switch_mode";

uint32_t value() {
  char text[16] = {};
  if (capi_live_get(kSection, kKey, text, sizeof text) != 0) fail("a live read");
  return static_cast<uint32_t>(std::stoul(text));
}

// Waits for as long as it takes: who is not told sees nothing.
void watch_for_ever(std::atomic<uint32_t>& seen) {
  capi_watch watch;
  if (capi_watch_open(&watch, CAPI_TOPIC_CONFIG) != 0) fail("opening a watch");
  seen = value() + 1;
  for (pollfd wait{watch.fd, POLLIN, 0}; poll(&wait, 1, -1) == 1;) {
    if (capi_watch_changed(&watch) > 0) seen = value() + 1;
  }
}

void set_for_ever(uint32_t number) {
  for (;; number = (number + 1) % 1000000) {
    capi_config_set(kSection, kKey, 0, std::to_string(number).c_str());
  }
}

void rest(long nanoseconds) {
  const timespec time{0, nanoseconds};
  nanosleep(&time, nullptr);
}

// Nobody sets anything now, so every watcher has to come to the value that there is.
void await_watchers() {
  const uint32_t last = value() + 1;
  for (size_t i = 0; i < kWatchers; ++i) {
    int looks = 0;
    while (board().seen[i] != last && ++looks < kPatience) rest(100000);
    if (looks == kPatience) fail("watcher %zu missed the last value", i);
  }
}

}  // namespace

void run_watchers(const KillPlan& plan) {
  Random random(plan.seed);
  std::array<std::unique_ptr<test::Process>, kWatchers> watchers;
  const auto start = [&](size_t i) {
    std::atomic<uint32_t>& seen = board().seen[i];
    seen = 0;
    watchers[i] = std::make_unique<test::Process>([&seen] {
      start_process();
      watch_for_ever(seen);
    });
  };
  for (size_t i = 0; i < kWatchers; ++i) start(i);
  unsigned killed_watchers = 0;
  unsigned changes = 0;
  for (unsigned kills = 0; kills < plan.kills && board().failures == 0; ++kills) {
    const auto number = static_cast<uint32_t>(random() % 1000000);
    const uint32_t before = value();
    {
      test::Process setter([number] {
        start_process();
        set_for_ever(number);
      });
      rest(static_cast<long>(random() % kLongestLife));
      if (kills % kSettersEachWatcher == 0) {
        const size_t victim = random() % kWatchers;
        watchers[victim]->kill();
        start(victim);
        ++killed_watchers;
      }
      setter.kill();
    }
    changes += value() != before ? 1 : 0;
    await_watchers();
  }
  for (auto& watcher : watchers) watcher->kill();
  printf("seed %u: %u setters killed, %u of them after a change, and %u watchers\n", plan.seed,
         plan.kills, changes, killed_watchers);
  printf("watchers that missed the last value: %u\n", board().failures.load());
}

}  // namespace capi::soak
