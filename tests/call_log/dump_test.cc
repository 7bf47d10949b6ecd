// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/dump.h"

#include "call_log_test.h"

namespace capi::test {
namespace {

constexpr char kDump[] = "capi_voip_call_log_dump";
constexpr char kDumpAll[] = "capi_voip_call_log_dump_all";
constexpr char kRead[] = "_vkr_voip_read_call_log";
constexpr char kReadNode[] = "_vkr_voip_read_call_log_node";

using Numbers = std::vector<unsigned>;

int collect(const capi_call_log_record* record, void* user) {
  static_cast<Numbers*>(user)->push_back(number_of(*record));
  return -1;  // nobody looks at it
}

class CallLogDump : public CallLog {
 protected:
  Numbers dump(unsigned selector, int expected_result = 0) {
    Numbers numbers;
    EXPECT_EQ(capi_voip_call_log_dump(selector, collect, &numbers), expected_result);
    return numbers;
  }

  Numbers dump_all(int expected_result = 0) {
    Numbers numbers;
    EXPECT_EQ(capi_voip_call_log_dump_all(collect, &numbers), expected_result);
    return numbers;
  }
};

TEST_F(CallLogDump, DumpGoesFromTheNewestToTheOldest) {
  write_image(*image_of({0, 1, 2, 0, 1, 2}));
  EXPECT_EQ(dump(0), (Numbers{5, 4, 3, 2, 1, 0}));
  EXPECT_EQ(captured_log(), lines({}));
  EXPECT_EQ(posted().size(), 0u);
}

TEST_F(CallLogDump, SelectorsOneAndTwoAreCrossed) {
  write_image(*image_of({0, 1, 2, 0, 1, 2}));
  EXPECT_EQ(dump(1), (Numbers{4, 1}));
  EXPECT_EQ(dump(2), (Numbers{3, 0}));
  EXPECT_EQ(dump(3), (Numbers{5, 2}));
}

TEST_F(CallLogDump, DumpAllGoesFromTheOldestToTheNewest) {
  write_image(*image_of({0, 1, 2, 0, 1, 2}));
  EXPECT_EQ(dump_all(), (Numbers{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(captured_log(), lines({}));
  EXPECT_EQ(posted().size(), 0u);
}

TEST_F(CallLogDump, AFullLogIsDumpedWhole) {
  write_image(*full_image());
  const Numbers all = dump_all();
  ASSERT_EQ(all.size(), 300u);
  for (unsigned n = 0; n < 300; ++n) EXPECT_EQ(all[n], n);
  EXPECT_EQ(dump(0), Numbers(all.rbegin(), all.rend()));
  EXPECT_EQ(dump(3).size(), 100u);
}

TEST_F(CallLogDump, AnEmptyListDumpsNothing) {
  write_image(*empty_image());
  for (const unsigned selector : {0u, 1u, 2u, 3u}) EXPECT_EQ(dump(selector), Numbers{});
  EXPECT_EQ(dump_all(), Numbers{});
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogDump, AnotherSelectorReadsNothing) {
  EXPECT_EQ(dump(4, -1), Numbers{});
  EXPECT_EQ(dump(0xFFFFFFFF, -1), Numbers{});
  EXPECT_EQ(captured_log(), lines({})) << "the missing file is not even looked for";
}

TEST_F(CallLogDump, AMissingCallbackIsNotCalled) {
  write_image(*image_of({0, 1}));
  EXPECT_EQ(capi_voip_call_log_dump(0, nullptr, nullptr), 0);
  EXPECT_EQ(capi_voip_call_log_dump_all(nullptr, nullptr), 0);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogDump, ACallbackGetsTheWholeNode) {
  const Image image = image_of({0, 1, 2});
  write_image(*image);
  const auto compare = [](const capi_call_log_record* record, void* user) {
    const auto* expected = static_cast<const capi_call_log_image*>(user);
    EXPECT_EQ(memcmp(record, &expected->node[record->index], sizeof *record), 0);
    return 0;
  };
  EXPECT_EQ(capi_voip_call_log_dump(0, compare, image.get()), 0);
  EXPECT_EQ(capi_voip_call_log_dump_all(compare, image.get()), 0);
}

TEST_F(CallLogDump, ACallbackMayCallTheLibrary) {
  write_image(*image_of({0, 1, 2}));
  const auto remove = [](const capi_call_log_record* record, void*) {
    EXPECT_EQ(lock_value(CAPI_LOCK_CALL_LOG), 1);
    return capi_voip_delete_call_log_by_node(record->calltype, record->index);
  };
  EXPECT_EQ(capi_voip_call_log_dump(0, remove, nullptr), 0);
  EXPECT_EQ(read_image()->header.used.count, 0);
}

TEST_F(CallLogDump, AFileThatCannotBeReadIsReported) {
  const LogLine no_file{kLogWarning, kRead,
                        " can not read call log file /tmp/voip_call_log, error = No such file or "
                        "directory !"};
  EXPECT_EQ(dump(1, -1), Numbers{});
  EXPECT_EQ(dump_all(-1), Numbers{});
  EXPECT_EQ(captured_log(), lines({no_file,
                                   {kLogErr, kDump, "ERROR: capi_voip_read_call_log, result: -1"},
                                   no_file,
                                   {kLogWarning, kDumpAll, "Read call log failed"}}));
}

TEST_F(CallLogDump, ALackOfMemoryIsReported) {
  write_image(*image_of({0}));
  fail_call(Call::Malloc);
  EXPECT_EQ(dump(0, -1), Numbers{});
  fail_call(Call::Malloc);
  EXPECT_EQ(dump_all(-1), Numbers{});
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kDump, "Malloc failed"},
                                   {kLogWarning, kDumpAll, "Malloc failed"}}));
}

TEST_F(CallLogDump, ALinkToNoNodeEndsTheWalk) {
  const Image image = image_of({0, 1, 2});
  image->node[1].all_prev = 300;
  image->node[1].all_next = 400;
  Numbers numbers;
  dump_image(*image, 0, collect, &numbers);
  EXPECT_EQ(numbers, (Numbers{2, 1}));
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kReadNode, " check node index [300] error !"},
             {kLogErr, kDump, "ERROR: capi_voip_read_call_log_node, node_idx: 300, result: -1"}}));
  clear_log();
  numbers.clear();
  EXPECT_EQ(dump_whole_image(*image, collect, &numbers), -1);
  EXPECT_EQ(numbers, (Numbers{0, 1}));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kReadNode, " check node index [400] error !"},
                   {kLogWarning, kDumpAll, "capi_voip_read_call_log_node, node_idx: 400"}}));
}

