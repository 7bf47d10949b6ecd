// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A message in memory of its own: with its 39 KB it is larger than the stack of some threads.
#pragma once

#include "capi/sms.h"
#include "foundation/log.h"
#include "foundation/memory.h"

namespace capi {

// A message that is all zero; null, with that logged for the operation "func", without memory.
inline Allocated<capi_sms_record> allocate_sms(const char* func) {
  constexpr int kSize = sizeof(capi_sms_record);
  Allocated<capi_sms_record> message(static_cast<capi_sms_record*>(calloc(1, kSize)));
  if (!message) CAPI_LOG_AS(func, kLogWarning, "calloc %d failed!\n", kSize);
  return message;
}

}  // namespace capi
