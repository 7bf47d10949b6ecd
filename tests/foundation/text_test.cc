// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace capi::test {
namespace {

using testing::ElementsAre;

std::string trimmed(std::string text, char ch) {
  utils_str_trim(text.data(), ch);
  return text.c_str();
}

std::string trimmed_left(std::string text, char ch) {
  utils_str_trim_left(text.data(), ch);
  return text.c_str();
}

std::string trimmed_right(std::string text, char ch) {
  EXPECT_EQ(utils_str_trim_right(text.data(), ch), text.data());
  return text.c_str();
}

TEST(FirstLineTest, EndsAtTheFirstLineEnd) {
  EXPECT_EQ(first_line("one\ntwo"), "one");
  EXPECT_EQ(first_line("one\r\ntwo"), "one");
  EXPECT_EQ(first_line("one"), "one");
  EXPECT_EQ(first_line("\none"), "");
  EXPECT_EQ(first_line(""), "");
}

TEST(StrcpySafeTest, CopiesOneCharacterLessThanTheSize) {
  char buf[4];
  strcpy_safe(buf, "abcdef", 4);
  EXPECT_STREQ(buf, "abc");
}

TEST(StrcpySafeTest, ZeroesTheRestOfTheBuffer) {
  char buf[6] = {'x', 'x', 'x', 'x', 'x', 'x'};
  strcpy_safe(buf, "ab", 5);
  EXPECT_THAT(buf, ElementsAre('a', 'b', 0, 0, 0, 'x'));
}

TEST(StrcpySafeTest, LeavesZeroesForANullOrEmptySource) {
  for (const char* source : {static_cast<const char*>(nullptr), ""}) {
    char buf[5] = {'x', 'x', 'x', 'x', 'x'};
    strcpy_safe(buf, source, 4);
    EXPECT_THAT(buf, ElementsAre(0, 0, 0, 0, 'x'));
  }
}

TEST(StrcpySafeTest, DoesNothingForASizeBelowTwo) {
  for (const int size : {1, 0, -1, INT32_MIN}) {
    char buf[2] = {'x', 'x'};
    strcpy_safe(buf, "abc", size);
    EXPECT_THAT(buf, ElementsAre('x', 'x')) << size;
  }
}

TEST(StrcpySafeTest, DoesNothingWithoutADestination) {
  const char source[] = "abc";
  strcpy_safe(nullptr, source, 4);
  EXPECT_STREQ(source, "abc");
}

TEST(StrcpySafeTest, ReadsNoMoreOfTheSourceThanItCopies) {
  const std::unique_ptr<char[]> source(new char[3]{'a', 'b', 'c'});  // no terminator
  char buf[4];
  strcpy_safe(buf, source.get(), 4);
  EXPECT_STREQ(buf, "abc");
}

TEST(StrTrimTest, RemovesTheCharacterWhereverItStands) {
  EXPECT_EQ(trimmed("a-b-c", '-'), "abc");
  EXPECT_EQ(trimmed("--a--b--", '-'), "ab");
  EXPECT_EQ(trimmed("---", '-'), "");
  EXPECT_EQ(trimmed("abc", '-'), "abc");
  EXPECT_EQ(trimmed("", '-'), "");
}

TEST(StrTrimTest, LeftRemovesTheLeadingRunOnly) {
  EXPECT_EQ(trimmed_left("--a-b--", '-'), "a-b--");
  EXPECT_EQ(trimmed_left("---", '-'), "");
  EXPECT_EQ(trimmed_left("abc", '-'), "abc");
  EXPECT_EQ(trimmed_left("", '-'), "");
}

TEST(StrTrimTest, RightRemovesTheTrailingRunOnly) {
  EXPECT_EQ(trimmed_right("--a-b--", '-'), "--a-b");
  EXPECT_EQ(trimmed_right("---", '-'), "");
  EXPECT_EQ(trimmed_right("abc", '-'), "abc");
  EXPECT_EQ(trimmed_right("", '-'), "");
}

TEST(StrTrimTest, HandlesCharactersOfTheUpperHalf) {
  EXPECT_EQ(trimmed("\xc3\xa4\xc3", '\xc3'), "\xa4");
}

TEST(StrTrimTest, TheTerminatorIsNoCharacterToRemove) {
  EXPECT_EQ(trimmed("ab", '\0'), "ab");
  EXPECT_EQ(trimmed_left("ab", '\0'), "ab");
  EXPECT_EQ(trimmed_right("ab", '\0'), "ab");
}

TEST(StrTrimTest, IgnoresANullText) {
  utils_str_trim(nullptr, '-');
  utils_str_trim_left(nullptr, '-');
  EXPECT_EQ(utils_str_trim_right(nullptr, '-'), nullptr);
}

TEST(BoundedTest, EndsAtTheTerminatorOrAtTheWidth) {
  const std::unique_ptr<char[]> full(new char[3]{'a', 'b', 'c'});
  EXPECT_EQ(bounded(full.get(), 3), "abc");
  const char field[8] = "ab";
  EXPECT_EQ(bounded(field), "ab");
}

TEST(CopyTextTest, TakesTextsWithoutATerminator) {
  char buf[4];
  copy_text(buf, std::string_view("abcdef", 2));
  EXPECT_THAT(buf, ElementsAre('a', 'b', 0, 0));
  copy_text(buf, "abcdef");
  EXPECT_STREQ(buf, "abc");
}

TEST(TextTest, LooksIntoTexts) {
  EXPECT_TRUE(contains("x_name_1", "_name_"));
  EXPECT_FALSE(contains("x_nam", "_name_"));
  EXPECT_TRUE(starts_with("sip_line_1", "sip_line"));
  EXPECT_TRUE(starts_with("sip", ""));
  EXPECT_FALSE(starts_with("sip", "sip_"));
  EXPECT_EQ(tail("abc", 1), "bc");
  EXPECT_EQ(tail("abc", 3), "");
  EXPECT_EQ(tail("abc", 9), "");
}

TEST(ParseInt32Test, ReadsDecimalNumbers) {
  EXPECT_EQ(parse_int32("0"), 0);
  EXPECT_EQ(parse_int32("5060"), 5060);
  EXPECT_EQ(parse_int32("-2"), -2);
  EXPECT_EQ(parse_int32("+7"), 7);
  EXPECT_EQ(parse_int32("010"), 10);
  EXPECT_EQ(parse_int32(" 12"), 12);
  EXPECT_EQ(parse_int32("12ab"), 12);
  EXPECT_EQ(parse_int32("-0"), 0);
  EXPECT_EQ(parse_int32("999999999"), 999999999);
  EXPECT_EQ(parse_int32("-999999999"), -999999999);
  EXPECT_EQ(parse_int32("1000000000"), 1000000000);
  EXPECT_EQ(parse_int32("0000000000000012"), 12);
}

TEST(ParseInt32Test, ReadsWhatIsNoNumberAsZero) {
  for (const char* text : {"", "abc", "-", "x1", "\xc3\xa4"}) EXPECT_EQ(parse_int32(text), 0);
}

TEST(ParseInt32Test, SaturatesAtTheLimits) {
  EXPECT_EQ(parse_int32("2147483647"), INT32_MAX);
  EXPECT_EQ(parse_int32("2147483648"), INT32_MAX);
  EXPECT_EQ(parse_int32("4294967297"), INT32_MAX);
  EXPECT_EQ(parse_int32("99999999999999999999"), INT32_MAX);
  EXPECT_EQ(parse_int32("-2147483648"), INT32_MIN);
  EXPECT_EQ(parse_int32("-2147483649"), INT32_MIN);
  EXPECT_EQ(parse_int32("-99999999999999999999"), INT32_MIN);
}

TEST(NumberTextTest, HoldsNumbersOfEveryLength) {
  NumberText text;
  for (const int32_t number : {0, 7, -7, 10, -10, 99, 100, 12345, 999999999, 1000000000}) {
    EXPECT_EQ(text.put(number), std::to_string(number));
  }
  EXPECT_EQ(text.put(INT32_MAX), "2147483647");
  EXPECT_EQ(text.put(INT32_MIN), "-2147483648");
}

TEST(IsBlankOrControlTest, HoldsForTheFirstThirtyThreeBytesOnly) {
  for (int byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(is_blank_or_control(static_cast<char>(byte)), byte <= 32) << byte;
  }
}

}  // namespace
}  // namespace capi::test
