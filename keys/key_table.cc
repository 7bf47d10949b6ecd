// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/key_table.h"

#include <algorithm>
#include <iterator>

#include "config/field_rows.h"
#include "keys/key_rows.h"
#include "keys/value_rows.h"

namespace capi::keys {

// Defined nowhere: what calls them at compile time does not compile.
void a_key_has_no_row_or_a_row_no_key();
void a_row_has_no_sentence();
void a_row_takes_texts_where_the_key_takes_numbers_or_the_other_way_round();
void a_secret_would_be_shown();
void what_a_key_of_unknown_meaning_takes_is_known();
void a_start_value_is_not_allowed();

namespace {

constexpr size_t kRowCount = std::size(kKeyDrafts);
constexpr size_t kPlainCount = std::size(field_rows::kDrafts);

consteval bool is_row_of(const KeyDraft& draft, field_rows::SectionId section,
                         std::string_view own_key) {
  return draft.section == field_rows::kSectionDrafts[static_cast<size_t>(section)].name &&
         draft.key == own_key;
}

consteval bool is_number(const Allowed& allowed) { return allowed.format == CAPI_KEY_NUMBER; }

consteval bool is_listed_number(Values list, int32_t number) {
  return std::any_of(std::begin(kValues), std::end(kValues), [&](const Value& value) {
    return value.list == list && value.number == number;
  });
}

// A number of the start, written as in the rows.
consteval int32_t start_number(std::string_view text) {
  int32_t number = 0;
  for (const char c : text) number = number * 10 + (c - '0');
  return number;
}

consteval void check_row(const KeyDraft& draft, const Field& field) {
  const Allowed& allowed = draft.allowed;
  if (draft.meaning.empty() || draft.meaning.back() != '.') a_row_has_no_sentence();
  if (is_number(allowed) != (field.kind == FieldKind::Integer)) {
    a_row_takes_texts_where_the_key_takes_numbers_or_the_other_way_round();
  }
  if (draft.is_secret && allowed.format != CAPI_KEY_TEXT) a_secret_would_be_shown();
  const bool is_anything = allowed.format <= CAPI_KEY_TEXT && allowed.min == INT32_MIN &&
                           allowed.max == INT32_MAX && allowed.values == Values::None;
  if (allowed.origin == CAPI_KEY_UNKNOWN && !is_anything) {
    what_a_key_of_unknown_meaning_takes_is_known();
  }
  if (!is_number(allowed)) return;
  const int32_t start = start_number(draft.start_text);
  if ((start < allowed.min || start > allowed.max) && !is_listed_number(allowed.values, start)) {
    a_start_value_is_not_allowed();
  }
}

// Where the value of the row's key stands, which has to be the next of the key rows.
consteval uint16_t checked_offset(size_t row) {
  if (row < kPlainCount) {
    const auto& [section, named] = field_rows::kDrafts[row];
    if (!is_row_of(kKeyDrafts[row], section, named.key)) a_key_has_no_row_or_a_row_no_key();
    check_row(kKeyDrafts[row], named.field);
    return named.field.offset;
  }
  const auto& numbered = field_rows::kNumberedDrafts[row - kPlainCount];
  if (!is_row_of(kKeyDrafts[row], numbered.section, numbered.named.key)) {
    a_key_has_no_row_or_a_row_no_key();
  }
  check_row(kKeyDrafts[row], numbered.named.field);
  return numbered.named.field.offset;
}

static_assert(kRowCount == kPlainCount + std::size(field_rows::kNumberedDrafts),
              "a key has no row, or a row no key");

// The texts of a row, in their order.
template <typename Visit>
consteval void for_each_text(const KeyDraft& draft, Visit visit) {
  for (const std::string_view text :
       {draft.meaning, draft.unit_text, draft.standard, draft.note_text, draft.start_text}) {
    if (!text.empty()) visit(text);
  }
}

consteval size_t text_bytes() {
  size_t bytes = 1;
  for (const KeyDraft& draft : kKeyDrafts) {
    for_each_text(draft, [&](std::string_view text) { bytes += text.size() + 1; });
  }
  return bytes;
}

struct Table {
  KeyRow rows[kRowCount];
  char texts[text_bytes()];
};

class TablePacker {
 public:
  consteval Table pack() {
    for (size_t i = 0; i < kRowCount; ++i) {
      const KeyDraft& draft = kKeyDrafts[i];
      table_.rows[i] = {checked_offset(i),   add(draft.meaning),   add(draft.unit_text),
                        add(draft.standard), add(draft.note_text), add(draft.start_text),
                        draft.is_secret,     draft.is_read_back,   draft.allowed};
    }
    return table_;
  }

 private:
  consteval uint16_t add(std::string_view text) {
    if (text.empty()) return 0;
    const size_t place = used_;
    for (const char c : text) table_.texts[used_++] = c;
    ++used_;
    return static_cast<uint16_t>(place);
  }

  Table table_{};
  size_t used_ = 1;  // behind the empty text
};

constexpr Table kTable = TablePacker().pack();
static_assert(sizeof kTable.texts <= UINT16_MAX);

}  // namespace

const KeyRow* rows_begin() { return kTable.rows; }
const KeyRow* rows_end() { return kTable.rows + kRowCount; }

const KeyRow* find_row(const capi_config_key& key) {
  for (const KeyRow& row : kTable.rows) {
    if (row.offset == key.offset) return &row;
  }
  return nullptr;
}

const char* row_text(uint16_t place) { return kTable.texts + place; }

}  // namespace capi::keys
