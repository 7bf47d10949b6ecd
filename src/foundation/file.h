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

// As fopen(), but programs that other threads start meanwhile do not inherit the file. What is to
// be read must be a regular file: anything else, which might keep us waiting, is logged and counts
// as missing.
File open_file(const char* path, const char* mode);

// Whether something is there that is no regular file, which is logged. For what a command is going
// to read.
bool is_odd_file(const char* path);

}  // namespace capi
