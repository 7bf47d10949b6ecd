// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files that the device's other software leaves behind for the master.
//
// They are read once, when the master starts, into a record that has only its defaults, before any
// client looks at it. A file that is missing, a key that nobody knows and a number out of range
// change nothing: the device must start whatever its other software did.
//
// Leaves to its callers the lock and the order: what is read later wins.
#pragma once

#include <string_view>

#include "capi/records.h"

namespace capi {

// Fills the record from the info files and from the factory voice defaults. Files that are missing
// are skipped.
void read_info_files(cfg_shared_record& record);

// Fills the LTE network information from "lte_net_info.data" in a directory. False when there is no
// such file.
bool read_lte_net_info(cfg_shared_record& record, std::string_view directory);

}  // namespace capi
