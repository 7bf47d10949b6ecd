// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// One value of the shared record: where it stands and how its text goes in and comes out.
//
// Settings, the values that clients ask for, info files and the voice stack's files are all texts,
// and the record is of numbers and texts of fixed size. A Field says all that is needed to go from
// one to the other, so the tables of keys, lines and files hold Fields, and nobody writes code for
// a single value. Rows are made from a member's name by the macros below: type, offset and width
// follow from it and cannot disagree with the record.
//
// What copy_field() hands to the segment changes as a whole, also when the writer is killed. Texts
// in the record may lack a terminator; what is set here always has one.
//
// Leaves to its callers the lock, and that "index" is one that the field has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "capi/records.h"
#include "foundation/member.h"
#include "foundation/text.h"
#include "foundation/text_table.h"

namespace capi {

enum class FieldKind : uint8_t { Integer, Text };

// What is different about a few fields, for which the others would pay with members of their own.
enum class FieldRule : uint8_t {
  None,
  CodecCount,    // kept in 0..CAPI_CODEC_SLOTS
  SetsHalf,      // setting a text fills only the first half of the field
  GetsCapacity,  // getting a text fills as much of the caller's buffer as the field has
};

// "stride" leads from one instance to the next where a section or a key carries a number.
struct Field {
  FieldKind kind;
  FieldRule rule;
  uint16_t offset;    // of the first instance in the record
  uint16_t capacity;  // bytes of the field in the record
  uint16_t stride;

  // What a number is kept in, from 0; 0 keeps numbers as they are.
  constexpr int clamp_max() const { return rule == FieldRule::CodecCount ? CAPI_CODEC_SLOTS : 0; }

  // Bytes of the field that setting fills.
  constexpr uint16_t set_size() const {
    return rule == FieldRule::SetsHalf ? capacity / 2 : capacity;
  }
};

// A row of a table of keys.
template <typename Text>
struct KeyedFieldOf {
  Text key;
  Field field;

  constexpr KeyedFieldOf<TextOffset> pack(TextPool& pool) const { return {pool.add(key), field}; }
};

using KeyedField = KeyedFieldOf<TextOffset>;
using KeyedFields = TextRows<KeyedField>;

// Stores a value from its text. "index" counts instances from 0.
void set_field(cfg_shared_record& record, const Field& field, int index, const char* value);

// Hands a value on from one record to another, which may be the segment's: it changes as a whole.
void copy_field(cfg_shared_record& to, const cfg_shared_record& from, const Field& field,
                int index);

int32_t field_number(const cfg_shared_record& record, const Field& field, int index);

// A value's text: that in the field, or a number's, which "number" keeps.
std::string_view field_text(const cfg_shared_record& record, const Field& field, int index,
                            NumberText& number);

// Writes a value's text into a buffer of "size" bytes. Returns the size that the text was bounded
// by.
size_t get_field(const cfg_shared_record& record, const Field& field, int index, char* buf,
                 size_t size);

namespace field_rows {

// What a row of a table is made of.
using NamedField = KeyedFieldOf<std::string_view>;

template <typename Member>
consteval Field make(size_t offset) {
  using Element = std::remove_all_extents_t<Member>;
  static_assert(std::is_same_v<Element, int32_t> || std::is_same_v<Element, char>);
  constexpr bool kIsText = std::is_same_v<Element, char>;
  // Of an array of texts or of numbers a row describes one element.
  constexpr bool kIsArray = std::rank_v<Member> == (kIsText ? 2 : 1);
  constexpr size_t kCount = kIsArray ? std::extent_v<Member> : 1;
  constexpr auto kWidth = static_cast<uint16_t>(sizeof(Member) / kCount);

  Field field{};
  field.kind = kIsText ? FieldKind::Text : FieldKind::Integer;
  field.offset = static_cast<uint16_t>(offset);
  field.capacity = kWidth;
  field.stride = kIsArray ? kWidth : 0;
  return field;
}

consteval NamedField with_stride(NamedField named, size_t stride) {
  named.field.stride = static_cast<uint16_t>(stride);
  return named;
}

consteval NamedField with_rule(FieldRule rule, NamedField named) {
  named.field.rule = rule;
  return named;
}

// The table of an array of named fields.
template <const auto& NamedFields>
// NOLINTNEXTLINE(bugprone-dynamic-static-initializers): it is constant
inline constexpr auto kKeyedFields = make_text_table<NamedFields>();

}  // namespace field_rows

// A member of cfg_shared_record.
#define CAPI_FIELD_OF(member) CAPI_MEMBER(::capi::field_rows::make, cfg_shared_record, member)

// The same under a key.
#define CAPI_FIELD_AS(key, member) \
  ::capi::field_rows::NamedField { key, CAPI_FIELD_OF(member) }

// The same for a member that is named as its key.
#define CAPI_FIELD(parent, member) CAPI_FIELD_AS(#member, parent.member)

}  // namespace capi
