// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The owner of memory from malloc() and its kin, which is what there is without the C++ runtime
// library, and what the C interface hands out.
//
// Only for what free() alone gives back: no destructor runs. What is made in such memory is trivial
// to destroy, or the other owner's (foundation/json.h for cJSON's trees, foundation/file.h for
// streams). Allocations fail on this device; an owner without memory is null, and the caller says
// what then.
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
