// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whose SIM it is, for a SIM of every row of the table.

#include "carrier/carrier_rows.h"

#include <string>
#include <vector>

#include "bench.h"
#include "capi.h"
#include "floor.h"

namespace bench {
namespace {

struct Sim {
  std::string imsi;
  std::string iccid;
};

std::vector<Sim> sims() {
  std::vector<Sim> result;
  using capi::carrier_rows::kRows;
  for (const auto& row : kRows) {
    const auto text = [](capi::TextOffset place) { return std::string(kRows.text(place)); };
    const std::string mnc = text(row.mnc_list).substr(0, row.mnc_length);
    result.push_back({text(row.mcc) + mnc + "0123456789", text(row.iccid_prefix) + "012345678901"});
  }
  return result;
}

// How many rows are looked at for a SIM: up to the one that fits both texts, else all.
double rows_searched(const std::vector<Sim>& sims) {
  using capi::carrier_rows::kRows;
  double count = 0;
  for (const Sim& sim : sims) {
    capi_carrier_info found{};
    capi_get_carrier_info(sim.imsi.c_str(), sim.iccid.c_str(), &found);
    for (const auto& row : kRows) {
      ++count;
      if (row.id == found.id && kRows.text(row.file) == found.file &&
          !kRows.text(row.iccid_prefix).empty()) {
        break;
      }
    }
  }
  return count;
}

}  // namespace

Rows carrier_rows() {
  const std::vector<Sim> all = sims();
  return {{"find a carrier, for each row searched",
           0.01,
           {{"ours", repeat([=] {
               capi_carrier_info found;
               for (const Sim& sim : all) {
                 capi_get_carrier_info(sim.imsi.c_str(), sim.iccid.c_str(), &found);
                 benchmark::DoNotOptimize(found);
               }
             }),
             rows_searched(all)},
            {"lock and unlock", repeat([] { const floor::Lock guard(CAPI_LOCK_CONF_SHM); })}}}};
}

}  // namespace bench
