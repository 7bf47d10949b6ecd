// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A short-message file as a whole: made, read, checked, written and set aside. What fails is
// logged.
//
// Reading and judging are apart: a file that cannot be read may be one that this process may not
// read, while one that is read and unsound is lost, whoever looks. What is done about either is the
// operation's to say (sms/store.h); here is only what can be done.
//
// The caller holds lock 18. Leaves to its callers the path and the memory.
#pragma once

#include <cstdint>
#include <span>

#include "lock/critical_section.h"

namespace capi {

// Why the content of a file cannot be used. NotExamined, NoMemory and NotRead say nothing about it.
enum class SmsTrouble : uint8_t {
  None,
  Absent,
  NotExamined,
  NoMemory,
  NotRead,     // neither opened nor read
  Unopenable,  // no file
  Unreadable,  // shorter than it was, or no file
  Unsound,
  Count
};

// What a file is written for: what makes room must not need any.
enum class SmsPurpose : uint8_t { Add, Remove };

// Logs for "func" that a call of the system failed on a file.
void log_failed_on(const char* func, const char* call, const char* path);

// An identity for a file that is made now.
uint64_t make_sms_file_identity();

// Makes an empty file, or empties the one there is.
bool create_sms_file(const char* path, SmsPurpose purpose = SmsPurpose::Add)
    CAPI_REQUIRES(kVoiceSmsLock);

// create_sms_file() where an operation needs a file to go on with, after an error (errno) with the
// one there is. One that may only be out of reach is left alone; then there is none to go on with.
bool create_missing_sms_file(const char* path, const char* func) CAPI_REQUIRES(kVoiceSmsLock);

// Keeps a copy of a file under its name with ".err" appended.
void set_sms_file_aside(const char* path) CAPI_REQUIRES(kVoiceSmsLock);

// Runs "cp" for a file. False, and logged, when a path cannot stand in a command line.
bool copy_sms_file(const char* path, const char* destination, const char* func)
    CAPI_REQUIRES(kVoiceSmsLock);

// The size of a file. False, with errno set, when there is none.
bool get_sms_file_size(const char* path, uint64_t& size) CAPI_REQUIRES(kVoiceSmsLock);

// Reads so many bytes.
SmsTrouble read_sms_file(const char* path, std::span<uint8_t> bytes) CAPI_REQUIRES(kVoiceSmsLock);

// Judges what was read.
SmsTrouble check_sms_file(std::span<const uint8_t> bytes);

// Replaces the content of a file. When that fails the old one stays; a file that can only be
// written in place, and gets cut by that, becomes an empty one.
bool write_sms_file(const char* path, std::span<const uint8_t> bytes, SmsPurpose purpose)
    CAPI_REQUIRES(kVoiceSmsLock);

}  // namespace capi
