// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "capi/util.h"

namespace {

constexpr size_t kPathSize = 256;

bool make_directory(const char* path, mode_t mode) {
  return mkdir(path, mode) == 0 || errno == EEXIST;
}

}  // namespace

capi::File capi::open_file(const char* path, const char* mode) {
  char closing_mode[8];
  snprintf(closing_mode, sizeof closing_mode, "%se", mode);
  return File(fopen(path, closing_mode));
}

int mkdir_recur(const char* path, mode_t mode) {
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
  if (path == nullptr || buf == nullptr || size < 0) return 0;
  unlink(path);
  const capi::File file = capi::open_file(path, "wb+");
  if (!file) return 0;
  fwrite(buf, 1, static_cast<size_t>(size), file.get());
  fflush(file.get());
  return 1;
}

int utils_read_from_file(const char* path, void* buf, int n) {
  if (path == nullptr || buf == nullptr || n <= 0) return 0;
  const capi::File file = capi::open_file(path, "rb");
  if (!file) return 0;
  const size_t count = fread(buf, 1, static_cast<size_t>(n), file.get());
  if (count > 0) static_cast<char*>(buf)[count] = '\0';
  return static_cast<int>(count);
}

int utils_file_exist(const char* path) {
  return path != nullptr && capi::open_file(path, "rb") ? 1 : 0;
}
