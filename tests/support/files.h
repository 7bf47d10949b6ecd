// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files as tests see them: whole texts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace capi::test {

// Creates or replaces a file, and the directories on the way to it.
void write_file(const std::string& path, std::string_view content);

// The content of a file; a file that cannot be read fails the test and is empty.
std::string read_file(const std::string& path);

std::vector<std::string> read_lines(const std::string& path);

bool exists(const std::string& path);

// How many descriptors this process has open.
size_t open_descriptors();

}  // namespace capi::test
