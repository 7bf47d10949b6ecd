// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include "context.h"
#include "stores.h"

namespace tools::capictl {

// Checks a store's file, or another one of its kind. Needs an adapter for the former.
void check_store(const Store& store, const std::string& path, Context& context);

}  // namespace tools::capictl
