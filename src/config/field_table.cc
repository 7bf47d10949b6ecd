// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "config/field_table.h"

#include <array>
#include <cstring>

#include "config/field_rows.h"
#include "foundation/text.h"

namespace capi {

// Defined nowhere: what calls them at compile time does not compile.
void row_reaches_into_live_state();
void key_stands_twice_in_a_section();
void rows_of_a_section_stand_apart();

namespace {

using namespace field_rows;

constexpr size_t kSectionCount = static_cast<size_t>(SectionId::Count);

consteval void check_row(size_t row) {
  const auto& [section, named] = kDrafts[row];
  const size_t end = named.field.offset + named.field.capacity;
  if (end > offsetof(cfg_shared_record, cs_reg_stat)) row_reaches_into_live_state();
  for (size_t other = row; other-- > 0 && kDrafts[other].section == section;) {
    if (kDrafts[other].named.key == named.key) key_stands_twice_in_a_section();
  }
}

consteval std::array<uint8_t, kSectionCount + 1> find_sections() {
  std::array<uint8_t, kSectionCount + 1> first{};
  size_t row = 0;
  for (size_t section = 0; section < kSectionCount; ++section) {
    first[section] = static_cast<uint8_t>(row);
    for (; row < kRows.size() && kRows[row].section == static_cast<SectionId>(section); ++row) {
      check_row(row);
    }
  }
  if (row != kRows.size()) rows_of_a_section_stand_apart();
  first[kSectionCount] = static_cast<uint8_t>(row);
  return first;
}

// Where the rows of each section begin; the last entry is the end.
constexpr std::array<uint8_t, kSectionCount + 1> kFirstRow = find_sections();
static_assert(kRows.size() <= UINT8_MAX);

bool is_key(const Row& row, std::string_view key) {
  const std::string_view own = kRows.text(row.named.key);
  return own.size() == key.size() && starts_with(own, key);
}

const Field* find_row(SectionId section, std::string_view key) {
  const auto id = static_cast<size_t>(section);
  for (size_t row = kFirstRow[id]; row < kFirstRow[id + 1]; ++row) {
    if (is_key(kRows[row], key)) return &kRows[row].named.field;
  }
  return nullptr;
}

// A section that was looked up, for the keys in it.
struct SectionMatch {
  FieldLookup lookup = FieldLookup::UnknownSection;  // Found, or why not
  uint8_t section = 0;
  int index = 0;  // from 0, where the section carries a number
};

std::string_view base_name(size_t section) { return kSections.text(kSections[section].name); }

// Whether a name is that of a section, or begins as one that carries a number. Lengths first: few
// names need a look at their characters.
bool is_name(std::string_view base, bool is_numbered, std::string_view name) {
  if (is_numbered ? name.size() <= base.size() || name[base.size()] != '_'
                  : name.size() != base.size()) {
    return false;
  }
  return starts_with(name, base);
}

SectionMatch numbered_section(size_t section, std::string_view number_text) {
  const long number = parse_int32(number_text.data());
  if (number < 1 || number > kSections[section].count) return {FieldLookup::OutOfRange};
  return {FieldLookup::Found, static_cast<uint8_t>(section), static_cast<int>(number - 1)};
}

// What follows "option_" + section + "_"; empty for a key that does not begin so.
std::string_view field_key(std::string_view base, std::string_view key) {
  constexpr std::string_view kOption = "option_";
  if (!starts_with(key, kOption)) return {};
  key = tail(key, kOption.size());
  if (!starts_with(key, base)) return {};
  key = tail(key, base.size());
  return starts_with(key, "_") ? tail(key, 1) : std::string_view{};
}

// The number that a suffix is; -1 for one with other characters. One that "%d" would not write so,
// or of more digits than any entry has, is 0 and so out of range.
long suffix_number(std::string_view text) {
  if (text.empty()) return -1;
  for (const char c : text) {
    if (c < '0' || c > '9') return -1;
  }
  constexpr size_t kMaxDigits = 9;
  return text[0] == '0' || text.size() > kMaxDigits ? 0 : parse_int32(text.data());
}

FieldMatch numbered_match(const NumberedRow& row, long number) {
  if (number < 1 || number > row.count) return {.lookup = FieldLookup::OutOfRange};
  return {FieldLookup::Found, &row.named.field, static_cast<int>(number - 1)};
}

FieldMatch find_suffixed(SectionId section, std::string_view key) {
  for (const NumberedRow& row : kNumberedRows) {
    if (row.section != section) continue;
    const std::string_view prefix = kNumberedRows.text(row.named.key);
    if (!starts_with(key, prefix)) continue;
    const long number = suffix_number(tail(key, prefix.size()));
    if (number >= 0) return numbered_match(row, number);
  }
  return {.lookup = FieldLookup::UnknownKey};
}

// The column that a codec key names somewhere in it.
const NumberedRow* find_column(SectionId section, std::string_view key, ColumnChoice choice) {
  const NumberedRow* named = nullptr;
  for (const NumberedRow& row : kNumberedRows) {
    if (row.section != section || !contains(key, kNumberedRows.text(row.named.key))) continue;
    named = &row;
    if (choice == ColumnChoice::First) break;
  }
  return named;
}

// The only one, where the key has nothing but a column and a number behind the section's name.
const NumberedRow* find_only_column(SectionId section, std::string_view column) {
  for (const NumberedRow& row : kNumberedRows) {
    if (row.section == section && kNumberedRows.text(row.named.key) == column) return &row;
  }
  return nullptr;
}

FieldMatch find_codec_slot(SectionId section, const char* key, std::string_view rest,
                           ColumnChoice choice) {
  const char* underscore = strrchr(key, '_');
  const long number = underscore != nullptr ? parse_int32(underscore + 1) : 0;
  if (number < 1 || number > CAPI_CODEC_SLOTS) return {.lookup = FieldLookup::OutOfRange};
  const NumberedRow* row = nullptr;
  if (!rest.empty()) {
    const char* column = rest.data() - 1;
    row = find_only_column(section, {column, static_cast<size_t>(underscore + 1 - column)});
  }
  if (row == nullptr) row = find_column(section, key, choice);
  if (row == nullptr) return {.lookup = FieldLookup::UnknownKey};
  return numbered_match(*row, number);
}

FieldMatch find_entry(SectionId section, std::string_view key) {
  constexpr size_t kPrefix = 24;
  const long number = key.size() > kPrefix ? parse_int32(key.data() + kPrefix) : 0;
  for (const NumberedRow& row : kNumberedRows) {
    if (row.section == section) return numbered_match(row, number);
  }
  return {};
}

FieldMatch find_in_section(SectionId id, int index, const char* key, ColumnChoice choice) {
  const Section& section = kSections[static_cast<size_t>(id)];
  const std::string_view rest = field_key(base_name(static_cast<size_t>(id)), key);
  if (const Field* field = find_row(id, rest)) return {FieldLookup::Found, field, index};
  switch (section.key_number) {
    case KeyNumber::Suffix:
      return find_suffixed(id, rest);
    case KeyNumber::CodecSlot:
      return find_codec_slot(id, key, rest, choice);
    case KeyNumber::Entry:
      return find_entry(id, key);
    case KeyNumber::None:
      break;
  }
  return {.lookup = FieldLookup::UnknownKey,
          .unknown_key_is_success = section.unknown_key_is_success};
}

SectionMatch find_section(const char* section) {
  const std::string_view name = section;
  for (size_t i = 0; i < kSections.size(); ++i) {
    const std::string_view base = base_name(i);
    const bool is_numbered = kSections[i].count != 0;
    if (!is_name(base, is_numbered, name)) continue;
    if (is_numbered) return numbered_section(i, tail(name, base.size() + 1));
    return {FieldLookup::Found, static_cast<uint8_t>(i), 0};
  }
  return {};
}

}  // namespace

FieldMatch find_field(const char* section, const char* key, ColumnChoice choice) {
  const SectionMatch match = find_section(section);
  if (match.lookup != FieldLookup::Found) return {.lookup = match.lookup};
  return find_in_section(static_cast<SectionId>(match.section), match.index, key, choice);
}

}  // namespace capi
