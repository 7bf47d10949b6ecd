// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the kernel below can do; an emulated one can do less.
#pragma once

#include <sys/uio.h>
#include <unistd.h>

namespace capi::test {

// Whether it copies a process's memory, which is how the library writes records whole.
inline bool kernel_copies_memory() {
  char from = 'x';
  char to = 0;
  const iovec source{&from, 1};
  const iovec target{&to, 1};
  return process_vm_readv(getpid(), &target, 1, &source, 1, 0) == 1 && to == 'x';
}

}  // namespace capi::test
