// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/key_value.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "capi/util.h"
#include "support/files.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kPath[] = "/tmp/key_value.test";

struct Item {
  std::string section;
  std::string key;
  std::string value;

  bool operator==(const Item&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Item& item) {
  return out << "[" << item.section << "] " << item.key << " = " << item.value;
}

std::vector<Item> items;

int collect(const char* section, const char* key, const char* value) {
  items.push_back({section, key, value});
  return -1;  // the reader does not care
}

// What a file of this content holds.
std::vector<Item> read(std::string_view content) {
  write_file(kPath, content);
  items.clear();
  EXPECT_EQ(config_file_reader(kPath, collect), 0);
  return items;
}

TEST(ConfigFileReaderTest, HandsOverItemsInOrder) {
  EXPECT_THAT(read("a=1\nb=2\na=3\n"),
              ElementsAre(Item{"", "a", "1"}, Item{"", "b", "2"}, Item{"", "a", "3"}));
}

TEST(ConfigFileReaderTest, SectionHoldsUntilTheNext) {
  EXPECT_THAT(read("k=0\n[one]\nk=1\nl=1\n[two]\nk=2\n"),
              ElementsAre(Item{"", "k", "0"}, Item{"one", "k", "1"}, Item{"one", "l", "1"},
                          Item{"two", "k", "2"}));
}

TEST(ConfigFileReaderTest, RemovesBlanksFromSectionNames) {
  EXPECT_THAT(read("[ voice stack 1 ]\nk=1\n[\tx\x01y]\nk=2\n"),
              ElementsAre(Item{"voicestack1", "k", "1"}, Item{"xy", "k", "2"}));
}

TEST(ConfigFileReaderTest, AnEmptySectionNameClearsTheSection) {
  EXPECT_THAT(read("[one]\n[]\nk=1\n[two]\n[ ]\nk=2\n"),
              ElementsAre(Item{"", "k", "1"}, Item{"", "k", "2"}));
}

TEST(ConfigFileReaderTest, ASectionLineNeedsBothBrackets) {
  EXPECT_THAT(read("[one]\n[two\nk=1\n [two]\nk=2\ntwo]\nk=3\n"),
              ElementsAre(Item{"one", "k", "1"}, Item{"one", "k", "2"}, Item{"one", "k", "3"}));
}

TEST(ConfigFileReaderTest, ASectionNameEndsAtItsFirstClosingBracket) {
  EXPECT_THAT(read("[a]b]\nk=1\n"), ElementsAre(Item{"a", "k", "1"}));
}

TEST(ConfigFileReaderTest, ASectionLineWithAnEqualsSignIsAnItem) {
  EXPECT_THAT(read("[one]\n[two=x]\nk=1\n"),
              ElementsAre(Item{"one", "[two", "x]"}, Item{"one", "k", "1"}));
}

TEST(ConfigFileReaderTest, SemicolonAndHashCutALine) {
  EXPECT_THAT(read("key = some value ; note\npin=12#34\na=1;b#c\nb=1#c;d\n[one];x]\nk=1\n"),
              ElementsAre(Item{"", "key", "somevalue"}, Item{"", "pin", "12"}, Item{"", "a", "1"},
                          Item{"", "b", "1"}, Item{"one", "k", "1"}));
}

TEST(ConfigFileReaderTest, CommentsHoldNoItems) {
  EXPECT_THAT(read("#a=1\n;b=2\n # c=3\n[one#]\nd;=4\n"), IsEmpty());
}

TEST(ConfigFileReaderTest, SkipsItemsWithoutKeyOrValue) {
  EXPECT_THAT(read("key=\n=value\n=\n == \nkey= \n =value\nkey=;x\nkey=\r\n\x01=x\nx=\x02\n"),
              IsEmpty());
}

TEST(ConfigFileReaderTest, SkipsLinesThatAreNoItems) {
  EXPECT_THAT(read("\n\r\n\rx=1\nword\n   \nk=1\n"), ElementsAre(Item{"", "k", "1"}));
}

TEST(ConfigFileReaderTest, SplitsAtTheFirstEqualsSign) {
  EXPECT_THAT(read("k=a=b==\n"), ElementsAre(Item{"", "k", "a=b=="}));
}

TEST(ConfigFileReaderTest, RemovesBlanksAndControlsEverywhere) {
  EXPECT_THAT(read("a b = x y\n\tc\x01\x1f =\v1\f2\b3\n"),
              ElementsAre(Item{"", "ab", "xy"}, Item{"", "c", "123"}));
}

TEST(ConfigFileReaderTest, KeepsBytesOfTheUpperHalfAndDelete) {
  EXPECT_THAT(read("\xc3\xa4=\xc3\xb6 \xff\x80\xa0\x85\x7f\n"),
              ElementsAre(Item{"", "\xc3\xa4", "\xc3\xb6\xff\x80\xa0\x85\x7f"}));
}

TEST(ConfigFileReaderTest, AValueEndsAtACarriageReturn) {
  EXPECT_THAT(read("a=1\r\nb=2\rc=3\n"), ElementsAre(Item{"", "a", "1"}, Item{"", "b", "2"}));
}

TEST(ConfigFileReaderTest, TheLastLineNeedsNoNewline) {
  EXPECT_THAT(read("a=1\nb=2"), ElementsAre(Item{"", "a", "1"}, Item{"", "b", "2"}));
}

TEST(ConfigFileReaderTest, ANulByteEndsItsLineOnly) {
  EXPECT_THAT(read(std::string_view("a=1\0b=2\nc=3\n\0d=4\ne=5\n", 22)),
              ElementsAre(Item{"", "a", "1"}, Item{"", "c", "3"}, Item{"", "e", "5"}));
}

TEST(ConfigFileReaderTest, CutsLongKeysAndValues) {
  const std::string key(255, 'k');
  const std::string value(1023, 'v');
  EXPECT_THAT(read(key + "=" + value + "\n"), ElementsAre(Item{"", key, value}));
  EXPECT_THAT(read(key + "k=" + value + "v\n"), ElementsAre(Item{"", key, value}));
  EXPECT_THAT(read("k=" + std::string(500, ' ') + value + "\n"), ElementsAre(Item{"", "k", value}));
}

TEST(ConfigFileReaderTest, TakesALongLineInPieces) {
  // 2047 characters, and what follows is a line of its own.
  const std::string first = "a=" + std::string(2045, 'x');
  EXPECT_THAT(read(first + "b=2\nc=3\n"), ElementsAre(Item{"", "a", std::string(1023, 'x')},
                                                      Item{"", "b", "2"}, Item{"", "c", "3"}));
  EXPECT_THAT(read(first + "#=2\n" + first + "[s]\nc=3\n"),
              ElementsAre(Item{"", "a", std::string(1023, 'x')},
                          Item{"", "a", std::string(1023, 'x')}, Item{"s", "c", "3"}));
}

TEST(ConfigFileReaderTest, TakesASectionNameAsLongAsALine) {
  const std::string name(2045, 's');
  EXPECT_THAT(read("[" + name + "]\nk=1\n"), ElementsAre(Item{name, "k", "1"}));
}

TEST(ConfigFileReaderTest, AnEmptyFileIsReadWhole) { EXPECT_THAT(read(""), IsEmpty()); }

TEST(ConfigFileReaderTest, WhatCannotBeOpenedFails) {
  items.clear();
  EXPECT_EQ(config_file_reader("/tmp/no_such_file", collect), -1);
  EXPECT_EQ(config_file_reader("/tmp", collect), -1);
  EXPECT_EQ(config_file_reader("", collect), -1);
  EXPECT_EQ(config_file_reader(nullptr, collect), -1);
  write_file(kPath, "a=1\n");
  EXPECT_EQ(config_file_reader(kPath, nullptr), -1);
  EXPECT_THAT(items, IsEmpty());
}

TEST(ConfigFileReaderTest, AFileThatCannotBeWrittenCountsAsNotOpenable) {
  write_file("/tmp/read_only/file", "a=1\n");
  ASSERT_EQ(mount("/tmp/read_only", "/tmp/read_only", "", MS_BIND, nullptr), 0);
  ASSERT_EQ(mount("", "/tmp/read_only", "", MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
  items.clear();
  EXPECT_EQ(config_file_reader("/tmp/read_only/file", collect), -1);
  EXPECT_THAT(items, IsEmpty());
  umount("/tmp/read_only");
}

TEST(ConfigFileReaderTest, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  read("a=1\n");
  EXPECT_EQ(config_file_reader("/tmp/no_such_file", collect), -1);
  EXPECT_EQ(open_descriptors(), before);
}

// ---- Writer ------------------------------------------------------------------------------------

// Produces pieces from a list of results, filling as much of the buffer as each says.
struct Pieces {
  std::vector<int> results;
  std::vector<int> indexes;
};

int produce(int index, char* buf, void* ctx) {
  auto& pieces = *static_cast<Pieces*>(ctx);
  pieces.indexes.push_back(index);
  const int result = pieces.results.at(static_cast<size_t>(index) - 1);
  memset(buf, 'a' + index - 1, 2048);
  return result;
}

TEST(ConfigFileWriterTest, WritesThePiecesAsTheyStand) {
  Pieces pieces{.results = {2, 1, 3, 0}, .indexes = {}};
  EXPECT_EQ(config_file_writer(kPath, produce, &pieces), 1);
  EXPECT_EQ(read_file(kPath), "aabccc");
  EXPECT_THAT(pieces.indexes, ElementsAre(1, 2, 3, 4));
}

TEST(ConfigFileWriterTest, ANegativeResultWritesNothingAndGoesOn) {
  Pieces pieces{.results = {-1, 2, -5, 1, 0}, .indexes = {}};
  EXPECT_EQ(config_file_writer(kPath, produce, &pieces), 1);
  EXPECT_EQ(read_file(kPath), "bbd");
}

TEST(ConfigFileWriterTest, AFullBufferIsWrittenToItsLastByte) {
  const config_line_cb fill = [](int index, char* buf, void*) {
    for (int i = 0; i < 2048; ++i) buf[i] = static_cast<char>('a' + i % 26);
    return index == 1 ? 2048 : 0;
  };
  EXPECT_EQ(config_file_writer(kPath, fill, nullptr), 1);
  const std::string written = read_file(kPath);
  ASSERT_EQ(written.size(), 2048u);
  EXPECT_EQ(written.back(), 'a' + 2047 % 26);
}

TEST(ConfigFileWriterTest, CountsNoMoreThanTheBufferHolds) {
  for (const int count : {2048, 2049, INT32_MAX}) {
    Pieces pieces{.results = {count, 1, 0}, .indexes = {}};
    EXPECT_EQ(config_file_writer(kPath, produce, &pieces), 1);
    EXPECT_EQ(read_file(kPath), std::string(2048, 'a') + "b") << count;
  }
}

int end_at_once(int, char*, void*) { return 0; }

TEST(ConfigFileWriterTest, ReplacesTheFile) {
  write_file(kPath, "old content");
  ASSERT_EQ(link(kPath, "/tmp/key_value.linked"), 0);
  EXPECT_EQ(config_file_writer(kPath, end_at_once, nullptr), 1);
  EXPECT_EQ(read_file(kPath), "");
  EXPECT_EQ(read_file("/tmp/key_value.linked"), "old content");  // deleted, not truncated
  unlink("/tmp/key_value.linked");
}

TEST(ConfigFileWriterTest, TerminatesEachPieceInTheBuffer) {
  static char after = 'x';
  const config_line_cb look_back = [](int index, char* buf, void*) {
    if (index == 2) after = buf[3];
    memset(buf, 'y', 2048);
    return index == 1 ? 3 : 0;
  };
  EXPECT_EQ(config_file_writer(kPath, look_back, nullptr), 1);
  EXPECT_EQ(after, '\0');
}

TEST(ConfigFileWriterTest, WhatCannotBeCreatedFails) {
  mkdir("/tmp/key_value.dir", 0755);
  Pieces pieces{.results = {0}, .indexes = {}};
  EXPECT_EQ(config_file_writer("/tmp/key_value.dir", produce, &pieces), 0);
  EXPECT_EQ(config_file_writer("/tmp/no_such_dir/file", produce, &pieces), 0);
  EXPECT_EQ(config_file_writer(nullptr, produce, &pieces), 0);
  EXPECT_THAT(pieces.indexes, IsEmpty());
  write_file(kPath, "old");
  EXPECT_EQ(config_file_writer(kPath, nullptr, nullptr), 0);
  EXPECT_EQ(read_file(kPath), "old");
}

TEST(ConfigFileWriterTest, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  EXPECT_EQ(config_file_writer(kPath, end_at_once, nullptr), 1);
  EXPECT_EQ(config_file_writer("/tmp", end_at_once, nullptr), 0);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace capi::test
