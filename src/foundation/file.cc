// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "capi/util.h"
#include "foundation/descriptor.h"
#include "foundation/file_replacement.h"
#include "foundation/log.h"
#include "foundation/modes.h"

namespace capi {
namespace {

constexpr size_t kPathSize = 256;

bool make_directory(const char* path, mode_t mode) {
  return mkdir(path, mode) == 0 || errno == EEXIST;
}

// Sets errno as if the file were missing where it is anything else. A directory is refused by the
// kernel, when it is read.
bool is_plain(const struct stat& status, const char* path) {
  if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return true;
  CAPI_LOG_AS("open_file", kLogWarning, "%s is not a regular file\n", path);
  errno = ENOENT;
  return false;
}

// Nobody may have to wait for the writer of a FIFO.
Descriptor open_at_once(const char* path, int direction) {
  return Descriptor(open(path, direction | O_NONBLOCK | O_CLOEXEC));
}

File open_regular_file(const char* path, const char* mode) {
  Descriptor fd = open_at_once(path, strchr(mode, '+') != nullptr ? O_RDWR : O_RDONLY);
  struct stat status {};
  if (!fd || fstat(fd.get(), &status) != 0 || !is_plain(status, path)) return nullptr;
  File file(fdopen(fd.get(), mode));
  if (file) fd.release();
  return file;
}

}  // namespace

void make_for_group(const char* path) {
  if (!kGroupOnly) return;
  const Descriptor made(open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, kFileMode));
}

File open_file(const char* path, const char* mode) {
  if (mode[0] == 'r') return open_regular_file(path, mode);
  if (mode[0] == 'w') make_for_group(path);
  char closing_mode[8];
  snprintf(closing_mode, sizeof closing_mode, "%se", mode);
  return File(fopen(path, closing_mode));
}

bool is_odd_file(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && !is_plain(status, path);
}

bool tells_of_content(int error) {
  return error == 0 || error == ENOENT || error == EISDIR || error == ENXIO || error == EOVERFLOW;
}

void log_not_written(const char* func, const char* path) {
  if (tells_of_content(errno)) return;
  CAPI_LOG_AS(func, kLogWarning, "failed to write %s, reason [%s]\n", path, strerror(errno));
}

}  // namespace capi

int mkdir_recur(const char* path, mode_t mode) {
  using namespace capi;
  if (path == nullptr) return -1;
  const size_t length = strlen(path);
  if (length >= kPathSize) return -1;

  umask(0);
  char prefix[kPathSize] = {};
  for (size_t i = 0; i < length; ++i) {
    prefix[i] = path[i];
    const bool name_ends = path[i + 1] == '/' || path[i + 1] == '\0';
    if (name_ends && !make_directory(prefix, mode)) return -1;
  }
  return 0;
}

int utils_write_to_file(const char* path, const void* buf, int size) {
  using namespace capi;
  if (path == nullptr || buf == nullptr || size < 0) return 0;
  int result = 1;
  const std::span bytes(static_cast<const uint8_t*>(buf), static_cast<size_t>(size));
  replace_file(path, bytes, {.odd_file = OddFile::Replaced}, [&](ReplacingStep step) {
    if (step == ReplacingStep::Open) result = 0;
    log_not_written("utils_write_to_file", path);
  });
  return result;
}

int utils_read_from_file(const char* path, void* buf, int n) {
  if (path == nullptr || buf == nullptr || n <= 0) return 0;
  const capi::File file(fopen(path, "rbe"));  // whatever it is: the caller's business
  if (!file) return 0;
  const size_t count = fread(buf, 1, static_cast<size_t>(n), file.get());
  if (count > 0) static_cast<char*>(buf)[count] = '\0';
  return static_cast<int>(count);
}

int utils_file_exist(const char* path) {
  return path != nullptr && capi::open_at_once(path, O_RDONLY) ? 1 : 0;
}
