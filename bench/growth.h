// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What many processes at once get out of the library: reads a second of all of them together, and
// the time until watchers wake up.
#pragma once

#include <string>

namespace bench {

// Prints the table of 1, 2, 4 and 8 readers, with and without a writer, and draws it where a path
// is given. "brief" shows that it works and nothing else.
void measure_readers(bool brief, const std::string& plot);

// Prints how long watchers take to wake up after a change.
void measure_watchers(bool brief);

}  // namespace bench
