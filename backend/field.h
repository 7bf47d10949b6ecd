// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// One value of the shared record: where it stands and how its text goes in and comes out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

#include "capi/records.h"
#include "foundation/text.h"

namespace capi {

enum class FieldKind : uint8_t { Integer, Text };

// A row of a key table. "stride" leads from one instance to the next where a section or a key
// carries a number.
struct Field {
  char key[32];
  FieldKind kind;
  uint8_t clamp_max;  // a count is kept in 0..clamp_max; 0 keeps numbers as they are
  uint16_t offset;    // of the first instance in the record
  uint16_t capacity;  // bytes of the field in the record
  uint16_t stride;
  uint16_t set_size;  // bytes of the field that setting a text fills
  uint16_t get_size;  // bytes of the caller's buffer that getting a text fills; 0 for its size
};

// Stores a value from its text. "index" counts instances from 0.
void set_field(cfg_shared_record& record, const Field& field, int index, const char* value);

int32_t field_number(const cfg_shared_record& record, const Field& field, int index);

// A value's text: that in the field, or a number's, which "number" keeps.
std::string_view field_text(const cfg_shared_record& record, const Field& field, int index,
                            NumberText& number);

// Writes a value's text into a buffer of "size" bytes. Returns the size that the text was bounded
// by.
size_t get_field(const cfg_shared_record& record, const Field& field, int index, char* buf,
                 size_t size);

namespace field_rows {

template <typename Reference>
consteval Field make(std::string_view key, size_t offset) {
  using Member = std::remove_reference_t<Reference>;
  using Element = std::remove_all_extents_t<Member>;
  static_assert(std::is_same_v<Element, int32_t> || std::is_same_v<Element, char>);
  constexpr bool kIsText = std::is_same_v<Element, char>;
  // Of an array of texts or of numbers a row describes one element.
  constexpr bool kIsArray = std::rank_v<Member> == (kIsText ? 2 : 1);
  constexpr size_t kCount = kIsArray ? std::extent_v<Member> : 1;
  constexpr auto kWidth = static_cast<uint16_t>(sizeof(Member) / kCount);

  Field field{};
  for (size_t i = 0; i < key.size(); ++i) field.key[i] = key[i];  // too long: does not compile
  field.kind = kIsText ? FieldKind::Text : FieldKind::Integer;
  field.offset = static_cast<uint16_t>(offset);
  field.capacity = kWidth;
  field.stride = kIsArray ? kWidth : 0;
  field.set_size = kWidth;
  return field;
}

consteval Field with_stride(Field field, size_t stride) {
  field.stride = static_cast<uint16_t>(stride);
  return field;
}

consteval Field with_set_size(Field field, uint16_t size) {
  field.set_size = size;
  return field;
}

consteval Field with_get_size(Field field, uint16_t size) {
  field.get_size = size;
  return field;
}

consteval Field with_clamp(Field field, uint8_t max) {
  field.clamp_max = max;
  return field;
}

}  // namespace field_rows

// A row for a member of cfg_shared_record under a key of its own.
#define CAPI_FIELD_AS(key, member)                                                 \
  ::capi::field_rows::make<decltype((std::declval<cfg_shared_record&>().member))>( \
      key, offsetof(cfg_shared_record, member))

// A row for a member that is named as its key.
#define CAPI_FIELD(parent, member) CAPI_FIELD_AS(#member, parent.member)

}  // namespace capi
