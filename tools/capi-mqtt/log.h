// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <text.h>

#include <cstdio>
#include <string>

namespace tools::mqtt {

// Tells whoever looks after the bridge.
inline void log(const std::string& text) {
  fprintf(stderr, "capi-mqtt: %s\n", printable(text).c_str());
}

}  // namespace tools::mqtt
