// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration keys, one by one, as people name them: "sip_line_1.display_name".
#pragma once

#include <capi-keys.h>
#include <capi.h>

#include <string>
#include <vector>

namespace tools {

struct Key {
  std::string section;  // "sip_line_1"
  std::string name;     // "option_sip_line_display_name"
  int number;           // that of the section or the name, 1 for none
  capi_config_key row;
  capi_key_meaning meaning;

  std::string field() const;  // "display_name"
  std::string label() const;  // "sip_line_1.display_name"
  size_t offset() const;      // of the value in the record
};

// Every key there is, in the order of the library's table.
const std::vector<Key>& all_keys();

// The key of a section and a name. Null when the library would ignore it; spellings that it takes
// for a key count as that key.
const Key* find_key(const std::string& section, const std::string& name);

// The key that a person names: SECTION.FIELD, where FIELD may be written in full, as in setting
// files. Null, or a Failure with a hint, where there is none.
const Key* find_label(const std::string& label);
const Key& named_key(const std::string& label);

// Says that there is no key of this name, and which may be meant.
std::string unknown_key(const std::string& label);

// Those of a section, of all of its kind when it is named without its number, or of none; all keys
// for an empty name. Throws a Failure where there is no such section.
std::vector<const Key*> keys_of(const std::string& section);

// The sections' names, each once.
std::vector<std::string> all_sections();

// A value as it is kept when it is set.
std::string stored_value(const Key& key, const std::string& value);

// The same when a master loads it from a setting file.
std::string loaded_value(const Key& key, const std::string& value);

// Puts a value, as it is kept when it is set, into a record of our own.
void put_value(cfg_shared_record& record, const Key& key, const std::string& value);

// The value of a key.
std::string value_of(const cfg_shared_record& record, const Key& key);

// What differs between two snapshots; a value that several sections have in common once.
struct Difference {
  const Key* key;
  std::string before;
  std::string after;
};
std::vector<Difference> differences(const cfg_shared_record& before,
                                    const cfg_shared_record& after);

}  // namespace tools
