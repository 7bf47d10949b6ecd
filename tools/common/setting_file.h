// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Settings that somebody wrote, in a setting file or a JSON document, and what is wrong with them.
#pragma once

#include <string>
#include <vector>

#include "keys.h"

namespace tools {

struct Setting {
  const Key* key;
  std::string value;
  int line = 0;  // from 1; 0 where there are none, as in a document
};

// Whether a later one sets the same value, as a key's that is set twice, or one that several
// sections have in common.
bool is_overridden(const std::vector<Setting>& settings, size_t i);

struct Finding {
  int line;
  bool is_error;  // or a warning, which keeps nobody from loading
  std::string text;
};

struct Settings {
  std::vector<Setting> items;  // those whose key there is, in order
  std::vector<Finding> findings;

  bool has_error() const;
};

// Reads a setting file as the loader does, line by line.
Settings read_setting_file(const std::string& content);

// Reads a document of the form {"sip_line_1": {"display_name": "Kitchen", "enable": 1}}. Throws a
// Failure where that is no JSON.
Settings read_document(const std::string& content);

// Reads either: a document begins with a brace.
Settings read_settings(const std::string& content);

}  // namespace tools
