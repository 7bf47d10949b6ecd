// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/whole_write.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/memory.h"

namespace capi {
namespace {

constexpr uintptr_t kPage = kMaxWholeWrite;  // no kernel has smaller ones

bool is_within_a_page(const void* bytes, size_t size) {
  const auto first = reinterpret_cast<uintptr_t>(bytes);
  return size == 0 || first / kPage == (first + size - 1) / kPage;
}

bool kernel_copies(void* to, const void* from, size_t size) {
  const iovec target{to, size};
  const iovec source{const_cast<void*>(from), size};
  return process_vm_readv(getpid(), &target, 1, &source, 1, 0) == static_cast<ssize_t>(size);
}

// Between the pages that it reads from the kernel looks whether the process was killed. The page in
// between is a block of the heap: a thread's stack may have no room for it, and one for the whole
// process would have to be guarded where there is no lock, that is, before there is a master.
bool kernel_copies_page(void* to, const void* from, size_t size) {
  const Allocated<char> block(static_cast<char*>(malloc(2 * kPage)));
  if (!block) return false;
  const auto offset = reinterpret_cast<uintptr_t>(block.get()) % kPage;
  char* page = block.get() + (kPage - offset);  // there is a whole one in it
  memcpy(page, from, size);
  return kernel_copies(to, page, size);
}

}  // namespace

void write_whole(void* to, const void* from, size_t size) {
  if (size <= kMaxWholeWrite &&
      (is_within_a_page(from, size) ? kernel_copies(to, from, size)
                                    : kernel_copies_page(to, from, size))) {
    return;
  }
  memcpy(to, from, size);  // without memory, or the kernel's call: then a kill may cut
}

}  // namespace capi
