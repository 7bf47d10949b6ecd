// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Constant tables whose rows have texts.
//
// An array in each row would be as long as the longest text, and a pointer would be relocated in
// every process: so all texts of a table stand behind its rows, each once, and a row holds the
// offset of its own. The whole table is in the part of the library that all processes share.
//
// A table is written as drafts, rows with plain texts in them, and packed by the compiler; drafts
// do not get into the library. Texts are terminated, so that they can be handed to C, and have at
// most 255 characters.
//
// Leaves to each table the order of its rows, and checks of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string_view>

namespace capi {

// Where a text of a table begins.
using TextOffset = uint16_t;

// The text at an offset; the byte in front of it is its length.
constexpr std::string_view text_at(const char* texts, TextOffset offset) {
  return {texts + offset, static_cast<unsigned char>(texts[offset - 1])};
}

// A table of any size.
template <typename Row>
struct TextRows {
  std::span<const Row> rows;
  const char* texts;

  std::string_view text(TextOffset offset) const { return text_at(texts, offset); }
};

template <typename Row, size_t RowCount, size_t ByteCount>
struct TextTable {
  Row rows[RowCount];
  char texts[ByteCount];

  constexpr const Row* begin() const { return rows; }
  constexpr const Row* end() const { return rows + RowCount; }
  constexpr size_t size() const { return RowCount; }
  constexpr const Row& operator[](size_t i) const { return rows[i]; }
  constexpr std::string_view text(TextOffset offset) const { return text_at(texts, offset); }
  constexpr operator TextRows<Row>() const { return {rows, texts}; }
};

// Defined nowhere: what calls it at compile time does not compile.
void text_of_a_table_is_too_long();

// The texts of a table while it is made.
class TextPool {
 public:
  constexpr TextOffset add(std::string_view text) {
    for (size_t i = 1; i < used_; i += text_at(bytes_, static_cast<TextOffset>(i)).size() + 2) {
      const auto offset = static_cast<TextOffset>(i);
      if (text == text_at(bytes_, offset)) return offset;
    }
    if (text.size() > UINT8_MAX) text_of_a_table_is_too_long();
    bytes_[used_++] = static_cast<char>(text.size());
    const auto offset = static_cast<TextOffset>(used_);
    for (const char c : text) bytes_[used_++] = c;  // too many: does not compile
    bytes_[used_++] = '\0';
    return offset;
  }

  constexpr size_t used() const { return used_; }
  constexpr char operator[](size_t i) const { return bytes_[i]; }

 private:
  char bytes_[8192]{};
  size_t used_ = 0;
};

// Makes a table of drafts. A draft is a row whose texts are std::string_views; its "pack" returns
// the same row with their places in the pool. Templated on the type of its texts, both are one:
//
//   template <typename Text>
//   struct RowOf {
//     int number;
//     Text name;
//     constexpr RowOf<TextOffset> pack(TextPool& pool) const { return {number, pool.add(name)}; }
//   };
template <const auto& Drafts>
consteval auto make_text_table() {
  constexpr size_t kBytes = [] {
    TextPool pool;
    for (const auto& draft : Drafts) draft.pack(pool);
    return pool.used();
  }();
  TextPool pool;
  TextTable<decltype(Drafts[0].pack(pool)), std::size(Drafts), kBytes> table{};
  for (size_t i = 0; i < std::size(Drafts); ++i) table.rows[i] = Drafts[i].pack(pool);
  for (size_t i = 0; i < kBytes; ++i) table.texts[i] = pool[i];
  return table;
}

}  // namespace capi
