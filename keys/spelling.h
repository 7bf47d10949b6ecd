// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Names that are not spelled as a section or a key is: what was meant.
#pragma once

#include "capi-keys.h"

namespace capi::keys {

// A section's or a key's name, with its number, if it has one.
struct Spelling {
  char text[sizeof capi_config_key::name + 8];
};

// A name of a pattern with "%d" or without, for a number.
Spelling spell(const char* pattern, int number);

// The decimal number that a name ends with; 0 for none.
int last_number(const char* name);

// What a name was meant to be.
struct Suggestion {
  bool is_near;      // there is a name that is nearly the same
  Spelling nearest;  // of those with a number the one with this number, if there is that
  int count;         // not 0: the name is right but for its number, which goes from 1 to this
};

Suggestion suggest_section(const char* section);

// A key of a section that there is.
Suggestion suggest_key(const char* section, const char* name);

}  // namespace capi::keys
