// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What front ends of the call log share.
#include <gtest/gtest.h>

#include <cstring>

#include "support/adapter.h"
#include "tools/common/call_tables.h"

namespace capi::test {
namespace {

class StaleCall : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
    ASSERT_EQ(capi_voip_init_call_log_file(), 0);
    for (const char* number : {"1", "2"}) add(number);
  }

  static void add(const char* number, uint32_t start = 0) {
    capi_call_log_record call{};
    call.calltimestart = start;
    strcpy(call.number, number);
    ASSERT_EQ(capi_voip_add_call_log(0, &call), 0);
  }

  static std::string numbers() {
    std::string text;
    for (const capi_call_log_record& call : tools::read_calls()) text += call.number;
    return text;
  }
};

TEST_F(StaleCall, IsDeletedOnceWhoeverWasFaster) {
  const capi_call_log_record newest = tools::read_calls().front();
  EXPECT_TRUE(tools::delete_if_there(newest));
  EXPECT_TRUE(tools::delete_if_there(newest));
  EXPECT_EQ(numbers(), "1");
}

TEST_F(StaleCall, TakesNoOtherCallWithItThatHasItsNode) {
  const capi_call_log_record newest = tools::read_calls().front();
  ASSERT_EQ(capi_voip_delete_call_log_by_node(0, newest.index), 0);
  while (tools::read_calls().front().index != newest.index) add("3");
  const std::string before = numbers();
  EXPECT_TRUE(tools::delete_if_there(newest));
  EXPECT_EQ(numbers(), before);
}

TEST_F(StaleCall, TakesNoneWithItOfALogThatWasClearedMeanwhile) {
  const capi_call_log_record newest = tools::read_calls().front();
  ASSERT_EQ(capi_voip_clean_all_call_log(), 0);
  for (const char* number : {"3", "4"}) add(number, 1795324200);
  ASSERT_EQ(tools::read_calls().front().sequence, newest.sequence);
  ASSERT_EQ(tools::read_calls().front().index, newest.index);
  EXPECT_TRUE(tools::delete_if_there(newest));
  EXPECT_EQ(numbers(), "43");
}

}  // namespace
}  // namespace capi::test
