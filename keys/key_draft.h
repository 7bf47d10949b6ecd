// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a row of keys/key_rows.h is made of.
#pragma once

#include <cstdint>
#include <string_view>

#include "capi-keys.h"

namespace capi::keys {

// The lists of keys/value_rows.h.
enum class Values : uint8_t {
  None,
  Switch,
  Transport,
  Dscp,
  PayloadType,
  SessionTimer,
  EvsSwitch,
  EvsModeRequest,
  EvsChannelAware,
};

// What a key takes. A number is in the range or in the list; a range that ends before it begins
// leaves the list only.
struct Allowed {
  uint8_t format;
  Values values = Values::None;
  int32_t min = INT32_MIN;
  int32_t max = INT32_MAX;
  uint8_t origin = CAPI_KEY_INTERFACE_SAYS;
};

inline constexpr Allowed kAnyText{CAPI_KEY_TEXT};
// Neither the interface nor a standard says what such a value means.
inline constexpr Allowed kUnknownNumber{CAPI_KEY_NUMBER, Values::None, INT32_MIN, INT32_MAX,
                                        CAPI_KEY_UNKNOWN};
inline constexpr Allowed kUnknownText{CAPI_KEY_TEXT, Values::None, INT32_MIN, INT32_MAX,
                                      CAPI_KEY_UNKNOWN};

consteval Allowed range(int32_t min, int32_t max, Values values = Values::None) {
  return {CAPI_KEY_NUMBER, values, min, max};
}

consteval Allowed one_of(Values values) { return {CAPI_KEY_NUMBER, values, 1, 0}; }

inline constexpr Allowed kSwitch = one_of(Values::Switch);
inline constexpr Allowed kPort = range(0, UINT16_MAX);
inline constexpr Allowed kNotNegative = range(0, INT32_MAX);
inline constexpr Allowed kIp{CAPI_KEY_IP};
inline constexpr Allowed kHost{CAPI_KEY_HOST};
inline constexpr Allowed kMac{CAPI_KEY_MAC};
inline constexpr Allowed kUri{CAPI_KEY_URI};
inline constexpr Allowed kPhone{CAPI_KEY_PHONE};
inline constexpr Allowed kTarget{CAPI_KEY_TARGET};
inline constexpr Allowed kMsisdn{CAPI_KEY_MSISDN};
inline constexpr Allowed kImei{CAPI_KEY_IMEI};
inline constexpr Allowed kInterface{CAPI_KEY_INTERFACE};
inline constexpr Allowed kPath{CAPI_KEY_PATH};
inline constexpr Allowed kDigits{CAPI_KEY_DIGITS};

// A row, whose members that most rows lack are set by name.
struct KeyDraft {
  std::string_view section;  // these two as in config/field_rows.h
  std::string_view key;
  Allowed allowed;
  std::string_view meaning;
  std::string_view unit_text{};
  std::string_view standard{};
  std::string_view note_text{};
  std::string_view start_text{};
  bool is_secret = false;
  bool is_read_back = false;

  // The standard that says what the values mean; one that only the meaning comes from is cited.
  consteval KeyDraft by(std::string_view name) const {
    KeyDraft row = cites(name);
    row.allowed.origin = CAPI_KEY_STANDARD_SAYS;
    return row;
  }
  consteval KeyDraft cites(std::string_view name) const {
    KeyDraft row = *this;
    row.standard = name;
    return row;
  }
  consteval KeyDraft unit(std::string_view text) const {
    KeyDraft row = *this;
    row.unit_text = text;
    return row;
  }
  consteval KeyDraft note(std::string_view text) const {
    KeyDraft row = *this;
    row.note_text = text;
    return row;
  }
  consteval KeyDraft start(std::string_view text) const {
    KeyDraft row = *this;
    row.start_text = text;
    return row;
  }
  consteval KeyDraft secret() const {
    KeyDraft row = *this;
    row.is_secret = true;
    return row;
  }
  consteval KeyDraft read_back() const {
    KeyDraft row = *this;
    row.is_read_back = true;
    return row;
  }
};

consteval KeyDraft key(std::string_view section, std::string_view own_key, Allowed allowed,
                       std::string_view meaning) {
  return {section, own_key, allowed, meaning};
}

}  // namespace capi::keys
