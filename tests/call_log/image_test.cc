// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/image.h"

#include <functional>
#include <random>

#include "call_log_test.h"

namespace capi::test {
namespace {

uint16_t u16(const std::string& bytes, size_t offset) {
  return static_cast<uint16_t>(static_cast<uint8_t>(bytes[offset]) |
                               static_cast<uint8_t>(bytes[offset + 1]) << 8);
}

void put16(std::string& bytes, size_t offset, unsigned value) {
  bytes[offset] = static_cast<char>(value & 0xFF);
  bytes[offset + 1] = static_cast<char>(value >> 8 & 0xFF);
}

ImageFault fault_of(const capi_call_log_image& image) { return check(image).fault; }

// The numbers of the calls in a list, in the direction of the links.
std::vector<unsigned> numbers(const capi_call_log_image& image, const capi_call_log_list& list,
                              const Direction& way) {
  std::vector<unsigned> result;
  for (uint16_t index = list.*way.first; is_node(index) && result.size() < CAPI_CALL_LOG_NODES;
       index = image.node[index].*way.next) {
    result.push_back(number_of(image.node[index]));
  }
  return result;
}

using Numbers = std::vector<unsigned>;

TEST(CallLogImage, ANewFileHasTheseBytes) {
  std::string expected(62444, '\0');
  const unsigned header[] = {0,      0xFFFF, 0xFFFF, 300,    0,      299, 100, 3,
                             0,      51728,  0,      0xFFFF, 0xFFFF, 0,   0,   0xFFFF,
                             0xFFFF, 0,      0,      0xFFFF, 0xFFFF, 0};
  for (size_t i = 0; i < std::size(header); ++i) put16(expected, 2 * i, header[i]);
  for (unsigned n = 0; n < 300; ++n) {
    const size_t node = 44 + 208 * n;
    put16(expected, node, 0xFFFF);
    put16(expected, node + 2, 0xFFFF);
    put16(expected, node + 4, n == 0 ? 0xFFFF : n - 1);
    put16(expected, node + 6, n == 299 ? 0xFFFF : n + 1);
    put16(expected, node + 8, n);
    put16(expected, node + 154, 0xFFFF);
    put16(expected, node + 156, 0xFFFF);
  }
  EXPECT_EQ(bytes_of(*empty_image()), expected);
  EXPECT_EQ(fault_of(*empty_image()), ImageFault::None);
}

TEST(CallLogImage, AnAddedCallHasTheseBytes) {
  capi_call_log_record record = call(7);
  record.calltype = 99;  // what a caller puts into the store's fields is not taken over
  record.prev = record.next = record.index = record.sequence = 5;
  record.all_prev = record.all_next = record.reserved = 5;
  Image image = image_of({1});
  add_record(*image, 1, record);
  const std::string node = bytes_of(*image).substr(44 + 208, 208);
  EXPECT_EQ(node.substr(0, 4), std::string("\1\0\0\0", 4));
  EXPECT_EQ(u16(node, 4), 0);
  EXPECT_EQ(u16(node, 6), 0xFFFF);
  EXPECT_EQ(u16(node, 8), 1);
  EXPECT_EQ(u16(node, 10), 8);
  EXPECT_EQ(u16(node, 12), 1007);
  EXPECT_EQ(u16(node, 16), 2007);
  EXPECT_EQ(u16(node, 20), 3007);
  EXPECT_EQ(node.substr(24, 64), "Caller 7" + std::string(56, '\0'));
  EXPECT_EQ(node.substr(88, 64), "+49307" + std::string(58, '\0'));
  EXPECT_EQ(u16(node, 152), 1);
  EXPECT_EQ(u16(node, 154), 0);
  EXPECT_EQ(u16(node, 156), 0xFFFF);
  EXPECT_EQ(u16(node, 158), 0);
  for (size_t i = 0; i < 12; ++i) EXPECT_EQ(u16(node, 160 + 4 * i), 700 + i);
}

TEST(CallLogImage, AddedCallsAreInTheListOfTheirTypeAndInThatOfAll) {
  const Image image = image_of({0, 1, 0, 2, 0});
  const capi_call_log_header& header = image->header;
  EXPECT_EQ(numbers(*image, header.entry[0].list, kOwnList), (Numbers{0, 2, 4}));
  EXPECT_EQ(numbers(*image, header.entry[0].list, kOwnList.reversed()), (Numbers{4, 2, 0}));
  EXPECT_EQ(numbers(*image, header.entry[1].list, kOwnList), (Numbers{1}));
  EXPECT_EQ(numbers(*image, header.used, kAllEntries), (Numbers{0, 1, 2, 3, 4}));
  EXPECT_EQ(numbers(*image, header.used, kAllEntries.reversed()), (Numbers{4, 3, 2, 1, 0}));
  EXPECT_EQ(header.used.count, 5);
  EXPECT_EQ(header.free.count, 295);
  EXPECT_EQ(header.next_sequence, 5);
  EXPECT_EQ(fault_of(*image), ImageFault::None);
}

TEST(CallLogImage, EndsThatAnEmptyListHasLeftDoNotCount) {
  Image image = empty_image();
  image->header.entry[1].list = {0, 7, 8};
  add_record(*image, 1, call(0));
  EXPECT_EQ(image->header.entry[1].list.head, 0);
  EXPECT_EQ(image->header.entry[1].list.tail, 0);
  EXPECT_EQ(image->node[0].prev, 8) << "as the tail stands: the next check finds it";
  EXPECT_EQ(fault_of(*image), ImageFault::FreeList);
}

TEST(CallLogImage, TextsAreCutTo63CharactersAndKeepNothingBehindTheTerminator) {
  capi_call_log_record record = call(0);
  memset(record.displayname, 'x', sizeof record.displayname);
  memcpy(record.number, "123\0secret", 11);
  Image image = empty_image();
  add_record(*image, 0, record);
  EXPECT_EQ(std::string(image->node[0].displayname, 64), std::string(63, 'x') + '\0');
  EXPECT_EQ(std::string(image->node[0].number, 64), "123" + std::string(61, '\0'));
}

TEST(CallLogImage, TheSequenceNumberAfter65534IsZero) {
  Image image = empty_image();
  image->header.next_sequence = 65534;
  for (unsigned n = 0; n < 3; ++n) add_record(*image, n, call(n));
  EXPECT_EQ(image->node[0].sequence, 65534);
  EXPECT_EQ(image->node[1].sequence, 0);
  EXPECT_EQ(image->node[2].sequence, 1);
  EXPECT_EQ(image->header.next_sequence, 2);
}

TEST(CallLogImage, AReleasedNodeIsTheLastFreeOneAndCleared) {
  Image image = image_of({0, 0, 0});
  const capi_call_log_statistics statistics = image->node[1].statistics;
  release_node(*image, 0, 1, LoneFreeNode::LinksItself);
  const capi_call_log_record& node = image->node[1];
  EXPECT_EQ(node.calltype, 0xFFFFFFFF);
  EXPECT_EQ(node.prev, 299);
  EXPECT_EQ(node.next, 0xFFFF);
  EXPECT_EQ(node.index, 1);
  EXPECT_EQ(node.endpt, 0);
  EXPECT_EQ(node.calltimestart + node.calltimeconnect + node.calltimeend, 0u);
  EXPECT_EQ(std::string(node.displayname, 64), std::string(64, '\0'));
  EXPECT_EQ(std::string(node.number, 64), std::string(64, '\0'));
  EXPECT_EQ(node.sequence, 1);
  EXPECT_EQ(node.all_prev, 0xFFFF);
  EXPECT_EQ(node.all_next, 0xFFFF);
  EXPECT_EQ(memcmp(&node.statistics, &statistics, sizeof statistics), 0);
  EXPECT_EQ(image->header.free.tail, 1);
  EXPECT_EQ(image->node[299].next, 1);
  EXPECT_EQ(image->header.free.count, 298);
  EXPECT_EQ(image->header.used.count, 2);
}

TEST(CallLogImage, ANodeIsReleasedFromEitherEndAndFromTheMiddle) {
  for (const unsigned gone : {0u, 1u, 2u}) {
    Image image = image_of({2, 2, 2});
    Numbers rest{0, 1, 2};
    rest.erase(rest.begin() + gone);
    release_node(*image, 2, gone, LoneFreeNode::LinksItself);
    const capi_call_log_list& list = image->header.entry[2].list;
    EXPECT_EQ(numbers(*image, list, kOwnList), rest);
    EXPECT_EQ(numbers(*image, image->header.used, kAllEntries), rest);
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(fault_of(*image), ImageFault::None);
  }
}

TEST(CallLogImage, TheOtherOfTwoEntriesIsBothEnds) {
  for (const unsigned gone : {0u, 1u}) {
    const uint16_t rest = gone == 0 ? 1 : 0;
    Image image = image_of({2, 2});
    release_node(*image, 2, gone, LoneFreeNode::LinksItself);
    for (const capi_call_log_list& list : {image->header.entry[2].list, image->header.used}) {
      EXPECT_EQ(list.count, 1);
      EXPECT_EQ(list.head, rest);
      EXPECT_EQ(list.tail, rest);
    }
    EXPECT_EQ(fault_of(*image), ImageFault::None);
  }
}

TEST(CallLogImage, TheLastEntryLeavesEmptyLists) {
  Image image = image_of({1});
  release_node(*image, 1, 0, LoneFreeNode::LinksItself);
  for (const capi_call_log_list& list : {image->header.entry[1].list, image->header.used}) {
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.head, 0xFFFF);
    EXPECT_EQ(list.tail, 0xFFFF);
  }
  EXPECT_EQ(image->header.free.count, 300);
  EXPECT_EQ(fault_of(*image), ImageFault::None);
}

TEST(CallLogImage, ALoneFreeNodeLinksItselfAndFailsTheCheck) {
  Image image = full_image();
  ASSERT_EQ(image->header.free.head, 0xFFFF);
  release_node(*image, 0, 3, LoneFreeNode::LinksItself);
  EXPECT_EQ(image->header.free.head, 3);
  EXPECT_EQ(image->header.free.tail, 3);
  EXPECT_EQ(image->node[3].prev, 3);
  EXPECT_EQ(fault_of(*image), ImageFault::FreeList);
}

TEST(CallLogImage, ALoneFreeNodeThatLinksNowherePassesTheCheck) {
  Image image = full_image();
  release_node(*image, 0, 3, LoneFreeNode::LinksNowhere);
  EXPECT_EQ(image->header.free.head, 3);
  EXPECT_EQ(image->node[3].prev, 0xFFFF);
  EXPECT_EQ(fault_of(*image), ImageFault::None);
}

TEST(CallLogImage, CountsDoNotGoBelowZero) {
  Image image = image_of({0, 0, 0});
  release_node(*image, 1, 1, LoneFreeNode::LinksItself);  // not an entry of type 1
  EXPECT_EQ(image->header.entry[1].list.count, 0);
  image->header.used.count = 0;
  image->header.entry[0].list.count = 0;
  release_node(*image, 0, 0, LoneFreeNode::LinksItself);
  EXPECT_EQ(image->header.entry[0].list.count, 0);
  EXPECT_EQ(image->header.used.count, 0);
}

TEST(CallLogImage, AnEmptyFreeListIsKnownByItsTail) {
  Image image = full_image();
  image->header.free.count = 5;  // a count does not make a list
  release_node(*image, 0, 3, LoneFreeNode::LinksItself);
  EXPECT_EQ(image->header.free.head, 3);
  EXPECT_EQ(image->header.free.tail, 3);
  EXPECT_EQ(image->node[3].prev, 3);
  EXPECT_EQ(image->header.free.count, 6);
}

struct Breach {
  const char* what;
  std::function<void(capi_call_log_image&)> damage;
  ImageFault fault;
  unsigned type;
};

TEST(CallLogImage, EveryBreachOfAnInvariantIsFound) {
  using I = capi_call_log_image;
  // Entries of types 0, 1, 2 in nodes 0 to 8 in turn; the free list runs from 9 to 299.
  const Breach breaches[] = {
      {"free count", [](I& i) { i.header.free.count = 301; }, ImageFault::Counts, 0},
      {"used count", [](I& i) { i.header.used.count = 301; }, ImageFault::Counts, 0},
      {"free head", [](I& i) { i.header.free.head = 300; }, ImageFault::FreeList, 0},
      {"free tail", [](I& i) { i.header.free.tail = 0xFFFF; }, ImageFault::FreeList, 0},
      {"free next", [](I& i) { i.node[100].next = 300; }, ImageFault::FreeList, 0},
      {"free prev", [](I& i) { i.node[100].prev = 300; }, ImageFault::FreeList, 0},
      {"free last next", [](I& i) { i.node[299].next = 9; }, ImageFault::FreeList, 0},
      {"free first prev", [](I& i) { i.node[9].prev = 299; }, ImageFault::FreeList, 0},
      {"free tail early", [](I& i) { i.node[100].next = 299; }, ImageFault::FreeList, 0},
      {"free head early", [](I& i) { i.node[200].prev = 9; }, ImageFault::FreeList, 0},
      {"free one too many", [](I& i) { ++i.header.free.count; }, ImageFault::FreeList, 0},
      {"used head", [](I& i) { i.header.used.head = 0xFFFF; }, ImageFault::AllEntries, 0},
      {"used tail", [](I& i) { i.header.used.tail = 300; }, ImageFault::AllEntries, 0},
      {"all next", [](I& i) { i.node[4].all_next = 300; }, ImageFault::AllEntries, 0},
      {"all prev", [](I& i) { i.node[4].all_prev = 300; }, ImageFault::AllEntries, 0},
      {"all last next", [](I& i) { i.node[8].all_next = 0; }, ImageFault::AllEntries, 0},
      {"all first prev", [](I& i) { i.node[0].all_prev = 8; }, ImageFault::AllEntries, 0},
      {"all tail early", [](I& i) { i.node[3].all_next = 8; }, ImageFault::AllEntries, 0},
      {"all one too many", [](I& i) { ++i.header.used.count; }, ImageFault::AllEntries, 0},
      {"type count", [](I& i) { i.header.entry[1].list.count = 101; }, ImageFault::Counts, 1},
      {"type 0 head", [](I& i) { i.header.entry[0].list.head = 300; }, ImageFault::TypeList, 0},
      {"type 1 tail", [](I& i) { i.header.entry[1].list.tail = 300; }, ImageFault::TypeList, 1},
      {"type 2 next", [](I& i) { i.node[5].next = 300; }, ImageFault::TypeList, 2},
      {"type 0 prev", [](I& i) { i.node[3].prev = 300; }, ImageFault::TypeList, 0},
      {"type 1 last next", [](I& i) { i.node[7].next = 1; }, ImageFault::TypeList, 1},
      {"type 2 first prev", [](I& i) { i.node[2].prev = 8; }, ImageFault::TypeList, 2},
      {"type 0 early tail", [](I& i) { i.node[0].next = 6; }, ImageFault::TypeList, 0},
      {"type 1 too many", [](I& i) { ++i.header.entry[1].list.count; }, ImageFault::TypeList, 1},
  };
  for (const Breach& breach : breaches) {
    Image image = image_of({0, 1, 2, 0, 1, 2, 0, 1, 2});
    ASSERT_EQ(fault_of(*image), ImageFault::None);
    breach.damage(*image);
    EXPECT_EQ(check(*image).fault, breach.fault) << breach.what;
    EXPECT_EQ(check(*image).type, breach.type) << breach.what;
  }
}

TEST(CallLogImage, TheCheckLooksAtNothingElse) {
  Image image = image_of({0, 0, 0});
  image->header.free.count = 7;  // the counts need not add up, nor a walk meet the far end
  image->header.free.tail = 290;
  image->node[290].prev = 280;
  image->node[1].calltype = 2;
  image->node[1].index = 77;
  image->header.log_ver = 0;
  image->header.entry[2].list = {0, 400, 400};  // an empty list has no ends
  EXPECT_EQ(fault_of(*image), ImageFault::None);
}

// The check, as its rules are worded: each list forwards, then backwards.
bool can_be_walked(const capi_call_log_image& image, const capi_call_log_list& list,
                   const Direction& way) {
  unsigned index = list.*way.first;
  for (unsigned step = 1; step <= list.count; ++step) {
    if (index >= 300) return false;
    const unsigned next = image.node[index].*way.next;
    if (index == list.*way.last && (step < list.count || next != 0xFFFF)) return false;
    index = next;
  }
  return true;
}

bool can_be_walked_both_ways(const capi_call_log_image& image, const capi_call_log_list& list,
                             const Direction& way) {
  return can_be_walked(image, list, way) && can_be_walked(image, list, way.reversed());
}

CheckResult check_as_worded(const capi_call_log_image& image) {
  const capi_call_log_header& header = image.header;
  if (header.free.count > 300 || header.used.count > 300) return {ImageFault::Counts, 0};
  if (!can_be_walked_both_ways(image, header.free, kOwnList)) return {ImageFault::FreeList, 0};
  if (!can_be_walked_both_ways(image, header.used, kAllEntries)) return {ImageFault::AllEntries, 0};
  for (unsigned type = 0; type < 3; ++type) {
    const capi_call_log_list& list = header.entry[type].list;
    if (list.count > 100) return {ImageFault::Counts, type};
    if (!can_be_walked_both_ways(image, list, kOwnList)) return {ImageFault::TypeList, type};
  }
  return {ImageFault::None, 0};
}

TEST(CallLogImage, DamageIsJudgedByTheRulesAsWorded) {
  std::mt19937 random(8);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  unsigned damaged_but_sound = 0;
  for (int round = 0; round < 4000; ++round) {
    Image image = empty_image();
    const unsigned calls = below(40);
    for (unsigned n = 0; n < calls; ++n) {
      const unsigned type = below(3);
      if (below(3) > 0) {
        add_record(*image, type, call(n));
      } else if (is_node(image->header.entry[type].list.head)) {
        release_node(*image, type, image->header.entry[type].list.head, LoneFreeNode::LinksNowhere);
      }
    }
    const unsigned breaches = below(3);
    for (unsigned i = 0; i < breaches; ++i) {
      const auto value = static_cast<uint16_t>(below(8) == 0 ? 0xFFFF : below(303));
      capi_call_log_record& node = image->node[below(60)];
      uint16_t* links[] = {&node.prev, &node.next, &node.all_prev, &node.all_next};
      if (below(3) > 0) {
        *links[below(4)] = value;
      } else {
        reinterpret_cast<uint16_t*>(&image->header)[below(22)] =
            static_cast<uint16_t>(below(2) == 0 ? below(12) : value);
      }
    }
    const CheckResult expected = check_as_worded(*image);
    const CheckResult found = check(*image);
    ASSERT_EQ(found.fault, expected.fault) << round;
    ASSERT_EQ(found.type, expected.type) << round;
    if (breaches > 0 && found.fault == ImageFault::None) ++damaged_but_sound;
  }
  EXPECT_GT(damaged_but_sound, 100u) << "links that the check does not look at, short counts";
}

TEST(CallLogImage, OperationsOnWhatIsNoNodeOrTypeChangeNothing) {
  Image image = image_of({0, 1});
  const std::string before = bytes_of(*image);
  release_node(*image, 0, 300, LoneFreeNode::LinksItself);
  release_node(*image, 3, 0, LoneFreeNode::LinksItself);
  add_record(*image, 3, call(0));
  EXPECT_EQ(bytes_of(*image), before);
  image->header.free.head = 0xFFFF;
  const std::string without_free = bytes_of(*image);
  add_record(*image, 0, call(0));
  EXPECT_EQ(bytes_of(*image), without_free);
}

// The sanitizers watch.
TEST(CallLogImage, AnyBytesAreSurvived) {
  std::mt19937 random(4);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  Image image = empty_image();
  for (int round = 0; round < 300; ++round) {
    auto* words = reinterpret_cast<uint16_t*>(image.get());
    for (size_t i = 0; i < sizeof *image / 2; ++i) {
      words[i] = static_cast<uint16_t>(below(4) == 0 ? random() : below(310));
    }
    for (int step = 0; step < 20; ++step) {
      check(*image);
      release_node(*image, below(4), below(320), static_cast<LoneFreeNode>(below(2)));
      add_record(*image, below(4), image->node[below(300)]);
    }
  }
}

}  // namespace
}  // namespace capi::test
