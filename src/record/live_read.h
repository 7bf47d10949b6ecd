// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Reading the shared record without its lock: copy, then look whether a writer was inside meanwhile
// or another segment took the place of ours.
//
// A reader never waits for itself, and never for long without the kernel's help: where a writer
// stays inside, or died there, it takes the lock, without a word in the log. In a thread that has
// the lock already, as in a callback, and where there are no locks, it reads what stands there.
#pragma once

#include <cstdint>

#include "foundation/function_ref.h"
#include "record/context.h"

namespace capi {

// Has "copy" copy out of the record, several times where it has to, each time over the time before.
// What it finds is only good after the last time: it must not decide by it where to read or write.
// False when none is attached. "generation" is that of what was copied.
bool read_live(FunctionRef<void(const cfg_shared_record&)> copy, uint64_t* generation = nullptr);

// Copies bytes that may change meanwhile.
void copy_live(void* to, const void* from, size_t size);

// Whether the record is that of "generation" still, and no writer is inside.
bool is_unchanged(uint64_t generation);

}  // namespace capi
