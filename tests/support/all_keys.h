// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The setting file that holds every key, as plain lines: read without the library's help.
#pragma once

#include <string>
#include <vector>

namespace capi::test {

// Puts a copy in place, since the library wants to be able to write what it reads. Returns its
// path.
const char* copy_all_keys();

struct Setting {
  std::string section;
  std::string key;
  std::string value;
};

const std::vector<Setting>& all_settings();

// The value of a key, given whole, or without "option_" and the section's name.
std::string value_of(const std::string& section, const std::string& key);
std::string setting(const std::string& section, const std::string& field);

}  // namespace capi::test
