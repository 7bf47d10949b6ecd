// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Writing to the shared segment in a way that a kill cannot cut.
//
// A process may be killed at any instruction, and its locks are given back by the kernel as if it
// had finished. A copy by our own instructions could then stay half done, for everybody and for
// good. So the kernel copies: once it began it finishes, as long as what it reads from is one page.
//
// Single numbers need none of this, for they are one store. What is larger than kMaxWholeWrite is
// cut by its owner into pieces that may be of different ages (config/publish.cc).
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
