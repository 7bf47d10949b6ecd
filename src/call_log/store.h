// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The operations on the entries of the call-log file. All return 0 or -1 and log what failed.
//
// Each reads the whole file, changes the image and writes what changed; nothing is kept in memory
// between two calls, for other processes change the file, too. Arguments are refused before the
// file is looked at.
//
// The caller holds lock 2. Leaves to its callers the path, and the signal afterwards.
#pragma once

#include "call_log/image.h"
#include "lock/critical_section.h"

namespace capi {

int add_call_log(const char* path, unsigned type, const capi_call_log_record* record)
    CAPI_REQUIRES(kCallLogLock);

// A failed write is logged, and no failure.
int delete_call_log_by_node(const char* path, unsigned type, unsigned node)
    CAPI_REQUIRES(kCallLogLock);

int clean_call_log_by_type(const char* path, unsigned type) CAPI_REQUIRES(kCallLogLock);

// What add and clean do to an image of any content before they write it; logged for the operation
// "func". An add makes room for a call of a type, a clean empties the list of one.
int evict_oldest_call(capi_call_log_image& image, unsigned type, const char* func);
int delete_all_calls(capi_call_log_image& image, unsigned type, const char* func);

// A node of an image; null, and logged as a node that is read, for an index of none.
const capi_call_log_record* find_call_log_node(const capi_call_log_image& image, unsigned node);

int read_call_log_node(const capi_call_log_image& image, unsigned node,
                       capi_call_log_record* record);
int read_call_log_node(const char* path, unsigned node, capi_call_log_record* record)
    CAPI_REQUIRES(kCallLogLock);

int read_call_log_entry_header(const capi_call_log_image& image, unsigned type,
                               capi_call_log_entry_header* header);
int read_call_log_entry_header(const char* path, unsigned type, capi_call_log_entry_header* header)
    CAPI_REQUIRES(kCallLogLock);

}  // namespace capi
