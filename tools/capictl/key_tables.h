// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// All that is known of a key, for people.
#pragma once

#include "key_facts.h"
#include "print.h"

namespace tools::capictl {

// Facts for people, and the lines of the voice stacks' files that show the value. The state is
// missing where no adapter is up.
std::vector<Table> key_tables(const Key& key, const std::optional<KeyState>& state,
                              const Context& context);

}  // namespace tools::capictl
