// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Getting a value by section and key from any record: the segment's or a snapshot of it.
//
// Leaves to its callers the lock, where the record is the segment's, and the null checks.
#pragma once

#include <cstddef>

#include "capi/records.h"

namespace capi {

// The result of a get, and how much of the buffer was bounded by it.
struct GetResult {
  int result;
  size_t filled;
};

// What capi_config_get() promises, on a record that does not change meanwhile.
GetResult get_by_name(const cfg_shared_record& record, const char* section, const char* name,
                      char* buf, size_t size);

}  // namespace capi
