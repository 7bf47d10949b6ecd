// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The lock pair, alone and with others after the same lock.

#include "bench.h"
#include "capi.h"
#include "crowd.h"
#include "floor.h"

namespace bench {
namespace {

void our_pair() {
  capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
  capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
}

void floor_pair() { const floor::Lock guard(CAPI_LOCK_CONF_SHM); }

using Pair = void (*)();

std::function<void(benchmark::State&)> contest(int processes, Pair pair) {
  return [=](benchmark::State& state) {
    Crowd rivals;
    for (int i = 1; i < processes; ++i) rivals.start(pair);
    for (auto iteration : state) pair();
  };
}

}  // namespace

Rows lock_rows() {
  Rows rows{{"lock and unlock", 1.02, {{"ours", repeat(our_pair)}, {"floor", repeat(floor_pair)}}}};
  for (const int processes : {2, 4, 8}) {
    rows.push_back(
        {"the same, " + std::to_string(processes) + " processes contending",
         1.10,
         {{"ours", contest(processes, our_pair)}, {"floor", contest(processes, floor_pair)}},
         Clock::Wall});
  }
  return rows;
}

}  // namespace bench
