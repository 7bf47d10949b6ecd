// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Looking up single values in the device's files of "key=value" lines.
//
// Unlike the reader of settings (foundation/key_value.h), this one knows no sections and takes a
// value as it stands: blanks, ";" and "#" belong to it. These files hold names and numbers of SIM,
// hardware and carriers, written by programs.
//
// Leaves to its callers what they answer for a missing value. A file that cannot be opened has
// none.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace capi {

// The value of the first line that begins with the key and "=", cut to size - 1 characters. False,
// with the buffer untouched, when there is none. Lines are taken in pieces of 1023 characters.
bool look_up_line(FILE* file, std::string_view key, char* buf, size_t size);

// The same in the file of this path; one that cannot be opened has no lines.
bool look_up_line(const char* path, std::string_view key, char* buf, size_t size);

}  // namespace capi
