// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Everything in the shared segment that is set and read whole, under one interface.
#pragma once

#include <cstddef>
#include <cstdint>

namespace capi::soak {

// All records, texts by name and status slots, each instance counted.
size_t record_count();
const char* record_name(size_t record);

// Sets a record to a content that follows from the number.
void set_record(size_t record, uint32_t number);

// Reads a record. False when it is not there or half of one content and half of another.
bool is_whole_record(size_t record);

// Publishes a block of shared data whose content follows from the number; the types are 0 to 5.
inline constexpr int kBlockTypes = 6;
void set_block(int type, uint32_t number);

// The block of the IMS voice, which is in the segment and in a file.
void set_voice_block(uint32_t number);

}  // namespace capi::soak
