// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The owner of a stream of the C library, and opening one.
//
// Leaves to its callers what is in the file. Who must know whether closing went well, because that
// is when the last bytes are written, takes the stream out by release() and closes it; the owner
// does not tell. For content that must never be seen half there is FileReplacement
// (foundation/file_replacement.h).
#pragma once

#include <cstdio>
#include <memory>

namespace capi {

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Makes a file that is not there yet, where only a group may use it: neither fopen() nor a shell
// knows of modes.
void make_for_group(const char* path);

// As fopen(), but programs that other threads start meanwhile do not inherit the file. What is to
// be read must be a regular file: anything else, which might keep us waiting, is logged and counts
// as missing.
File open_file(const char* path, const char* mode);

// Whether something is there that is no regular file, which is logged. For what a command is going
// to read.
bool is_odd_file(const char* path);

// Whether an error that opening, reading or examining a file ended with (0 for its end) tells that
// it has no content one could use. Others, as a lack of descriptors, say nothing about it.
bool tells_of_content(int error);

// Logs that a file was not written, for those whose result does not tell. Not so where there is no
// place for it, for want of a directory.
void log_not_written(const char* func, const char* path);

}  // namespace capi
