// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The calls of the call log.
#pragma once

#include <string>
#include <vector>

#include "filter.h"
#include "table.h"

namespace tools {

using Calls = std::vector<capi_call_log_record>;

// What the calls of a day are told apart by.
struct CallKind {
  const char* name;
  unsigned (*kind_of)(const capi_call_log_record& call);
};

// A row for each day and kind, the latest day first. Calls whose time is none have no day.
Table calls_by_day(const Calls& calls, const Order& order, const CallKind& kind);

// A row for each.
Table call_table(const Calls& calls);

// All that is known of a call.
Table call_facts(const capi_call_log_record& call);

// The same as lines of comma-separated values, texts in quotes. Where a spreadsheet would take a
// text for a formula a ' stands in front of it.
std::string call_csv_head();
std::string call_csv_row(const capi_call_log_record& call);

// Those that are meant, the newest first. Throws a Failure.
Calls read_calls(const Filter& filter = {});

// The same of a call log's file that is known already, and sound.
Calls calls_of(const std::string& content);
Calls meant_calls(Calls calls, const Filter& filter);

// Deletes a call, unless it is gone: by then its node may be another one's, and the log itself
// would be lost with a node that is free. False when the library cannot.
bool delete_if_there(const capi_call_log_record& call);

}  // namespace tools
