// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Writing to the shared segment in a way that a kill cannot cut.
#pragma once

#include <cstddef>

namespace capi {

inline constexpr size_t kMaxWholeWrite = 4096;

// Copies at most kMaxWholeWrite bytes into the segment, whose lock the caller holds. Who looks at
// them later finds the old bytes or the new ones, never some of each, even if this process is
// killed meanwhile: the kernel copies them, and it finishes what it began.
void write_whole(void* to, const void* from, size_t size);

template <typename Record>
void write_whole(Record& to, const Record& from) {
  static_assert(sizeof(Record) <= kMaxWholeWrite);
  write_whole(&to, &from, sizeof(Record));
}

}  // namespace capi
