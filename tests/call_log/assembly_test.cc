// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/assembly.h"

#include "call_log_test.h"

namespace capi::test {
namespace {

constexpr char kFirst[] = "capi_voip_add_call_log1";
constexpr char kSecond[] = "capi_voip_add_call_log2";

class CallLogAssembly : public CallLog {
 protected:
  void SetUp() override {
    CallLog::SetUp();
    write_image(*empty_image());
  }

  static int first(unsigned type, unsigned n) {
    const auto record = call(n);
    return capi_voip_add_call_log1(type, &record);
  }

  static int second(unsigned n) {
    const auto record = call(n);
    return capi_voip_add_call_log2(&record);
  }

  // Call "description" with the statistics of another call.
  static void expect_added(unsigned description, unsigned statistics, unsigned type) {
    const Image expected = empty_image();
    auto record = call(description);
    record.statistics = call(statistics).statistics;
    add_record(*expected, type, record);
    EXPECT_EQ(bytes_of(*read_image()), bytes_of(*expected));
    EXPECT_EQ(posted(), (std::vector<std::string>{kUpdated}));
  }

  static void expect_nothing_added() {
    EXPECT_EQ(read_image()->header.used.count, 0);
    EXPECT_EQ(posted().size(), 0u);
  }
};

TEST_F(CallLogAssembly, DescriptionThenStatisticsAddACall) {
  EXPECT_EQ(first(2, 1), 0);
  expect_nothing_added();
  EXPECT_EQ(second(2), 0);
  expect_added(1, 2, 2);
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
}

TEST_F(CallLogAssembly, StatisticsThenDescriptionAddACall) {
  EXPECT_EQ(second(2), 0);
  expect_nothing_added();
  EXPECT_EQ(first(1, 1), 0);
  expect_added(1, 2, 1);
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
}

TEST_F(CallLogAssembly, AnotherDescriptionReplacesTheOneThatWaits) {
  EXPECT_EQ(first(0, 1), 0);
  EXPECT_EQ(first(1, 2), 0);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kFirst, "call_log_entry_body1 to be replaced!"}}));
  expect_nothing_added();
  EXPECT_EQ(second(3), 0);
  expect_added(2, 3, 1);
}

TEST_F(CallLogAssembly, OtherStatisticsReplaceThoseThatWait) {
  EXPECT_EQ(second(1), 0);
  EXPECT_EQ(second(2), 0);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kSecond, "call_log_entry_body2 to be replaced!"}}));
  expect_nothing_added();
  EXPECT_EQ(first(0, 3), 0);
  expect_added(3, 2, 0);
}

TEST_F(CallLogAssembly, AfterACallIsAddedNothingWaits) {
  EXPECT_EQ(first(0, 1), 0);
  EXPECT_EQ(second(1), 0);
  EXPECT_EQ(second(2), 0);
  EXPECT_EQ(first(0, 2), 0);
  EXPECT_EQ(first(0, 3), 0);
  EXPECT_EQ(captured_log(kLogInfo), lines({})) << "the last one replaces nothing";
  EXPECT_EQ(read_image()->header.used.count, 2);
  EXPECT_EQ(second(3), 0);
}

TEST_F(CallLogAssembly, NothingWaitsAfterAFailedAddEither) {
  ASSERT_EQ(capi_voip_delete_call_log_file(), 0);
  EXPECT_EQ(first(0, 1), 0);
  EXPECT_EQ(second(1), -1);
  EXPECT_EQ(second(2), 0);
  EXPECT_EQ(first(0, 2), -1);
  EXPECT_EQ(posted(), std::vector<std::string>(3, kUpdated));
  clear_log();
  EXPECT_EQ(first(0, 3), 0);
  EXPECT_EQ(captured_log(), lines({}));
  EXPECT_EQ(second(3), -1);
}

TEST_F(CallLogAssembly, ABadTypeIsNoticedWhenTheCallIsAdded) {
  EXPECT_EQ(first(3, 1), 0);
  EXPECT_EQ(second(1), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, "_vkr_voip_add_call_log", " invalid parameter call_type = 3"}}));
  EXPECT_EQ(posted().size(), 1u);
}

TEST_F(CallLogAssembly, AMissingHalfIsRefusedAndChangesNothing) {
  EXPECT_EQ(first(0, 1), 0);
  EXPECT_EQ(capi_voip_add_call_log1(1, nullptr), -1);
  EXPECT_EQ(capi_voip_add_call_log2(nullptr), -1);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kFirst, "Invalid NULL pointer"},
                                   {kLogWarning, kSecond, "Invalid NULL pointer"}}));
  expect_nothing_added();
  EXPECT_EQ(second(2), 0);
  expect_added(1, 2, 0);
}

TEST_F(CallLogAssembly, EachProcessPutsItsOwnCallsTogether) {
  Baton staged, go_on;
  Process other([&] {
    EXPECT_EQ(first(0, 1), 0);
    staged.pass();
    go_on.await();
    EXPECT_EQ(second(2), 0);
  });
  staged.await();
  EXPECT_EQ(second(3), 0) << "waits here, and does not complete the other's call";
  expect_nothing_added();
  go_on.pass();
  EXPECT_TRUE(other.succeeded());
  expect_added(1, 2, 0);
  EXPECT_EQ(first(0, 3), 0);
}

TEST_F(CallLogAssembly, AFlagThatIsNoneIsRefused) {
  CallAssembly assembly{};
  assembly.flag = 3;
  const auto add = [](unsigned, const capi_call_log_record*) {
    ADD_FAILURE() << "there is nothing to add";
    return 0;
  };
  EXPECT_EQ(take_description(assembly, 0, call(1), add), -1);
  EXPECT_EQ(take_statistics(assembly, call(1), add), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kFirst, "Invalid call_log_entry_body_flag 3 !"},
                   {kLogWarning, kSecond, "Invalid call_log_entry_body_flag 3 !"}}));
  EXPECT_EQ(assembly.flag, 3);
}

}  // namespace
}  // namespace capi::test
