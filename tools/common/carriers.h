// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whose SIM it is, and why.
#pragma once

#include <string>

#include "table.h"

namespace tools {

struct CarrierMatch {
  Table table;  // every row of the carrier table that fits, and which was chosen
  bool is_known;
  std::string imsi;
  unsigned carrier;  // what the device treats the SIM as
};

// For an IMSI and an ICCID, or where they are empty for those of the inserted SIM. Needs an
// Attachment. Throws a Failure without a SIM.
CarrierMatch match_carriers(const std::string& imsi, const std::string& iccid);

// All carriers in the order of trying.
Table carrier_table();

}  // namespace tools
