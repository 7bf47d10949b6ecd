// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a key takes, in words.
#pragma once

#include "keys/key_table.h"
#include "keys/sentence.h"

namespace capi::keys {

void add_allowed(Sentence& sentence, const KeyRow& row, const capi_config_key& key);

}  // namespace capi::keys
