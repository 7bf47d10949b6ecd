// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A SIM that is tried out: one that the table of carriers does not know, and that a file on the
// device says to treat as the SIM of a carrier which it does know.
//
// The file is one line, "MCC MNC ID", written by people. It is read anew for every question, so
// that it may come and go while the device runs; a line that is wrong is logged every time.
//
// Leaves to its callers which carrier the id stands for.
#pragma once

#include <cstdint>
#include <string_view>

namespace capi {

struct TrialSim {
  char mcc[4];
  char mnc[4];
  uint32_t id;  // of the carrier that it stands for

  // Whether an IMSI is one of the network that is tried out.
  bool has_network_of(std::string_view imsi) const;
};

// False, with "sim" as it was, where there is no file or its line is wrong.
bool read_trial_sim(TrialSim& sim);

}  // namespace capi
