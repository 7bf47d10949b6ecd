// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a word was meant to be.
#pragma once

#include <string>
#include <vector>

namespace capictl {

// That of the words that is nearly spelled so; empty when none is.
std::string nearest(const std::string& word, const std::vector<std::string>& words);

}  // namespace capictl
