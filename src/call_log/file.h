// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call-log file as a whole: made, read, checked, replaced and set aside. All return 0 or -1 and
// log what failed. The path is settled beforehand: asking for it takes lock 0.
#pragma once

#include "call_log/image.h"
#include "foundation/file.h"
#include "lock/critical_section.h"

namespace capi {

// Opens the file without a buffer of the C library's, so that a full disk shows at the write that
// it cuts.
File open_call_log(const char* path, const char* mode);

int create_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

// Reads the file and checks its lists.
int read_call_log(const char* path, capi_call_log_image* image) CAPI_REQUIRES(kCallLogLock);

// The same into memory of its own, for the operation "func"; null when that failed.
ImageOwner load_call_log(const char* path, const char* func) CAPI_REQUIRES(kCallLogLock);

// Rebuilds a file that is not valid.
int verify_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

// Creates the file, or verifies the one there is.
int init_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

void delete_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

// How the operations word the failures of a whole write; an empty one is not logged.
struct WriteWords {
  const char* func;
  const char* not_opened;
  const char* cut;
};

// Replaces the content of the file; a file that gets cut by that is rebuilt empty.
int replace_call_log(const char* path, const capi_call_log_image& image, const WriteWords& words)
    CAPI_REQUIRES(kCallLogLock);

// Keeps a file in which a list begins with no node under a time-stamped name, and makes a new one.
void set_call_log_aside(const char* path, unsigned bad_node) CAPI_REQUIRES(kCallLogLock);

// True, and a line in the log of the operation "func", for a pointer that is missing.
bool refuse_null(const void* pointer, const char* func);

// Writes out what the C library and the kernel hold of a file.
void flush_call_log(FILE* file, const char* path, const char* func);

// new_image(); a lack of memory is logged for the operation "func".
ImageOwner make_image(const char* func);

}  // namespace capi
