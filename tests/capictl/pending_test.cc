// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <pending.h>

namespace pending {
namespace {

using testing::ElementsAre;

const Key kName{"sip_line_1", "option_sip_line_display_name"};
const Key kPort{"basic_sip", "option_basic_sip_local_port"};

Change change_of(std::vector<Value> values) {
  Change change;
  change.id = "0000beef";
  change.owner = "capictl, root";
  change.values = std::move(values);
  return change;
}

// What a key has after going back.
std::string gone_back(const Change& change, const std::string& present) {
  std::string value;
  switch (verdict(change, kName, present, value)) {
    case Verdict::Set:
      return value;
    case Verdict::Keep:
      return "kept";
    default:
      return "nothing";
  }
}

TEST(Pending, GoesBackToWhatWasBefore) {
  EXPECT_EQ(gone_back(change_of({{kName, "a", "b"}}), "b"), "a");
}

TEST(Pending, LeavesWhatWasNotSetYet) {
  EXPECT_EQ(gone_back(change_of({{kName, "a", "b"}}), "a"), "nothing");
}

TEST(Pending, KeepsWhatSomebodyElseHasSet) {
  EXPECT_EQ(gone_back(change_of({{kName, "a", "b"}}), "x"), "kept");
}

TEST(Pending, GoesBackThroughAllThatWasSetOneAfterTheOther) {
  const Change change = change_of({{kName, "a", "b"}, {kPort, "1", "2"}, {kName, "b", "c"}});
  EXPECT_EQ(gone_back(change, "c"), "a");
  EXPECT_EQ(gone_back(change, "b"), "a") << "the second was not made any more";
  EXPECT_EQ(gone_back(change, "x"), "kept");
  EXPECT_THAT(keys(change), ElementsAre(kName, kPort));
}

TEST(Pending, GoesBackToWhatSomebodyElseHadSetInBetween) {
  EXPECT_EQ(gone_back(change_of({{kName, "a", "b"}, {kName, "x", "c"}}), "c"), "x");
}

TEST(Pending, IsOverAfterItsTimeAndAfterEachStartOfTheSystem) {
  Change change;
  give(change, 120, {"boot", 5000, 1000});
  EXPECT_EQ(change.deadline, 1120);
  EXPECT_EQ(remaining_ms(change, {"boot", 5000, 0}), 120000);
  EXPECT_EQ(remaining_ms(change, {"boot", 124999, 0}), 1);
  EXPECT_EQ(remaining_ms(change, {"boot", 125000, 0}), 0);
  EXPECT_EQ(remaining_ms(change, {"boot", 999999, 0}), 0);
  EXPECT_EQ(remaining_ms(change, {"another", 5000, 0}), 0);
}

TEST(Pending, IsKeptAsLinesWhateverItsValuesHold) {
  Change change = change_of({{kName, "", "-"}, {kName, "100 %\n\tend\n", "caf\xC3\xA9\xFF"}});
  give(change, 1, {"boot", 5000, 1000});
  change.is_applied = true;
  EXPECT_EQ(text_of(change),
            "capi-pending 1\n"
            "id 0000beef\n"
            "owner capictl,%20root\n"
            "boot boot\n"
            "deadline_ms 6000\n"
            "deadline 1001\n"
            "applied 1\n"
            "value sip_line_1 option_sip_line_display_name - %2D\n"
            "value sip_line_1 option_sip_line_display_name 100%20%25%0A%09end%0A caf%C3%A9%FF\n"
            "end\n");
  Change read_back;
  ASSERT_TRUE(read(text_of(change), read_back));
  EXPECT_EQ(text_of(read_back), text_of(change));
  EXPECT_EQ(read_back.values[1].before, "100 %\n\tend\n");
}

TEST(Pending, IsNotReadWhereAnythingIsMissingOrSpoiled) {
  const std::string text = text_of(change_of({{kName, "a", "b"}}));
  Change change;
  for (size_t size = 0; size + 1 < text.size(); ++size) {
    EXPECT_FALSE(read(text.substr(0, size), change)) << size;
  }
  for (const char* line :
       {"value a b c", "value a b c %4", "value a b c %zz", "deadline soon", ""}) {
    EXPECT_FALSE(read("capi-pending 1\nid 1\n" + std::string(line) + "\nend\n", change)) << line;
  }
  EXPECT_FALSE(read("capi-pending 2\nid 1\nend\n", change));
}

TEST(Pending, TheOutcomeIsKeptAsWell) {
  const Outcome outcome{"0000beef", "reverted", 1000, {kName}, "no room"};
  Outcome read_back;
  ASSERT_TRUE(read(text_of(outcome), read_back));
  EXPECT_EQ(text_of(read_back), text_of(outcome));
  EXPECT_EQ(text_of(outcome),
            "capi-outcome 1\nid 0000beef\nwhat reverted\nat 1000\ntrouble no%20room\n"
            "kept sip_line_1 option_sip_line_display_name\nend\n");
}

}  // namespace
}  // namespace pending
