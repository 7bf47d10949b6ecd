// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Numbers and their names, by list.
#pragma once

#include <cstdint>
#include <string_view>

#include "keys/key_draft.h"

namespace capi::keys {

struct Value {
  Values list;
  int32_t number;
  char name[8];  // may be empty
};

// A list's values, from the first to behind the last.
struct ValueList {
  const Value* first;
  const Value* last;

  const Value* begin() const { return first; }
  const Value* end() const { return last; }
};

ValueList values_of(Values list);

// Null for a number that is not in the list.
const Value* find_value(Values list, int32_t number);

// Letters may be of either case.
const Value* find_value(Values list, std::string_view name);

}  // namespace capi::keys
