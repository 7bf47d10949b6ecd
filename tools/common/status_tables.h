// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter and its telephone lines as tables.
#pragma once

#include "table.h"

namespace tools {

// What is known of the record, and of the device. Need an Attachment.
Table adapter_table();
Table device_table(const cfg_shared_record& record);

// What is known of the SIM. Needs an Attachment; waits for CAPI_LOCK_VOP_RUN_INFO.
Table sim_table();

// A row for each line, or for one of them (from 1); 0 is both.
Table line_table(const cfg_shared_record& record, int line = 0);

// A row for each line and voice stack that was ever published.
Table registration_table(const cfg_shared_record& record, int line = 0);

// All that status shows; the record alone where the adapter is not whole.
std::vector<Table> status_tables(const Attachment& adapter, const cfg_shared_record& record);

}  // namespace tools
