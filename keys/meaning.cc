// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/meaning.h"

#include "keys/format.h"
#include "keys/values.h"

namespace capi::keys {
namespace {

// Of a list that comes behind others, "or" in front of the last.
void add_values(Sentence& sentence, ValueList values, bool is_first) {
  for (const Value& value : values) {
    if (!is_first) sentence.add(&value + 1 == values.last ? " or " : ", ");
    is_first = false;
    sentence.add("%d", static_cast<int>(value.number));
    if (value.name[0] != '\0') sentence.add(" (%s)", value.name);
  }
}

// Those that are not in the range anyway.
bool is_beside(const Allowed& allowed, const Value& value) {
  return value.number < allowed.min || value.number > allowed.max;
}

void add_number(Sentence& sentence, const Allowed& allowed) {
  const ValueList values = values_of(allowed.values);
  if (allowed.min > allowed.max) return add_values(sentence, values, true);
  for (const Value& value : values) {
    if (is_beside(allowed, value)) sentence.add("%d or ", static_cast<int>(value.number));
  }
  if (allowed.min == INT32_MIN && allowed.max == INT32_MAX) {
    sentence.add("any number");
  } else if (allowed.max == INT32_MAX) {
    sentence.add("%d or more", static_cast<int>(allowed.min));
  } else {
    sentence.add("%d to %d", static_cast<int>(allowed.min), static_cast<int>(allowed.max));
  }
}

}  // namespace

void add_allowed(Sentence& sentence, const KeyRow& row, const capi_config_key& key) {
  const Allowed& allowed = row.allowed;
  if (allowed.format == CAPI_KEY_NUMBER) return add_number(sentence, allowed);
  if (allowed.format == CAPI_KEY_TEXT) {
    return sentence.add("any text of at most %d characters", static_cast<int>(key.capacity - 1));
  }
  const Format& format = format_of(allowed.format);
  sentence.add("%s, as %s", format.name, format.example);
}

}  // namespace capi::keys

using namespace capi::keys;

int capi_keys_describe(const capi_config_key* key, capi_key_meaning* meaning) {
  if (key == nullptr || meaning == nullptr) return -1;
  const KeyRow* row = find_row(*key);
  if (row == nullptr) return -1;
  const bool is_number = row->allowed.format == CAPI_KEY_NUMBER;
  meaning->meaning = row_text(row->meaning);
  meaning->unit = row_text(row->unit);
  meaning->standard = row_text(row->standard);
  meaning->note = row_text(row->note);
  meaning->start = row->start == 0 && is_number ? "0" : row_text(row->start);
  meaning->format = row->allowed.format;
  meaning->min = row->allowed.min;
  meaning->max = row->allowed.max;
  meaning->longest = is_number ? 0 : key->capacity - 1;
  meaning->origin = row->allowed.origin;
  meaning->is_secret = row->is_secret ? 1 : 0;
  meaning->is_read_back = row->is_read_back ? 1 : 0;
  return 0;
}

int capi_keys_find(const char* section, const char* name, capi_key_meaning* meaning) {
  capi_config_key key;
  return capi_config_find(section, name, &key) == 0 ? capi_keys_describe(&key, meaning) : -1;
}

int capi_keys_allowed(const capi_config_key* key, char* buf, int size) {
  if (key == nullptr || buf == nullptr) return -1;
  Sentence sentence(buf, size);
  const KeyRow* row = find_row(*key);
  if (row == nullptr) return -1;
  add_allowed(sentence, *row, *key);
  return 0;
}
