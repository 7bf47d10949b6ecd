// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A short-message file as a whole: made, read, checked, written and set aside. What fails is
// logged.
#pragma once

#include <cstdint>
#include <span>

#include "lock/critical_section.h"

namespace capi {

// Why the content of a file cannot be used.
enum class SmsTrouble : uint8_t { None, Absent, NoMemory, Unopenable, Unreadable, Unsound };

// An identity for a file that is made now.
uint64_t make_sms_file_identity();

// Makes an empty file, or empties the one there is.
bool create_sms_file(const char* path) CAPI_REQUIRES(kVoiceSmsLock);

// create_sms_file() where an operation needs a file to go on with.
bool create_missing_sms_file(const char* path, const char* func) CAPI_REQUIRES(kVoiceSmsLock);

// Keeps a copy of a file under its name with ".err" appended.
void set_sms_file_aside(const char* path) CAPI_REQUIRES(kVoiceSmsLock);

// Runs "cp" for a file. False, and logged, when a path cannot stand in a command line.
bool copy_sms_file(const char* path, const char* destination, const char* func)
    CAPI_REQUIRES(kVoiceSmsLock);

// The size of a file. False when there is none.
bool get_sms_file_size(const char* path, uint64_t& size) CAPI_REQUIRES(kVoiceSmsLock);

// Reads so many bytes.
SmsTrouble read_sms_file(const char* path, std::span<uint8_t> bytes) CAPI_REQUIRES(kVoiceSmsLock);

// Judges what was read.
SmsTrouble check_sms_file(std::span<const uint8_t> bytes);

// Replaces the content of a file; when that fails, by that of an empty one.
bool write_sms_file(const char* path, std::span<const uint8_t> bytes) CAPI_REQUIRES(kVoiceSmsLock);

}  // namespace capi
