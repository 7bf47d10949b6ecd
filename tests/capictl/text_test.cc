// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tools/common/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/common/table.h"

namespace tools {
namespace {

using testing::ElementsAre;

TEST(Wrapping, BreaksAtBlanksAndBehindCommasAndNeverInAWord) {
  EXPECT_THAT(wrapped("one two three", 7), ElementsAre("one two", "three"));
  EXPECT_THAT(wrapped("one two three", 13), ElementsAre("one two three"));
  EXPECT_THAT(wrapped("01,02,03,04", 6), ElementsAre("01,02,", "03,04"));
  EXPECT_THAT(wrapped("a verylongword b", 4), ElementsAre("a", "verylongword", "b"));
  EXPECT_THAT(wrapped("verylongword", 4), ElementsAre("verylongword"));
  EXPECT_THAT(wrapped("\u00e4\u00f6\u00fc \u00df", 3), ElementsAre("\u00e4\u00f6\u00fc", "\u00df"));
  EXPECT_THAT(wrapped("", 4), ElementsAre(""));
  EXPECT_THAT(wrapped("two  blanks", 4), ElementsAre("two ", "blanks"));
}

TEST(Guessing, FindsWhatWasSwappedLeftOutAddedOrOnlyBegun) {
  const std::vector<std::string> names = {"list", "show", "status", "stack-file"};
  EXPECT_EQ(nearest("lsit", names), "list");
  EXPECT_EQ(nearest("lst", names), "list");
  EXPECT_EQ(nearest("lists", names), "list");
  EXPECT_EQ(nearest("stat", names), "status");
  EXPECT_EQ(nearest("stakc-fiel", names), "stack-file");
}

TEST(Guessing, SaysNothingWhereNothingIsNear) {
  const std::vector<std::string> names = {"list", "show"};
  EXPECT_EQ(nearest("config", names), "");
  EXPECT_EQ(nearest("", names), "");
  EXPECT_EQ(nearest("l", names), "");
  EXPECT_EQ(nearest(std::string(100000, 'l'), names), "");
  EXPECT_EQ(guess("config", names), ".");
  EXPECT_EQ(guess("lsit", names), "; did you mean list?");
}

TEST(Json, HasANulAsItIsOrEscaped) {
  for (const char* json : {R"("\u0000")", R"("a\u0000b")", R"("\\\u0000")", R"("\"\u0000")"}) {
    EXPECT_TRUE(has_nul(json)) << json;
  }
  EXPECT_TRUE(has_nul(std::string_view("\0", 1)));
  EXPECT_TRUE(has_nul(std::string_view("\\\0", 2)));
  for (const char* json : {"", "{}", R"("u0000")", R"("\\u0000")", R"("\\\\u0000")", R"("\u0001")",
                           "\\", R"("\u000)"}) {
    EXPECT_FALSE(has_nul(json)) << json;
  }
}

TEST(Times, AreIsoFromTheYear2000OnAndNumbersBefore) {
  EXPECT_EQ(time_or_number(946684799), "946684799");
  EXPECT_EQ(time_or_number(946684800), "2000-01-01T00:00:00Z");
  EXPECT_EQ(time_or_number(4294967295), "2106-02-07T06:28:15Z");
  EXPECT_EQ(time_or_number(0), "0");
}

TEST(Fields, HaveNamesInSnakeCase) {
  EXPECT_EQ(Column{"in the file"}.name(), "in_the_file");
  EXPECT_EQ(Column{"IMSI"}.name(), "imsi");
  EXPECT_EQ(Column{"PacketsSent"}.name(), "packets_sent");
  EXPECT_EQ(Column{"MNCs"}.name(), "mncs");
  EXPECT_EQ((Column{"mail", Type::Flag, "voice_mail"}.name()), "voice_mail");
}

}  // namespace
}  // namespace tools
