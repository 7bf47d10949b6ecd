// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files that are part of the program.
#pragma once

#include <span>
#include <string_view>

namespace tools::web {

struct Asset {
  std::string_view name;  // "app.css"
  std::string_view content;
};

// Those of the directory "assets" when the program was built.
std::span<const Asset> assets();

}  // namespace tools::web
