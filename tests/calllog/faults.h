// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Failures of the C library's calls, and deaths at them: the tests of this room are linked so that
// all these calls of the library's come through here.
#pragma once

namespace capi::test {

enum class Call { Fopen, Fread, Fwrite, Fflush, Fclose, Fseek, Calloc, LocaltimeR };

// Makes the nth of the coming calls fail, once. A file call that fails has errno EIO.
void fail_call(Call call, int nth = 1);

// Kills this process at the nth moment from now: there is one before every call on a file, and one
// half way through every write.
void die_at_moment(int nth);

// Whether a failure or a death is still to come.
bool fault_is_pending();

// Forgets them.
void clear_faults();

// How often sync() was called since the last clear_faults(). It does not reach the machine.
int sync_count();

}  // namespace capi::test
