// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace capi::crash {
namespace {

using testing::ElementsAre;

constexpr Meta kMeta{0640, 1, 1};

// A file that is replaced with all care.
class CrashRecord : public testing::Test {
 protected:
  CrashRecord() {
    record_.before.names["/d/file"] = 0;
    record_.before.nodes[0] = {contents_.intern("old"), kMeta};
    record_.actions = {
        {.act = Act::Create, .inode = 1, .path = "/d/new", .meta = {0600, 0, 0}},
        {.act = Act::Write, .inode = 1, .content = contents_.intern("new")},
        {.act = Act::SetMeta, .inode = 1, .meta = kMeta},
        {.act = Act::SyncFile, .inode = 1},
        {.act = Act::Rename, .path = "/d/new", .to = "/d/file"},
        {.act = Act::SyncDirectory, .path = "/d"},
        {.act = Act::SyncAll},
        {.act = Act::Promise},
    };
  }

  std::vector<Act> acts_with(Plant plant) const {
    std::vector<Act> acts;
    for (const Action& action : planted(record_, plant).actions) acts.push_back(action.act);
    return acts;
  }

  Contents contents_;
  Record record_;
};

TEST_F(CrashRecord, TellsWhatIsThereAfterAllOfIt) {
  const Tree tree = after(record_, contents_);
  ASSERT_EQ(tree.names.size(), 1U);
  const Node& node = tree.nodes.at(tree.names.at("/d/file"));
  EXPECT_EQ(contents_[node.content], "new");
  EXPECT_EQ(node.meta, kMeta);
}

TEST_F(CrashRecord, AWriteBehindTheEndLeavesZerosBeforeIt) {
  const Action write{.act = Act::Write, .offset = 2};
  EXPECT_EQ(after_write("a", write, "xyz", 2), std::string("a\0xy", 4));
}

TEST_F(CrashRecord, TwoNamesOfOneFileAreNotTwoFiles) {
  Tree linked = record_.before;
  linked.names["/d/other"] = 0;
  Tree copied = linked;
  copied.names["/d/other"] = 1;
  copied.nodes[1] = copied.nodes[0];
  EXPECT_NE(linked.key(), copied.key());
}

TEST_F(CrashRecord, MayLoseTheSyncOfTheFile) {
  EXPECT_THAT(acts_with(Plant::NoFileSync),
              ElementsAre(Act::Create, Act::Write, Act::SetMeta, Act::Rename, Act::SyncDirectory,
                          Act::SyncAll, Act::Promise));
}

TEST_F(CrashRecord, MayLoseTheSyncOfTheDirectory) {
  EXPECT_THAT(
      acts_with(Plant::NoDirectorySync),
      ElementsAre(Act::Create, Act::Write, Act::SetMeta, Act::SyncFile, Act::Rename, Act::Promise));
}

TEST_F(CrashRecord, MaySetTheModeAfterTheRename) {
  EXPECT_THAT(acts_with(Plant::LateMode),
              ElementsAre(Act::Create, Act::Write, Act::SyncFile, Act::Rename, Act::SetMeta,
                          Act::SyncDirectory, Act::SyncAll, Act::Promise));
}

TEST_F(CrashRecord, MayGiveTheSiblingANameOfItsOwn) {
  const Record unique = planted(record_, Plant::UniqueNames);
  EXPECT_EQ(unique.actions[0].path, "/d/new.4711");
  EXPECT_EQ(unique.actions[4].path, "/d/new.4711");
  EXPECT_EQ(unique.actions[4].to, "/d/file");
}

}  // namespace
}  // namespace capi::crash
