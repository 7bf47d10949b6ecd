// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration keys, one by one, as people name them: "sip_line_1.display_name".
#pragma once

#include <capi.h>

#include <string>
#include <vector>

namespace capictl {

struct Key {
  std::string section;  // "sip_line_1"
  std::string name;     // "option_sip_line_display_name"
  int number;           // that of the section or the name, 1 for none
  capi_config_key row;

  std::string label() const;  // "sip_line_1.display_name"
  size_t offset() const;      // of the value in the record
};

// Every key there is, in the order of the library's table.
const std::vector<Key>& all_keys();

// The key of a section and a name. Null when the library would ignore it; spellings that it takes
// for a key count as that key.
const Key* find_key(const std::string& section, const std::string& name);

// The key that a person names: SECTION.FIELD, where FIELD may be written in full, as in setting
// files. Throws a Failure.
const Key& named_key(const std::string& label);

// The sections' names, each once.
std::vector<std::string> all_sections();

// What a name means to the library.
enum class Meaning { Key, UnknownSection, UnknownKey, OutOfRange };
Meaning meaning_of(const std::string& section, const std::string& name);

// What a section's name means: Key for one that there is.
Meaning meaning_of_section(const std::string& section);

// What is left of a value when it is stored, and why it is not the value itself; "" when it is.
struct Stored {
  std::string value;
  std::string loss;
};
Stored stored_value(const Key& key, const std::string& value);

// The same for a value that a master loads from a setting file.
Stored loaded_value(const Key& key, const std::string& value);

// The value of a key.
std::string value_of(const cfg_shared_record& record, const Key& key);

// Whether nobody who only looks on should read the value.
bool is_secret(const Key& key);

// What differs between two snapshots; a value that several sections have in common once.
struct Difference {
  const Key* key;
  std::string before;
  std::string after;
};
std::vector<Difference> differences(const cfg_shared_record& before,
                                    const cfg_shared_record& after);

}  // namespace capictl
