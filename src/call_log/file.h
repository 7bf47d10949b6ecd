// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call-log file as a whole: made, read, checked, replaced and set aside. All return 0 or -1 and
// log what failed, under the name that the operation has in the log.
//
// Who reads gets an image whose lists were checked, or a failure; what to do about a file that
// fails its check depends on the operation: only the start rebuilds it, for anything else it may be
// a file that somebody still wants to look at.
//
// The caller holds lock 2. Leaves to its callers the path, which is settled beforehand, since
// asking for it takes lock 0, and what is done to the image (call_log/image.h).
#pragma once

#include <cstdint>

#include "call_log/image.h"
#include "foundation/file_replacement.h"
#include "lock/critical_section.h"

namespace capi {

// How a file is emptied.
enum class Emptying : uint8_t {
  New,      // made where there is none
  Rebuilt,  // whatever is there is taken away
  Cleaned,  // the same, also without room for a new file
};

int create_call_log_file(const char* path, Emptying emptying) CAPI_REQUIRES(kCallLogLock);

// Reads the file and checks its lists.
int read_call_log(const char* path, capi_call_log_image* image) CAPI_REQUIRES(kCallLogLock);

// The same into memory of its own, for the operation "func"; null when that failed.
ImageOwner load_call_log(const char* path, const char* func) CAPI_REQUIRES(kCallLogLock);

// Rebuilds a file that is not valid. One that cannot be looked at stays as it is.
int verify_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

// Creates the file, or verifies the one there is.
int init_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

void delete_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock);

// How the operations word the failures of a whole write.
struct WriteWords {
  const char* func;
  const char* not_opened;
  const char* not_written;
};

// What an operation replaces the content for: one that makes room must not need any.
enum class Purpose : uint8_t { Add, Remove };

// Replaces the content of the file. When that fails the old one stays; a file that can only be
// written in place, and gets cut by that, is rebuilt empty.
Replaced replace_call_log(const char* path, const capi_call_log_image& image,
                          const WriteWords& words, Purpose purpose) CAPI_REQUIRES(kCallLogLock);

// Keeps a file in which a list begins with no node under a time-stamped name, and makes a new one.
void set_call_log_aside(const char* path, unsigned bad_node) CAPI_REQUIRES(kCallLogLock);

// True, and a line in the log of the operation "func", for a pointer that is missing.
bool refuse_null(const void* pointer, const char* func);

// new_image(); a lack of memory is logged for the operation "func".
ImageOwner make_image(const char* func);

}  // namespace capi
