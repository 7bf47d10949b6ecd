// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "capi/lock.h"
#include "foundation/log.h"
#include "foundation/modes.h"
#include "foundation/uninterrupted.h"

namespace capi {
namespace {

constexpr int kMaxLocks = 32;
constexpr size_t kPathSize = 256;
constexpr int kNone = -1;

// A lock that is held. It belongs to one process: a forked child has a copy of its parent's.
struct HeldLock {
  int32_t pid;
  int32_t fd;
  char path[kPathSize];
};

// On the heap, for few processes lock files. Null until the first lock.
HeldLock* table = nullptr;

// Makes the table. False when there is no memory.
bool make_table() {
  table = static_cast<HeldLock*>(calloc(kMaxLocks, sizeof(HeldLock)));
  for (int i = 0; table != nullptr && i < kMaxLocks; ++i) table[i].pid = table[i].fd = kNone;
  return table != nullptr;
}

HeldLock* find_unused() {
  if (table == nullptr && !make_table()) return nullptr;
  for (int i = 0; i < kMaxLocks; ++i) {
    if (table[i].pid == kNone && table[i].fd == kNone) return &table[i];
  }
  return nullptr;
}

// The latest lock that this process holds on a path.
HeldLock* find_held(const char* path) {
  for (int i = kMaxLocks - 1; table != nullptr && i >= 0; --i) {
    if (table[i].pid == getpid() && strcmp(table[i].path, path) == 0) return &table[i];
  }
  return nullptr;
}

// Opens a lock file. -1 also for a path that would not fit into the table.
int open_lock_file(const char* path) {
  if (path == nullptr || strlen(path) >= kPathSize) return kNone;
  return open(path, O_RDWR | O_CREAT | O_CLOEXEC, kLockFileMode);
}

bool wait_for_lock(int fd) {
  return uninterrupted([&] { return flock(fd, LOCK_EX); }) == 0;
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_lock_file(const char* path) {
  const int fd = open_lock_file(path);
  if (fd == kNone) {
    CAPI_LOG(kLogWarning, "File open ERROR!\n!");
    return -1;
  }
  if (!wait_for_lock(fd)) {
    CAPI_LOG(kLogWarning, "File Lock ERROR!\n!");
    close(fd);
    return -1;
  }
  HeldLock* lock = find_unused();
  if (lock == nullptr) {
    CAPI_LOG(kLogWarning, "File Lock table ERROR!\n!");
    close(fd);
    return -1;
  }
  lock->pid = getpid();
  lock->fd = fd;
  strcpy(lock->path, path);
  return 0;
}

int capi_unlock_file(const char* path) {
  HeldLock* lock = path != nullptr ? find_held(path) : nullptr;
  if (lock == nullptr) {
    CAPI_LOG(kLogWarning, "File fd ERROR!\n!");
    return -1;
  }
  const int fd = lock->fd;
  *lock = {kNone, kNone, {}};
  int result = 0;
  if (flock(fd, LOCK_UN) != 0) {
    CAPI_LOG(kLogWarning, "File Unlock ERROR!\n!");
    result = -1;
  }
  close(fd);
  return result;
}
