// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whose SIM it is, for the room's own sources.
//
// The row of the table decides; where none fits, the SIM that is tried out (carrier/trial_sim.h);
// then nobody, which is a failure, but with the test network's row as the answer.
//
// What fails is logged here, under the name of the public getter.
#pragma once

#include "capi/carrier.h"

namespace capi {

// What capi_get_carrier_info() promises: a null text is that of the inserted SIM. Takes the locks
// of get_sim_info() then.
int find_carrier(const char* imsi, const char* iccid, capi_carrier_info& out);

}  // namespace capi
