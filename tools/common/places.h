// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the value of a key is written to.
#pragma once

#include <string>
#include <vector>

#include "keys.h"

namespace tools {

struct Place {
  std::string files;  // the stacks' types, or a file's name
  std::string section;
  std::string line;    // the key of the line
  std::string when;    // "" for always
  unsigned types = 0;  // bit n: the file of the stacks' type n
};

std::vector<Place> places_of(const Key& key);

}  // namespace tools
