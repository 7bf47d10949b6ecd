// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "states.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace capi::crash {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSubsetOf;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr char kFile[] = "/d/file";
constexpr char kSibling[] = "/d/.file.new";
constexpr Meta kMeta{0640, 1, 1};
constexpr Meta kPrivate{0600, 0, 0};

// What a state holds, a text for each: "none" for no file.
using Holdings = std::set<std::string>;

class CrashStates : public testing::Test {
 protected:
  CrashStates() {
    record_.before.names[kFile] = 0;
    record_.before.nodes[0] = {contents_.intern("oldold"), kMeta};
  }

  Content text(const char* bytes) { return contents_.intern(bytes); }

  void does(Action action) { record_.actions.push_back(std::move(action)); }

  void rewrites_in_place() {
    does({.act = Act::Truncate, .inode = 0});
    does({.act = Act::Write, .inode = 0, .content = text("new!")});
  }

  void writes_sibling() {
    does({.act = Act::Create, .inode = 1, .path = kSibling, .meta = kPrivate});
    does({.act = Act::Write, .inode = 1, .content = text("new!")});
    does({.act = Act::SetMeta, .inode = 1, .meta = kMeta});
  }

  void syncs_sibling() { does({.act = Act::SyncFile, .inode = 1}); }
  void renames() { does({.act = Act::Rename, .path = kSibling, .to = kFile}); }
  void syncs_directory() { does({.act = Act::SyncDirectory, .path = "/d"}); }
  void promises() { does({.act = Act::Promise}); }

  void replaces() {
    writes_sibling();
    syncs_sibling();
    renames();
    syncs_directory();
    promises();
  }

  std::string holding(const State& state, const char* name) const {
    const auto at = state.tree.names.find(name);
    if (at == state.tree.names.end()) return "none";
    return contents_[state.tree.nodes.at(at->second).content];
  }

  Holdings holdings(const std::vector<State>& states, const char* name = kFile) const {
    Holdings result;
    for (const State& state : states) result.insert(holding(state, name));
    return result;
  }

  Holdings promised_holdings(const std::vector<State>& states) const {
    Holdings result;
    for (const State& state : states) {
      if (state.promised) result.insert(holding(state, kFile));
    }
    return result;
  }

  std::vector<State> killed() { return kill_states(record_, full_bounds(), contents_); }
  std::vector<State> cut() { return power_states(record_, full_bounds(), contents_); }

  Contents contents_;
  Record record_;
};

TEST_F(CrashStates, AKillLeavesAllThatWasDoneAndAWriteUpToAnyLength) {
  rewrites_in_place();
  EXPECT_THAT(holdings(killed()), UnorderedElementsAre("oldold", "", "n", "ne", "new", "new!"));
}

TEST_F(CrashStates, AKillLeavesTheOldFileOrTheNewOneWhereItIsReplaced) {
  replaces();
  EXPECT_THAT(holdings(killed()), UnorderedElementsAre("oldold", "new!"));
}

TEST_F(CrashStates, WhatWasKilledBeforeItsSuccessHasPromisedNothing) {
  rewrites_in_place();
  promises();
  EXPECT_THAT(promised_holdings(killed()), ElementsAre("new!"));
}

TEST_F(CrashStates, WithoutASyncAPowerCutLeavesAnySubsetOfTheWrites) {
  rewrites_in_place();
  const std::string zeros(4, '\0');
  const std::string half_zeros = std::string(2, '\0') + "w!";
  EXPECT_THAT(holdings(cut()),
              testing::IsSupersetOf({"oldold", "", "n", "ne", "new", "new!", "new!ld"}));
  EXPECT_THAT(holdings(cut()), Contains(zeros));
  EXPECT_THAT(holdings(cut()), Contains(half_zeros));
  EXPECT_THAT(holdings(cut()), Contains("\xA5\xA5\xA5\xA5"));
}

TEST_F(CrashStates, WhatWasSyncedIsThere) {
  rewrites_in_place();
  does({.act = Act::SyncFile, .inode = 0});
  promises();
  EXPECT_THAT(promised_holdings(cut()), ElementsAre("new!"));
}

TEST_F(CrashStates, ASyncOfEverythingCoversDataAndNames) {
  writes_sibling();
  renames();
  does({.act = Act::SyncAll});
  promises();
  EXPECT_THAT(promised_holdings(cut()), ElementsAre("new!"));
}

