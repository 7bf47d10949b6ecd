// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The SIM's values for the rooms inside: who is served, whose carrier it is, whose messages are
// read.
//
// A value comes from the record as it stands there, also when it is empty, and from the SIM file
// where there is no record: a program may ask that never attached.
//
// Leaves to its callers what to make of a SIM without the value. What failed is logged here, under
// the name of the public getter, whoever asked.
#pragma once

namespace capi {

// What capi_get_simcard_info() promises. Takes lock 0, and lock 10 for the file.
int get_sim_info(int index, char* buf, int len);

}  // namespace capi
