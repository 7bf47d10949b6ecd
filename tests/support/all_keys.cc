// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/all_keys.h"

#include <gtest/gtest.h>

#include <cctype>

#include "support/files.h"

namespace capi::test {
namespace {

constexpr char kSource[] = "tests/data/all_keys.settings";
constexpr char kCopy[] = "/tmp/all_keys.settings";

// "voice_stack" of "voice_stack_1".
std::string base_of(const std::string& section) {
  const size_t last = section.size() - 1;
  const bool numbered = section[last - 1] == '_' && isdigit(section[last]) != 0;
  return numbered ? section.substr(0, last - 1) : section;
}

}  // namespace

const char* copy_all_keys() {
  write_file(kCopy, read_file(source_file(kSource)));
  return kCopy;
}

const std::vector<Setting>& all_settings() {
  static const std::vector<Setting> settings = [] {
    std::vector<Setting> result;
    std::string section;
    for (const std::string& line : read_lines(source_file(kSource))) {
      const size_t equals = line.find('=');
      if (line.empty() || line[0] == '#') continue;
      if (equals == std::string::npos) {
        section = line.substr(1, line.size() - 2);
      } else {
        result.push_back({section, line.substr(0, equals), line.substr(equals + 1)});
      }
    }
    return result;
  }();
  return settings;
}

std::string value_of(const std::string& section, const std::string& key) {
  for (const Setting& setting : all_settings()) {
    if (setting.section == section && setting.key == key) return setting.value;
  }
  ADD_FAILURE() << "the file lacks " << key << " of " << section;
  return {};
}

std::string setting(const std::string& section, const std::string& field) {
  return value_of(section, "option_" + base_of(section) + "_" + field);
}

}  // namespace capi::test
