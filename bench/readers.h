// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Other readers of key=value files. Each reads a whole file and does nothing with its items.
#pragma once

namespace bench {

void read_with_inih(const char* path);
void read_with_iniparser(const char* path);

}  // namespace bench
