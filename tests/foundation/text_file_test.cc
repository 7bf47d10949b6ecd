// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text_file.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "foundation/file.h"
#include "support/files.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/text_file.test";

TEST(TextFileTest, WritesTextsAndNumbersInOrder) {
  const File file = open_file(kPath, "wb");
  {
    TextFile text(file.get());
    text.add("[LINE");
    text.add(2);
    text.add("]\n");
    text.add(INT_MIN);
    text.add("");
  }
  EXPECT_EQ(read_file(kPath), "[LINE2]\n-2147483648");
}

TEST(TextFileTest, WritesTextsOfAnyLength) {
  std::string expected;
  const File file = open_file(kPath, "wb");
  {
    TextFile text(file.get());
    for (const size_t length : {8191, 1, 1, 8192, 8193, 30000}) {
      const std::string piece(length, static_cast<char>('a' + length % 26));
      text.add(piece);
      expected += piece;
    }
  }
  EXPECT_EQ(read_file(kPath), expected);
}

TEST(TextFileTest, HoldsBackWhatFitsUntilItIsFlushed) {
  const File file = open_file(kPath, "wb");
  TextFile text(file.get());
  text.add("a");
  EXPECT_EQ(read_file(kPath), "");
  text.flush();
  EXPECT_EQ(read_file(kPath), "a");
}

}  // namespace
}  // namespace capi::test
