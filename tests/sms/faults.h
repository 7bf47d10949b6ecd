// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// System calls that fail when a test says so. The linker leads the calls of this program here.
#pragma once

#include <cerrno>

namespace capi::test {

enum class Call { Calloc, Stat, Fopen, Fread, Fwrite, Fflush, Fclose, Sync, Count };

// Lets one call fail: the nth of its kind from now on.
void fail_call(Call call, int nth, int error = EIO);

// Nothing fails any more, and counting starts over.
void reset_calls();

// The calls since then. Nothing is really synchronised: that takes long and tells nothing.
int count_calls(Call call);

}  // namespace capi::test
