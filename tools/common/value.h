// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Values as people give and see them.
#pragma once

#include <string>
#include <vector>

#include "keys.h"

namespace tools {

// What a value means that may be given by name ("tls" for 2) or with a unit ("30s"): as the
// configuration has it, or the text itself.
std::string taken_value(const Key& key, const std::string& text);

// Why a key should not get a value, with what it takes; empty when it may.
std::string refusal(const Key& key, const std::string& value);

// Whether that is only since a setting file could not keep it.
bool is_only_not_kept(const Key& key, const std::string& value);

// What a key takes: "0 (off) or 1 (on)".
std::string allowed_values(const Key& key);

// The name of a value that has one: "tls".
std::string value_name(const Key& key, const std::string& value);

// The value itself, or of a secret only whether it is set.
constexpr char kSecretIsSet[] = "(set)";
constexpr char kSecretIsNotSet[] = "(not set)";
enum class Secrets : uint8_t { Hidden, Shown };
std::string shown_value(const Key& key, const std::string& value, Secrets secrets);

struct NamedValue {
  int32_t number;
  std::string name;  // may be empty
};

// The numbers that are named for a key, or allowed beside its range.
std::vector<NamedValue> named_values(const Key& key);

}  // namespace tools
