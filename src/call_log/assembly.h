// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The two halves in which a call may be reported: its description and its statistics.
//
// They come from two parts of the voice application, in either order, for one call after the other.
// The first half waits until the second one comes; what is stored is a call with both. A half that
// comes twice replaces the one that waits.
//
// Free of files and locks. Leaves to its callers that one thread reports at a time, and the adding.
#pragma once

#include <cstdint>

#include "capi/call_log.h"

namespace capi {

// The half that waits for the other one. All zero is the state at the start.
struct CallAssembly {
  int32_t flag;  // 0 nothing waits, 1 a description in body1, 2 statistics in body2
  capi_call_log_record body1;
  capi_call_log_record body2;
};

// Adds a call that is complete.
using CallAdder = int (*)(unsigned type, const capi_call_log_record* record);

// Take in a half: keep it, or add the call that it completes. Return 0 when kept, what "add"
// returned, or -1 for a flag that is none of ours.
int take_description(CallAssembly& assembly, unsigned type, const capi_call_log_record& record,
                     CallAdder add);
int take_statistics(CallAssembly& assembly, const capi_call_log_record& record, CallAdder add);

}  // namespace capi
