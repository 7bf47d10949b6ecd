// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text_table.h"

#include <gtest/gtest.h>

#include <iterator>

namespace capi::test {
namespace {

template <typename Text>
struct RowOf {
  int number;
  Text name;
  Text value;

  constexpr RowOf<TextOffset> pack(TextPool& pool) const {
    return {number, pool.add(name), pool.add(value)};
  }
};
using Row = RowOf<TextOffset>;

constexpr char kLong[] =
    "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123"
    "4567890123456789012345678901234567890123456789";
static_assert(sizeof kLong > 128);

constexpr RowOf<std::string_view> kDrafts[] = {
    {1, "port", "5060"}, {2, "", kLong}, {3, "5060", "port"}, {4, "p", ""}};

constexpr auto kTable = make_text_table<kDrafts>();

TEST(TextTableTest, GivesEachRowItsTexts) {
  ASSERT_EQ(kTable.size(), std::size(kDrafts));
  for (size_t i = 0; i < kTable.size(); ++i) {
    EXPECT_EQ(kTable[i].number, kDrafts[i].number);
    EXPECT_EQ(kTable.text(kTable[i].name), kDrafts[i].name);
    EXPECT_EQ(kTable.text(kTable[i].value), kDrafts[i].value);
  }
}

TEST(TextTableTest, TerminatesTexts) {
  for (const Row& row : kTable) {
    EXPECT_EQ(*kTable.text(row.name).end(), '\0');
    EXPECT_EQ(*kTable.text(row.value).end(), '\0');
  }
}

TEST(TextTableTest, KeepsATextOnce) {
  EXPECT_EQ(kTable[0].name, kTable[2].value);
  EXPECT_EQ(kTable[0].value, kTable[2].name);
  EXPECT_EQ(kTable[1].name, kTable[3].value);
  EXPECT_NE(kTable[3].name, kTable[0].name);
}

TEST(TextTableTest, CanBeUsedWithoutItsSize) {
  const TextRows<Row> rows = kTable;
  ASSERT_EQ(rows.rows.size(), kTable.size());
  EXPECT_EQ(rows.text(rows.rows[0].value), "5060");
}

}  // namespace
}  // namespace capi::test
