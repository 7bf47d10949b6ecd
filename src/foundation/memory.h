// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Owners of memory from malloc() and its kin.
#pragma once

#include <cstdlib>
#include <memory>

namespace capi {

struct Freer {
  void operator()(void* memory) const { free(memory); }
};

template <typename T>
using Allocated = std::unique_ptr<T, Freer>;

}  // namespace capi