TEST_F(CallLogDump, AWalkEndsAtTheFarEndAndWhereThereIsNoLink) {
  const Image image = image_of({0, 0, 0, 0});
  image->header.entry[0].list.head = 2;
  image->node[1].all_prev = kNoNode;
  image->node[2].all_next = kNoNode;
  Numbers numbers;
  dump_image(*image, 2, collect, &numbers);
  EXPECT_EQ(numbers, (Numbers{3, 2}));
  numbers.clear();
  dump_image(*image, 0, collect, &numbers);
  EXPECT_EQ(numbers, (Numbers{3, 2, 1}));
  numbers.clear();
  EXPECT_EQ(dump_whole_image(*image, collect, &numbers), 0);
  EXPECT_EQ(numbers, (Numbers{0, 1, 2}));
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogDump, NoDumpVisitsMoreNodesThanTheListCounts) {
  const Image image = image_of({0, 0, 0, 0});
  image->header.used.count = 2;
  image->header.entry[0].list.count = 2;
  write_image(*image);
  ASSERT_EQ(check(*image).fault, ImageFault::None) << "a walk need not meet its far end";
  EXPECT_EQ(dump(0), (Numbers{3, 2}));
  EXPECT_EQ(dump(2), (Numbers{3, 2}));
  EXPECT_EQ(dump_all(), (Numbers{0, 1}));
}

}  // namespace
}  // namespace capi::test
