// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/whole_write.h"

#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace capi {
namespace {

constexpr uintptr_t kPage = kMaxWholeWrite;  // no kernel has smaller ones

bool is_within_a_page(const void* bytes, size_t size) {
  const auto first = reinterpret_cast<uintptr_t>(bytes);
  return size == 0 || first / kPage == (first + size - 1) / kPage;
}

bool kernel_copies(void* to, const void* from, size_t size) {
#if defined(__SANITIZE_THREAD__)
  // Readers without the lock look on, and the sanitizer takes only atomic stores for meant.
  for (size_t i = 0; i < size; ++i) {
    const char byte = static_cast<const char*>(from)[i];
    __atomic_store_n(static_cast<char*>(to) + i, byte, __ATOMIC_RELAXED);
  }
  return true;
#endif
  const iovec target{to, size};
  const iovec source{const_cast<void*>(from), size};
  return process_vm_readv(getpid(), &target, 1, &source, 1, 0) == static_cast<ssize_t>(size);
}

// A page of its own. A thread's stack may have no room for one, and a page for the whole process
// would have to be guarded where there is no lock, that is, before there is a master.
class Page {
 public:
  Page() = default;
  ~Page() {
    if (*this) munmap(memory_, kPage);
  }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  explicit operator bool() const { return memory_ != MAP_FAILED; }
  void* get() const { return memory_; }

 private:
  void* memory_ = mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};

// Between the pages that it reads from the kernel looks whether the process was killed.
bool kernel_copies_page(void* to, const void* from, size_t size) {
  const Page page;
  if (!page) return false;
  memcpy(page.get(), from, size);
  return kernel_copies(to, page.get(), size);
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
