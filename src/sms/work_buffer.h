// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The memory in which short-message files are worked on. A process gets it once and keeps it: an
// operation must not fail for want of memory after days of running.
//
// There is one buffer, for one operation at a time, which is what lock 18 allows; who asks twice is
// refused. It is not cleared in between: an operation reads a file into it and looks at no more
// than that.
//
// Leaves to its callers to ask for the size of the file and of what they are going to append.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lock/critical_section.h"

namespace capi {

// The largest file, and room around it: a file found larger is still read and cut down.
inline constexpr uint64_t kSmsWorkBufferSize = 160332;

// A size as the log shows it, where it takes an int: never as a negative one.
inline int size_for_log(uint64_t size) {
  return static_cast<int>(size < INT32_MAX ? size : INT32_MAX);
}

// Hands the memory out, with what the last user left in it. Null when the size is too large, there
// is no memory, or this process is using it: lock 18 keeps that from happening, but the work goes
// on without locks where there are none. A child of fork() may use it though its parent did.
uint8_t* request_sms_memory(uint64_t size) CAPI_REQUIRES(kVoiceSmsLock);
void release_sms_memory(const void* memory) CAPI_REQUIRES(kVoiceSmsLock);

// The memory, for a scope.
class SmsWorkBuffer {
 public:
  SmsWorkBuffer() = default;
  ~SmsWorkBuffer() CAPI_REQUIRES(kVoiceSmsLock) {
    if (memory_ != nullptr) release_sms_memory(memory_);
  }
  SmsWorkBuffer(const SmsWorkBuffer&) = delete;
  SmsWorkBuffer& operator=(const SmsWorkBuffer&) = delete;

  // Null, with the size logged for the operation "func", when it cannot be had.
  uint8_t* request(uint64_t size, const char* func) CAPI_REQUIRES(kVoiceSmsLock);

 private:
  uint8_t* memory_ = nullptr;
};

}  // namespace capi
