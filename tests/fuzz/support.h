// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the fuzz targets share. They run in a private view of the machine, so that they may write to
// the library's real paths.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "capi/log.h"
#include "foundation/file.h"

namespace capi::fuzz {

// Unlike assert(), in every build.
inline void require(bool holds) {
  if (!holds) abort();
}

inline void ignore_log() {
  capiv2_log_init([](int, const char*) {});
}

inline void write_file(const char* path, const void* data, size_t size) {
  const File file = open_file(path, "wb");
  require(file != nullptr && fwrite(data, 1, size, file.get()) == size);
}

inline void read_file(const char* path, void* data, size_t size) {
  const File file = open_file(path, "rb");
  require(file != nullptr && fread(data, 1, size, file.get()) == size);
}

}  // namespace capi::fuzz
