// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files that the device's other software leaves behind for the master.
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
