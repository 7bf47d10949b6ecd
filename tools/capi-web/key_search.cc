// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "key_search.h"

#include <algorithm>

#include "text.h"
#include "value.h"

namespace tools::web {
namespace {

std::string all_about(const Key& key) {
  std::string text = key.label() + " " + key.name;
  for (const char* part : {key.meaning.meaning, key.meaning.unit, key.meaning.standard}) {
    text += std::string(" ") + part;
  }
  for (const NamedValue& value : named_values(key)) text += " " + value.name;
  return lower(text);
}

}  // namespace

std::vector<const Key*> found_keys(const std::string& section, const std::string& words) {
  std::vector<const Key*> keys = keys_of(section);
  for (const std::string& word : words_of(lower(words))) {
    std::erase_if(keys,
                  [&](const Key* key) { return all_about(*key).find(word) == std::string::npos; });
  }
  return keys;
}

}  // namespace tools::web
