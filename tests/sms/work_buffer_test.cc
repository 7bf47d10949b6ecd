// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/work_buffer.h"

#include <algorithm>

#include "sms_files.h"
#include "support/faults.h"

namespace capi::test {
namespace {

constexpr char kRequest[] = "_vkr_voip_sms_request_mem";
constexpr char kRelease[] = "_vkr_voip_sms_release_mem";

// Each test is a process of its own, which has not used the memory yet.
class SmsWorkBufferTest : public Adapter {
 protected:
  void TearDown() override {
    clear_faults();
    Adapter::TearDown();
  }
};

TEST_F(SmsWorkBufferTest, TheMemoryIsZeroAtFirstAndKeptFromThenOn) {
  uint8_t* memory = request_sms_memory(160332);
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(std::count(memory, memory + 160332, 0), 160332);
  memory[160331] = 7;
  release_sms_memory(memory);
  EXPECT_EQ(request_sms_memory(1), memory);
  EXPECT_EQ(memory[160331], 7);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsWorkBufferTest, ALargerSizeIsRefused) {
  EXPECT_EQ(request_sms_memory(160333), nullptr);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRequest, "too large memory: 160333"}}));
  EXPECT_NE(request_sms_memory(160332), nullptr);
}

TEST_F(SmsWorkBufferTest, ItIsHandedOutOnce) {
  const uint8_t* memory = request_sms_memory(1);
  EXPECT_EQ(request_sms_memory(1), nullptr);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRequest, "mem[0] is in use"}}));
  release_sms_memory(memory);
  EXPECT_EQ(request_sms_memory(1), memory);
}

TEST_F(SmsWorkBufferTest, WithoutMemoryTheNextRequestTriesAgain) {
  fail_call(Call::Malloc, 1, ENOMEM);
  EXPECT_EQ(request_sms_memory(1), nullptr);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRequest, "calloc failed!"}}));
  EXPECT_NE(request_sms_memory(1), nullptr);
}

TEST_F(SmsWorkBufferTest, NothingCanBeReleasedBeforeTheFirstRequest) {
  release_sms_memory(nullptr);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRelease, "mem is not initiated!"}}));
}

TEST_F(SmsWorkBufferTest, ItIsReleasedOnce) {
  const uint8_t* memory = request_sms_memory(1);
  release_sms_memory(memory);
  release_sms_memory(memory);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRelease, "mem is already freed!"}}));
}

TEST_F(SmsWorkBufferTest, AnotherAddressLeavesItInUse) {
  uint8_t* memory = request_sms_memory(1);
  release_sms_memory(memory + 1);
  char text[64];
  snprintf(text, sizeof text, "wrong mem ptr: %p %p", static_cast<void*>(memory),
           static_cast<void*>(memory + 1));
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRelease, text}}));
  EXPECT_EQ(request_sms_memory(1), nullptr);
}

TEST_F(SmsWorkBufferTest, AChildMayUseWhatItsParentUses) {
  uint8_t* memory = request_sms_memory(1);
  in_other_process([=] {
    EXPECT_EQ(request_sms_memory(1), memory);
    EXPECT_EQ(request_sms_memory(1), nullptr);
    release_sms_memory(memory);
    EXPECT_EQ(request_sms_memory(1), memory);
  });
  EXPECT_EQ(request_sms_memory(1), nullptr);
}

TEST_F(SmsWorkBufferTest, AScopeReleasesWhatItGot) {
  {
    SmsWorkBuffer buffer;
    EXPECT_NE(buffer.request(100, "somebody"), nullptr);
    SmsWorkBuffer second;
    clear_log();
    EXPECT_EQ(second.request(100, "somebody"), nullptr);
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kRequest, "mem[0] is in use"},
                                     {kLogWarning, "somebody", "calloc 100 failed!"}}));
  }
  EXPECT_NE(request_sms_memory(1), nullptr);
}

}  // namespace
}  // namespace capi::test