TEST_F(CrashStates, AFailedSyncLosesWhatALaterOneSeemsToSave) {
  rewrites_in_place();
  does({.act = Act::FailedSync, .inode = 0});
  does({.act = Act::SyncFile, .inode = 0});
  promises();
  EXPECT_THAT(promised_holdings(cut()), Contains(""));
}

TEST_F(CrashStates, APowerCutLeavesTheOldFileOrTheNewOneWhereItIsReplaced) {
  replaces();
  EXPECT_THAT(holdings(cut()), UnorderedElementsAre("oldold", "new!"));
  EXPECT_THAT(promised_holdings(cut()), ElementsAre("new!"));
}

TEST_F(CrashStates, ANameMayBeThereBeforeTheDataOfItsFile) {
  writes_sibling();
  renames();
  EXPECT_THAT(holdings(cut()), Contains(""));
}

TEST_F(CrashStates, ASyncedFileMayHaveNoNameYet) {
  replaces();
  EXPECT_THAT(holdings(cut(), kSibling), Contains("none"));
}

TEST_F(CrashStates, ARenameWithoutASyncOfItsDirectoryMayBeUndone) {
  writes_sibling();
  syncs_sibling();
  renames();
  promises();
  EXPECT_THAT(promised_holdings(cut()), UnorderedElementsAre("oldold", "new!"));
}

TEST_F(CrashStates, ASyncOfTheFileSaysNothingAboutAnotherDirectory) {
  writes_sibling();
  syncs_sibling();
  renames();
  does({.act = Act::SyncDirectory, .path = "/elsewhere"});
  promises();
  EXPECT_THAT(promised_holdings(cut()), Contains("oldold"));
}

TEST_F(CrashStates, ARenameMayBeHalfDone) {
  replaces();
  bool both = false;
  for (const State& state : cut()) {
    both = both || (holding(state, kFile) == "new!" && holding(state, kSibling) == "new!");
    EXPECT_NE(holding(state, kFile), "none");
  }
  EXPECT_TRUE(both) << "never under both names";
}

TEST_F(CrashStates, AnUnlinkMayComeWithoutWhatFollowsIt) {
  does({.act = Act::Unlink, .path = kFile});
  does({.act = Act::Create, .inode = 1, .path = kFile, .meta = kMeta});
  EXPECT_THAT(holdings(cut()), UnorderedElementsAre("oldold", "none", ""));
}

TEST_F(CrashStates, AModeThatWasNotSyncedMayBeMissing) {
  does({.act = Act::Create, .inode = 1, .path = kSibling, .meta = kPrivate});
  syncs_sibling();
  does({.act = Act::SetMeta, .inode = 1, .meta = kMeta});
  renames();
  std::set<mode_t> modes;
  for (const State& state : cut()) {
    modes.insert(state.tree.nodes.at(state.tree.names.at(kFile)).meta.mode);
  }
  EXPECT_THAT(modes, UnorderedElementsAre(0600, 0640));
}

TEST_F(CrashStates, EachStateIsThereOnce) {
  replaces();
  for (const auto& states : {killed(), cut()}) {
    std::set<std::string> keys;
    for (const State& state : states) keys.insert(state.tree.key() + (state.promised ? "+" : "-"));
    EXPECT_EQ(keys.size(), states.size());
  }
}

TEST_F(CrashStates, ManyWritesAreLeftOutOneByOne) {
  const Bounds bounds{.pages = {}, .subsets = 2, .combinations = 100};
  for (const char* bytes : {"a", "b", "c", "d"}) {
    does({.act = Act::Write, .inode = 0, .offset = record_.actions.size(), .content = text(bytes)});
  }
  const Holdings all = holdings(power_states(record_, bounds, contents_));
  EXPECT_THAT(all, testing::IsSupersetOf({"oldold", "aldold", "abcdld", "obcdld", "abcold"}));
  EXPECT_THAT(all, Not(Contains("olcdld"))) << "two are missing";
}

TEST_F(CrashStates, TheShortFormLeavesOutStatesOnly) {
  replaces();
  const auto all = holdings(cut(), kSibling);
  const auto few = holdings(power_states(record_, short_bounds(), contents_), kSibling);
  EXPECT_THAT(few, IsSubsetOf(all));
}

}  // namespace
}  // namespace capi::crash
