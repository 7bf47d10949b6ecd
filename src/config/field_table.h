// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The key table of the configuration: from section and key to a field of the record. Loading
// setting files, setting by name and getting by name all go through it.
//
// Names come from files and from programs and may be anything; a look-up says why it found nothing,
// because the answers differ: a key that a section lacks is no error in some sections, and a number
// out of range always is.
//
// Leaves to its callers the value, and the lock of the record.
#pragma once

#include <cstdint>

#include "record/field.h"

namespace capi {

enum class FieldLookup : uint8_t { Found, UnknownSection, UnknownKey, OutOfRange };

// A codec key may name several columns: setting takes the first of them and getting the last, as
// the device's software has always relied on.
enum class ColumnChoice : uint8_t { First, Last };

struct FieldMatch {
  FieldLookup lookup = FieldLookup::UnknownSection;
  const Field* field = nullptr;  // these two when found
  int index = 0;
  bool unknown_key_is_success = false;  // how getting answers for a key that the section lacks
};

FieldMatch find_field(const char* section, const char* key, ColumnChoice choice);

}  // namespace capi
