// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "foundation/file.h"
#include "support/files.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/text_file.test";

void add(TextFile& file, const std::string& text) {
  file.end_piece(stpcpy(file.begin_piece(text.size() + 1), text.c_str()));
}

TEST(TextFileTest, WritesPiecesInOrder) {
  const File file = open_file(kPath, "wb");
  {
    TextFile text(file.get());
    add(text, "[LINE");
    add(text, "");
    add(text, "2]\n");
  }
  EXPECT_EQ(read_file(kPath), "[LINE2]\n");
}

TEST(TextFileTest, APieceMayBeShorterThanItsPlace) {
  const File file = open_file(kPath, "wb");
  {
    TextFile text(file.get());
    text.end_piece(stpcpy(text.begin_piece(TextFile::kMaxPiece), "a"));
    text.end_piece(text.begin_piece(TextFile::kMaxPiece));
    text.end_piece(stpcpy(text.begin_piece(10), "b"));
  }
  EXPECT_EQ(read_file(kPath), "ab");
}

TEST(TextFileTest, WritesAnyNumberOfPieces) {
  std::string expected;
  const File file = open_file(kPath, "wb");
  {
    TextFile text(file.get());
    for (const size_t length : {8191, 1, 1, 8191, 4000, 4000, 190, 1, 8000}) {
      const std::string piece(length, static_cast<char>('a' + length % 26));
      add(text, piece);
      expected += piece;
    }
  }
  EXPECT_EQ(read_file(kPath), expected);
}

TEST(TextFileTest, HoldsBackWhatFitsUntilItIsFlushed) {
  const File file = open_file(kPath, "wb");
  TextFile text(file.get());
  add(text, "a");
  EXPECT_EQ(read_file(kPath), "");
  text.flush();
  EXPECT_EQ(read_file(kPath), "a");
}

}  // namespace
}  // namespace capi::test
