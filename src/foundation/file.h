// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Owners of files, and writing a file whole.
#pragma once

#include <cstdio>
#include <memory>

namespace capi {

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// As fopen(), but programs that other threads start meanwhile do not inherit the file.
File open_file(const char* path, const char* mode);

}  // namespace capi
