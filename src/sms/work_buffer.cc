// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/work_buffer.h"

#include <unistd.h>

#include <cstdlib>

#include "foundation/log.h"

namespace capi {
namespace {

uint8_t* work_memory = nullptr;

// The process that uses it. A fork() copies the mark without the thread that would take it back.
pid_t user = 0;

bool is_in_use() { return user == getpid(); }

}  // namespace

uint8_t* request_sms_memory(uint64_t size) {
  static constexpr char kFunc[] = "_vkr_voip_sms_request_mem";
  if (size > kSmsWorkBufferSize) {
    CAPI_LOG_AS(kFunc, kLogWarning, "too large memory: %d\n", size_for_log(size));
    return nullptr;
  }
  if (work_memory == nullptr) work_memory = static_cast<uint8_t*>(calloc(1, kSmsWorkBufferSize));
  if (work_memory == nullptr) {
    CAPI_LOG_AS(kFunc, kLogWarning, "calloc failed!\n");
    return nullptr;
  }
  if (is_in_use()) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem[%d] is in use\n", 0);
    return nullptr;
  }
  user = getpid();
  return work_memory;
}

void release_sms_memory(const void* memory) {
  static constexpr char kFunc[] = "_vkr_voip_sms_release_mem";
  if (work_memory == nullptr) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem is not initiated!\n");
  } else if (!is_in_use()) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem is already freed!\n");
  } else if (work_memory != memory) {
    CAPI_LOG_AS(kFunc, kLogWarning, "wrong mem ptr: %p %p\n", static_cast<const void*>(work_memory),
                memory);
  } else {
    user = 0;
  }
}

uint8_t* SmsWorkBuffer::request(uint64_t size, const char* func) {
  memory_ = request_sms_memory(size);
  if (memory_ == nullptr) {
    CAPI_LOG_AS(func, kLogWarning, "calloc %d failed!\n", size_for_log(size));
  }
  return memory_;
}

}  // namespace capi
