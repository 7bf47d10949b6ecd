// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "value.h"

#include <cstdlib>

namespace tools {
namespace {

int add_value(int32_t number, const char* name, void* user) {
  static_cast<std::vector<NamedValue>*>(user)->push_back({number, name});
  return 0;
}

// "30s" and "30000ms" where the other or the same unit is counted; the text itself where it is no
// such time, or not a whole number of them.
std::string without_unit(const std::string& text, const std::string& counted) {
  constexpr size_t kMostDigits = 9;
  const size_t digits = text.find_first_not_of("0123456789");
  if (digits == 0 || digits > kMostDigits) return text;
  const std::string unit = text.substr(digits);
  if ((counted != "s" && counted != "ms") || (unit != "s" && unit != "ms")) return text;
  const long long number = atoll(text.c_str());
  if (unit == counted) return std::to_string(number);
  if (counted == "ms") return std::to_string(number * 1000);
  return number % 1000 == 0 ? std::to_string(number / 1000) : text;
}

}  // namespace

std::string taken_value(const Key& key, const std::string& text) {
  if (key.row.kind != CAPI_CONFIG_NUMBER) return text;
  int32_t number = 0;
  if (capi_keys_value_number(key.section.c_str(), key.name.c_str(), text.c_str(), &number) == 0) {
    return std::to_string(number);
  }
  return without_unit(text, key.meaning.unit);
}

std::string refusal(const Key& key, const std::string& value) {
  char sentence[CAPI_KEYS_SENTENCE];
  capi_keys_check(key.section.c_str(), key.name.c_str(), value.c_str(), sentence, sizeof sentence);
  return sentence;
}

bool is_only_not_kept(const Key& key, const std::string& value) {
  const int wrong =
      capi_keys_check(key.section.c_str(), key.name.c_str(), value.c_str(), nullptr, 0);
  return key.row.kind == CAPI_CONFIG_TEXT &&
         (wrong == CAPI_KEY_WOULD_BE_CUT || wrong == CAPI_KEY_WOULD_LOSE_BLANKS);
}

std::string allowed_values(const Key& key) {
  char sentence[CAPI_KEYS_SENTENCE] = "";
  capi_keys_allowed(&key.row, sentence, sizeof sentence);
  return sentence;
}

std::string value_name(const Key& key, const std::string& value) {
  if (key.row.kind != CAPI_CONFIG_NUMBER) return "";
  const char* name =
      capi_keys_value_name(key.section.c_str(), key.name.c_str(), atoi(value.c_str()));
  return name != nullptr ? name : "";
}

std::string shown_value(const Key& key, const std::string& value, Secrets secrets) {
  if (key.meaning.is_secret == 0 || secrets == Secrets::Shown) return value;
  return value.empty() ? kSecretIsNotSet : kSecretIsSet;
}

std::vector<NamedValue> named_values(const Key& key) {
  std::vector<NamedValue> values;
  capi_keys_for_each_value(&key.row, add_value, &values);
  return values;
}

}  // namespace tools
