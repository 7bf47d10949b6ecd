// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What people are told of changes that go back unless they are confirmed.
#pragma once

#include <string>

#include "change.h"

namespace tools::capictl {

// Who makes changes here.
std::string change_owner();

// How to confirm it.
void tell(const pending::Change& change);

// Takes back a change that nobody sees to any more, and tells of it.
void tell_what_was_left();

}  // namespace tools::capictl
