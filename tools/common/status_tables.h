// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter and its telephone lines as tables.
#pragma once

#include "table.h"

namespace tools {

// A row for each line, or for one of them (from 1); 0 is both.
Table line_table(const cfg_shared_record& record, int line = 0);

// A row for each line and voice stack that was ever published. The library is asked for the texts,
// and may have to wait for lock 0; without it there are fewer.
enum class Texts : uint8_t { FromLibrary, OfOurOwn };
Table registration_table(const cfg_shared_record& record, int line = 0,
                         Texts texts = Texts::FromLibrary);

// The adapter, the device, and its SIM, of which nothing can be told while lock 10 is held. They
// need an Attachment.
Table adapter_table();
Table device_table(const cfg_shared_record& record);
Table sim_table();

// All that status shows; the record alone where the adapter is not whole.
std::vector<Table> status_tables(const Attachment& adapter, const cfg_shared_record& record);

}  // namespace tools
