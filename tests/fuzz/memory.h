// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files and locks without the kernel, which would take nearly all of the time that an input gets.
#pragma once

#include <cstddef>

namespace capi::fuzz {

// While it lives, every file that the library opens for reading holds these bytes, which must stay
// as long, and every lock is free.
class InMemory {
 public:
  InMemory(const void* bytes, size_t size);
  ~InMemory();
  InMemory(const InMemory&) = delete;
  InMemory& operator=(const InMemory&) = delete;
};

}  // namespace capi::fuzz
