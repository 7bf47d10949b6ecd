// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The reference of the keys, docs/keys.md.
#pragma once

namespace tools::capictl {

void print_key_reference();

}  // namespace tools::capictl
