// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Which keys somebody looks for.
#pragma once

#include <keys.h>

#include <string>
#include <vector>

namespace tools::web {

// Those of a section, or of all for none, in which each of the words stands: in the key's name, its
// meaning, its unit, its standard, or what it takes. Throws a Failure for an unknown section.
std::vector<const Key*> found_keys(const std::string& section, const std::string& words);

}  // namespace tools::web
