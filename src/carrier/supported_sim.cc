// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whether the inserted SIM may be used.

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "capi/backend.h"
#include "capi/carrier.h"
#include "carrier/carrier_rows.h"
#include "carrier/trial_sim.h"
#include "device/sim_file.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {
namespace {

using carrier_rows::any_mnc;
using carrier_rows::begins_with_plmn;
using carrier_rows::kRows;
using carrier_rows::Row;

bool is_supported(std::string_view text) {
  for (const Row& row : kRows) {
    const auto fits = [&](std::string_view mnc) {
      return begins_with_plmn(text, kRows.text(row.mcc), mnc);
    };
    if (any_mnc(row, fits)) return true;
  }
  return false;
}

bool is_tried_out(std::string_view imsi) {
  TrialSim sim;
  return read_trial_sim(sim) && sim.has_network_of(imsi);
}

struct Identity {
  char imsi[256];
  char impi[256];
};

// False without an IMSI.
bool read_identity(FILE* file, Identity& identity) {
  constexpr size_t kKeySize = sizeof "IMSI=" - 1;
  char line[512];
  while (fgets(line, sizeof line, file) != nullptr) {
    const std::string_view text = without_line_end(line);
    if (starts_with(text, "IMSI")) {
      copy_text(identity.imsi, tail(text, kKeySize));
      if (identity.imsi[0] == '\0') return false;
    } else if (starts_with(text, "IMPI")) {
      copy_text(identity.impi, tail(text, kKeySize));
    }
  }
  return identity.imsi[0] != '\0';
}

bool read_sim_file(Identity& identity) {
  char path[kSimPathSize];
  get_sim_file_path(path);
  const CriticalSection section(kVopRunInfoLock);
  if (access(path, R_OK) != 0) return false;
  const File file = open_file(path, "r");
  if (!file) {
    CAPI_LOG_AS("capi_check_simcard", kLogWarning, "fopen file %s failed, reason=[%s]\n", path,
                strerror(errno));
    return false;
  }
  return read_identity(file.get(), identity);
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_cfg_backend_check_simcard() {
  const int result = with_shared_record(
      [](const cfg_shared_record& record) { return record.sim_check_flag == 0 ? 1 : 0; });
  return result == 0 ? 0 : 1;
}

int capi_check_simcard() {
  if (capi_cfg_backend_check_simcard() == 0) return 0;
  Identity identity{};
  if (!read_sim_file(identity)) return 1;
  const bool usable =
      is_supported(identity.imsi) || is_supported(identity.impi) || is_tried_out(identity.imsi);
  return usable ? 0 : 1;
}
