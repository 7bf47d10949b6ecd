// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The registration status of a line.

#include <ctime>

#include "bench.h"
#include "capi.h"
#include "floor.h"

namespace bench {

Rows status_rows() {
  using Status = capi_line_reg_stat;
  constexpr size_t kOffset = offsetof(cfg_shared_record, reg_stat);
  static Status status{};
  status.registered = 1;
  return {{"set the registration of a line",
           1.05,
           {{"ours", repeat([] { capi_set_runtime_line_reg_stat(0, &status, 0); })},
            {"floor", repeat([] { floor::set(kOffset, &status, sizeof status); })},
            {kCuttable, repeat([] { floor::set_cuttably(kOffset, &status, sizeof status); })}}},
          {"get the registration of a line",
           1.05,
           {{"ours", repeat([] {
               Status got;
               capi_get_runtime_line_reg_stat(0, &got, 0);
             })},
            {"floor", repeat([] {
               Status got;
               floor::get(&got, kOffset, sizeof got);
               got.reg_duration = static_cast<int32_t>(time(nullptr)) - got.reg_time;
               benchmark::DoNotOptimize(got);
             })}}}};
}

}  // namespace bench
