// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Content that tells by itself whether it is whole: everything in it follows from one number.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "capi.h"

namespace capi::soak {

// A letter for a number.
char letter(uint32_t number);

// True when all bytes are the same, as they are in a record that was filled with one letter.
bool is_uniform(std::span<const uint8_t> bytes);

capi_call_log_record make_call(uint32_t number);
uint32_t number_of(const capi_call_log_record& call);
bool is_whole(const capi_call_log_record& call);

void fill_sms(capi_sms_record& message, uint32_t number);
uint32_t number_of(const capi_sms_record& message);
bool is_whole(const capi_sms_record& message);

// One that was sent with the text, type and remote number of such a message.
bool is_whole_sent(const capi_sms_record& message);

// Whether a file that the library wrote from such content is there from its first to its last byte.
bool is_whole_line_status(std::string_view file);
bool is_whole_call_state(std::string_view file);
bool is_whole_phone_status(std::string_view file);
bool is_whole_sim_file(std::string_view file);
bool is_whole_stack_file(std::string_view file);

}  // namespace capi::soak
