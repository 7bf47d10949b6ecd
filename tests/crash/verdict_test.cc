// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace capi::crash {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Sight sees(Parts parts, std::vector<std::string> log = {}) {
  return {.finished = true, .parts = std::move(parts), .log = std::move(log)};
}

Expectation expected(bool durable) {
  return {.before = sees({"7 calls"}, {"as usual"}),
          .after = sees({"8 calls"}),
          .gone = sees({"0 calls"}),
          .fresh = {"0 calls"},
          .durable = durable};
}

Outcome judged(const Sight& sight, bool promised = false, bool durable = true) {
  return judge(sight, expected(durable), promised);
}

TEST(CrashVerdict, TheOldContentOrTheNewOneIsKept) {
  EXPECT_EQ(judged(sees({"7 calls"})), Outcome::Kept);
  EXPECT_EQ(judged(sees({"8 calls"})), Outcome::Kept);
  EXPECT_EQ(judged(sees({"8 calls"}), true), Outcome::Kept);
}

TEST(CrashVerdict, TheOldContentAfterReportedSuccessIsUndone) {
  EXPECT_EQ(judged(sees({"7 calls"}), true), Outcome::Undone);
}

TEST(CrashVerdict, TheOldContentIsFineWhereOnlyOldOrNewIsPromised) {
  EXPECT_EQ(judged(sees({"7 calls"}), true, false), Outcome::Earlier);
}

TEST(CrashVerdict, WhatIsGoneOrUnreadableIsLost) {
  for (const char* part : {"0 calls", kAbsent, kUnreadable}) {
    EXPECT_EQ(judged(sees({part}, {"file is corrupted"})), Outcome::Lost) << part;
  }
}

TEST(CrashVerdict, AnEmptyStoreThatWasMadeMeanwhileIsALoss) {
  Expectation expectation = expected(true);
  expectation.gone = sees({kAbsent});
  EXPECT_EQ(judge(sees({"0 calls"}, {"invalid file"}), expectation, false), Outcome::Lost);
}

TEST(CrashVerdict, ALossWithoutAWordMoreThanUsualIsSilent) {
  EXPECT_EQ(judged(sees({kAbsent})), Outcome::LostSilently);
  EXPECT_EQ(judged(sees({kAbsent}, {"as usual"})), Outcome::LostSilently);
}

TEST(CrashVerdict, AnotherContentThatReadsAsSoundIsWrong) {
  EXPECT_EQ(judged(sees({"3 calls"}, {"whatever is logged"})), Outcome::Wrong);
}

TEST(CrashVerdict, AnEmptyStoreIsNoLossWhereNothingCouldBeRead) {
  Expectation expectation = expected(true);
  for (const char* nothing : {kAbsent, kUnreadable}) {
    expectation.before = sees({nothing});
    EXPECT_EQ(judge(sees({"0 calls"}), expectation, false), Outcome::Kept) << nothing;
    EXPECT_EQ(judge(sees({"0 calls"}), expectation, true), Outcome::Undone) << nothing;
    EXPECT_EQ(judge(sees({"3 calls"}), expectation, false), Outcome::Wrong) << nothing;
  }
}

TEST(CrashVerdict, AReaderThatHangsOrDiesIsWrong) {
  EXPECT_EQ(judged({}), Outcome::Wrong);
  Sight hung = sees({"8 calls"});
  hung.finished = false;
  EXPECT_EQ(judged(hung), Outcome::Wrong);
}

TEST(CrashVerdict, TheWorstOfSeveralFilesCounts) {
  const Expectation two{.before = sees({"a", "x"}),
                        .after = sees({"b", "y"}),
                        .gone = sees({kAbsent, kAbsent}),
                        .fresh = {kAbsent, kAbsent},
                        .durable = true};
  EXPECT_EQ(judge(sees({"a", "y"}), two, false), Outcome::Kept);
  EXPECT_EQ(judge(sees({"b", "x"}), two, true), Outcome::Undone);
  EXPECT_EQ(judge(sees({"a", kAbsent}), two, false), Outcome::LostSilently);
}

TEST(CrashVerdict, FilesThatNobodyHasWithoutACrashAreLeftOver) {
  Expectation expectation = expected(true);
  expectation.before.names = {"/d/file"};
  Sight sight = sees({"8 calls"});
  sight.names = {"/d/.file.new", "/d/file", "/d/file.err"};
  EXPECT_THAT(left_over(sight, expectation, {".err"}), ElementsAre("/d/.file.new"));
  EXPECT_THAT(left_over(sight, expectation, {".err", ".new"}), IsEmpty());
}

Tree tree_of(const std::string& name, const Meta& meta) {
  Tree tree;
  tree.names[name] = 0;
  tree.nodes[0] = {0, meta};
  return tree;
}

constexpr Meta kOld{0640, 7, 7};
constexpr Meta kNew{0644, 0, 0};
constexpr Meta kOther{0600, 0, 0};

TEST(CrashVerdict, AFileKeepsItsModeAndOwner) {
  const Tree before = tree_of("f", kOld);
  const Tree after = tree_of("f", kNew);
  EXPECT_TRUE(has_right_meta(tree_of("f", kOld), before, after, false));
  EXPECT_FALSE(has_right_meta(tree_of("f", kNew), before, after, false));
  EXPECT_TRUE(has_right_meta(tree_of("f", kNew), before, after, true));
  EXPECT_FALSE(has_right_meta(tree_of("f", kOther), before, after, true));
}

TEST(CrashVerdict, AFileThatIsMadeHasTheModeThatItEndsWith) {
  const Tree after = tree_of("f", kNew);
  EXPECT_TRUE(has_right_meta(tree_of("f", kNew), {}, after, false));
  EXPECT_FALSE(has_right_meta(tree_of("f", kOther), {}, after, false));
  EXPECT_TRUE(has_right_meta(tree_of(".f.new", kOther), {}, after, false)) << "a sibling";
}

}  // namespace
}  // namespace capi::crash
