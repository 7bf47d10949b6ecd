// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The operations on a short-message file. All return 0 or -1 and log what failed.
//
// Each reads the whole file into the work buffer, which is there once a process, changes the image
// and writes it whole. A file that cannot be used is dealt with as its operation says: kept aside,
// made anew, both, or left; so the next operation finds one that it can use.
//
// The caller holds lock 18. Leaves to its callers the path, and the signal afterwards.
#pragma once

#include <cstdint>

#include "capi/sms.h"
#include "foundation/memory.h"
#include "lock/critical_section.h"

namespace capi {

int init_sms_file(const char* path) CAPI_REQUIRES(kVoiceSmsLock);

// Stores a message under a new id, which goes to "record" and "id" as well.
int add_sms(const char* path, capi_sms_record& record, uint64_t& id) CAPI_REQUIRES(kVoiceSmsLock);

int update_sms(const char* path, const capi_sms_record& record) CAPI_REQUIRES(kVoiceSmsLock);

int get_sms(const char* path, uint64_t id, capi_sms_record& record) CAPI_REQUIRES(kVoiceSmsLock);

int delete_sms(const char* path, uint64_t id) CAPI_REQUIRES(kVoiceSmsLock);

// Adds what is new since "previous" to a "state" that is all zero.
int count_new_sms(const char* path, int selector, const capi_sms_counter& previous,
                  capi_sms_counter& state) CAPI_REQUIRES(kVoiceSmsLock);

// The whole file, sound; null when it cannot be used.
Allocated<uint8_t> load_sms_file(const char* path) CAPI_REQUIRES(kVoiceSmsLock);

}  // namespace capi
