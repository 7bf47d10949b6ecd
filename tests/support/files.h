// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files as tests see them: whole texts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace capi::test {

// A file of the sources, or one that is made beside what is built, by its path there.
std::string source_file(const std::string& path);
std::string built_file(const std::string& path);

// Creates or replaces a file, and the directories on the way to it.
void write_file(const std::string& path, std::string_view content);

// The content of a file; a file that cannot be read fails the test and is empty.
std::string read_file(const std::string& path);

std::vector<std::string> read_lines(const std::string& path);

bool exists(const std::string& path);

// How many descriptors this process has open.
size_t open_descriptors();

}  // namespace capi::test
