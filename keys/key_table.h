// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The rows of keys/key_rows.h as they are in the library, and how they are found.
//
// A key is known by the place of its value in the record, which libcapi tells of any section and
// name: so no name stands in this library, and none can differ.
#pragma once

#include <cstddef>

#include "capi-keys.h"
#include "keys/key_draft.h"

namespace capi::keys {

// Texts are behind the rows, each terminated; so no row has to be relocated. 0 is the empty text.
struct KeyRow {
  uint16_t offset;  // of the value in the record
  uint16_t meaning;
  uint16_t unit;
  uint16_t standard;
  uint16_t note;
  uint16_t start;
  bool is_secret;
  bool is_read_back;
  Allowed allowed;
};

// Null for a key that is none of libcapi's.
const KeyRow* find_row(const capi_config_key& key);
const char* row_text(uint16_t place);

const KeyRow* rows_begin();
const KeyRow* rows_end();

}  // namespace capi::keys
