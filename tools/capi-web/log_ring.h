// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The last lines of the library's log in this process.
#pragma once

#include <table.h>

namespace tools::web {

inline constexpr size_t kLogLines = 200;

// A log sink (capi/log.h). Keeps what is amiss, and none of what goes well: its lines tell values,
// which may be secret.
void keep_log(int level, const char* text);

// The same, and prints all of them on standard error.
void keep_and_print_log(int level, const char* text);

// Those that are kept, the oldest first: time, level, text.
Table log_table();

}  // namespace tools::web
