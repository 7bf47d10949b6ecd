// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Single texts of the shared record for a caller's buffer.
//
// This is what most public getters are: the buffer is cleared first, so that it is a text whatever
// happens, then one field is copied under lock 0. Whether an empty field is an answer or a failure
// is the getter's to say.
//
// Leaves to its callers the fallback for a value that the record does not have.
#pragma once

#include <cstddef>

#include "record/field.h"

namespace capi {

enum class IfEmpty { Fail, Succeed };

// Zeroes the buffer and copies a text of the record into it. Returns 0; -1 without a buffer or a
// record, and for a text that must not be empty but is. Takes lock 0.
int get_segment_text(const Field& field, char* buf, int len, IfEmpty if_empty = IfEmpty::Fail);

// The same for a public getter, which logs "message" when it fails.
int get_segment_text(const char* func, const char* message, const Field& field, char* buf, int len);

}  // namespace capi
