// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/golden.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <algorithm>

#include "support/files.h"

namespace capi::test {
namespace {

std::string diff_of(const std::string& before, const std::string& after) {
  write_file("/tmp/before", before);
  write_file("/tmp/after", after);
  return short_diff("/tmp/before", "/tmp/after");
}

TEST(Golden, EqualTextsHaveNoDiff) { EXPECT_EQ(diff_of("a\nb\n", "a\nb\n"), ""); }

TEST(Golden, LinesThatDifferAreShownAlone) {
  EXPECT_EQ(diff_of("a\nb\nc\nd\n", "a\nnew\nb\nc\n"), "@@ -1,0 +2 @@\n+new\n@@ -4 +4,0 @@\n-d\n");
}

TEST(Golden, OfManyLinesThatDifferTwentyAreShown) {
  std::string many;
  for (int i = 0; i < 350; ++i) many += std::to_string(i) + "\n";
  const std::string diff = diff_of("", many);
  EXPECT_EQ(std::count(diff.begin(), diff.end(), '\n'), 20 + 1);
  EXPECT_THAT(diff, testing::EndsWith("\n+18\n...\n"));
}

TEST(Golden, ATextThatIsNoMoreTheGoldenOneFailsAndIsLeftForTheScript) {
  constexpr char kPath[] = "tests/support/golden_test.cc";  // of any file
  EXPECT_NONFATAL_FAILURE(expect_golden("another\n", kPath),
                          "tests/support/golden_test.cc is not what the code makes now; "
                          "script/golden makes it anew.\n@@ -1,");
  const std::string made = built_file(std::string("golden/") + kPath);
  EXPECT_EQ(read_file(made), "another\n");
  expect_golden(read_file(source_file("tests/support/golden_test.cc")), kPath);
}

}  // namespace
}  // namespace capi::test
