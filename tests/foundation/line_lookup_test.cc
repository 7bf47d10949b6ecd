// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/line_lookup.h"

#include <gtest/gtest.h>

#include <string>

#include "support/ask.h"
#include "support/files.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/lookup";

// The value of "key", or "<none>".
std::string look_up(const std::string& content, size_t size = 64) {
  write_file(kPath, content);
  const Answer answer = ask(
      [&](char* buf, int) {
        buf[0] = '\0';
        return look_up_line(kPath, "key", buf, size) ? 0 : -1;
      },
      static_cast<int>(size));
  return answer.result == 0 ? answer.text : "<none>";
}

TEST(LineLookupTest, TheFirstLineOfTheKeyTells) {
  EXPECT_EQ(look_up("other=0\nkey=1\nkey=2\n"), "1");
}

TEST(LineLookupTest, AKeyWithoutEqualsBehindItIsPassedOver) {
  EXPECT_EQ(look_up("key =1\nkeys=2\nkey\nkey=3\n"), "3");
  EXPECT_EQ(look_up("key"), "<none>");
}

TEST(LineLookupTest, AKeyStandsAtTheStartOfItsLine) {
  EXPECT_EQ(look_up(" key=1\nthe_key=2\n"), "<none>");
}

TEST(LineLookupTest, AtMostTwoLineEndsAreCut) {
  EXPECT_EQ(look_up("key=1\r\n"), "1");
  EXPECT_EQ(look_up("key=1\r\r\n"), "1\r");
  EXPECT_EQ(look_up("key=1"), "1");
}

TEST(LineLookupTest, AValueIsTakenAsItStands) {
  EXPECT_EQ(look_up("key= a b ;c #d =e \n"), " a b ;c #d =e ");
}

TEST(LineLookupTest, AnEmptyValueIsAValue) { EXPECT_EQ(look_up("key=\nkey=1\n"), ""); }

TEST(LineLookupTest, AValueIsCutToTheBuffer) {
  EXPECT_EQ(look_up("key=12345\n", 4), "123");
  EXPECT_EQ(look_up("key=12345\n", 1), "");
}

TEST(LineLookupTest, ALongLineCountsAsSeveral) {
  EXPECT_EQ(look_up(std::string(1023, 'x') + "key=1\n"), "1");
  EXPECT_EQ(look_up(std::string(1022, 'x') + "key=1\n"), "<none>");
  EXPECT_EQ(look_up("key=" + std::string(5000, 'v') + "\n", 2000), std::string(1019, 'v'));
}

TEST(LineLookupTest, AFileThatIsNoneHasNoLines) {
  char buf[] = "untouched";
  EXPECT_FALSE(look_up_line("/tmp/no such file", "key", buf, sizeof buf));
  EXPECT_FALSE(look_up_line("/tmp", "key", buf, sizeof buf));
  EXPECT_STREQ(buf, "untouched");
}

}  // namespace
}  // namespace capi::test
