// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/work_buffer.h"

#include <cstdlib>
#include <iterator>

#include "foundation/log.h"

namespace capi {
namespace {

struct Slot {
  uint8_t in_use;
  uint8_t* memory;
};

Slot slots[2];
bool is_set_up = false;

bool set_up_pool() {
  auto* memory = static_cast<uint8_t*>(calloc(1, kSmsWorkBufferSize));
  if (memory == nullptr) return false;
  slots[0].memory = memory;
  is_set_up = true;
  return true;
}

}  // namespace

uint8_t* request_sms_memory(uint64_t size) {
  constexpr char kFunc[] = "_vkr_voip_sms_request_mem";
  if (size > kSmsWorkBufferSize) {
    CAPI_LOG_AS(kFunc, kLogWarning, "too large memory: %d\n", printed_sms_size(size));
    return nullptr;
  }
  if (!is_set_up && !set_up_pool()) {
    CAPI_LOG_AS(kFunc, kLogWarning, "calloc failed!\n");
    return nullptr;
  }
  if (slots[0].in_use != 0) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem[%d] is in use\n", 0);
    return nullptr;
  }
  slots[0].in_use = 1;
  return slots[0].memory;
}

void release_sms_memory(unsigned slot, const void* memory) {
  constexpr char kFunc[] = "_vkr_voip_sms_release_mem";
  if (slot >= std::size(slots)) return;
  if (!is_set_up) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem is not initiated!\n");
  } else if (slots[slot].in_use == 0) {
    CAPI_LOG_AS(kFunc, kLogWarning, "mem is already freed!\n");
  } else if (slots[slot].memory != memory) {
    CAPI_LOG_AS(kFunc, kLogWarning, "wrong mem ptr: %p %p\n",
                static_cast<const void*>(slots[slot].memory), memory);
  } else {
    slots[slot].in_use = 0;
  }
}

uint8_t* SmsWorkBuffer::request(uint64_t size, const char* func) {
  memory_ = request_sms_memory(size);
  if (memory_ == nullptr) {
    CAPI_LOG_AS(func, kLogWarning, "calloc %d failed!\n", printed_sms_size(size));
  }
  return memory_;
}

}  // namespace capi
