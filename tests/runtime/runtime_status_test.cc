// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <climits>
#include <ctime>

#include "capi/runtime.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

class RuntimeStatusTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  static capi_line_reg_stat read(int line, int stack) {
    capi_line_reg_stat stat;
    memset(&stat, '~', sizeof stat);
    EXPECT_EQ(capi_get_runtime_line_reg_stat(line, &stat, stack), 0);
    return stat;
  }

  // What readers see of this.
  static capi_line_reg_stat published(capi_line_reg_stat stat) {
    EXPECT_EQ(capi_set_runtime_line_reg_stat(1, &stat, 3), 0);
    return read(1, 3);
  }

  static Answer phone(int line, int len = 200) {
    return ask([&](char* buf,
                   int size) { return capi_get_runtime_line_phone_phy_status(line, buf, size); },
               len);
  }

  static capi_line_reg_stat registered(int32_t since) {
    capi_line_reg_stat stat{};
    stat.registered = 1;
    stat.reg_time = since;
    return stat;
  }

  static capi_line_reg_stat unregistered(int32_t from, int32_t to) {
    capi_line_reg_stat stat{};
    stat.reg_time = from;
    stat.unreg_time = to;
    return stat;
  }
};

std::string magic(const capi_line_reg_stat& stat) { return std::string(stat.magic, 4); }

TEST_F(RuntimeStatusTest, WhatWasNeverPublishedIsANetworkFailure) {
  capi_line_reg_stat expected{};
  expected.fail_reason = 2;
  strcpy(expected.status_text, "Unregistered");
  strcpy(expected.reason_text, "Network Failure");
  memcpy(expected.magic, "SGER", 4);
  const capi_line_reg_stat stat = read(0, 0);
  EXPECT_EQ(memcmp(&stat, &expected, sizeof stat), 0);
}

TEST_F(RuntimeStatusTest, WhatIsPublishedIsKeptAndStamped) {
  capi_line_reg_stat stat{};
  stat.publisher1 = 11;
  stat.unreg_time = 12;
  stat.publisher2[2] = 13;
  stat.publisher3[0] = 14;
  strcpy(stat.status_text, "the publisher's");
  EXPECT_EQ(capi_set_runtime_line_reg_stat(1, &stat, 4), 0);
  EXPECT_EQ(magic(stat), "SGER");
  EXPECT_EQ(memcmp(&segment().reg_stat[4][1], &stat, sizeof stat), 0);

  const capi_line_reg_stat seen = read(1, 4);
  EXPECT_EQ(seen.publisher1, 11);
  EXPECT_EQ(seen.unreg_time, 12);
  EXPECT_EQ(seen.publisher2[2], 13);
  EXPECT_EQ(seen.publisher3[0], 14);
  EXPECT_STREQ(seen.status_text, "Unregistered");
  EXPECT_STREQ(segment().reg_stat[4][1].status_text, "the publisher's");  // reading changes nothing
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(RuntimeStatusTest, EveryLineOfEveryStackHasItsOwnPlace) {
  for (int stack = 0; stack < 5; ++stack) {
    for (int line = 0; line < 2; ++line) {
      capi_line_reg_stat stat{};
      stat.publisher1 = stack * 10 + line;
      EXPECT_EQ(capi_set_runtime_line_reg_stat(line, &stat, stack), 0);
    }
  }
  for (int stack = 0; stack < 5; ++stack) {
    for (int line = 0; line < 2; ++line) {
      EXPECT_EQ(read(line, stack).publisher1, stack * 10 + line);
      int32_t stored = 0;
      memcpy(&stored, reinterpret_cast<char*>(&segment()) + 21480 + (stack * 2 + line) * 184 + 4,
             4);
      EXPECT_EQ(stored, stack * 10 + line);
    }
  }
}

TEST_F(RuntimeStatusTest, ARegistrationLastsUntilNow) {
  const auto before = static_cast<int32_t>(time(nullptr));
  const capi_line_reg_stat stat = published(registered(before - 100));
  const auto after = static_cast<int32_t>(time(nullptr));
  EXPECT_GE(stat.reg_duration, 100);
  EXPECT_LE(stat.reg_duration, 100 + after - before);
  EXPECT_STREQ(stat.status_text, "Registered");
  EXPECT_EQ(published(registered(0)).reg_duration, 0);
  EXPECT_EQ(published(registered(INT32_MAX)).reg_duration, 0);  // the clock was set back
  EXPECT_EQ(published(registered(INT32_MIN)).reg_duration, INT32_MAX);
}

TEST_F(RuntimeStatusTest, TheLastRegistrationHadALength) {
  EXPECT_EQ(published(unregistered(1000, 1600)).reg_duration, 600);
  EXPECT_EQ(published(unregistered(1600, 1000)).reg_duration, 0);
  EXPECT_EQ(published(unregistered(0, 1000)).reg_duration, 1000);
  EXPECT_EQ(published(unregistered(INT32_MIN, INT32_MAX)).reg_duration, INT32_MAX);
  EXPECT_EQ(published(unregistered(INT32_MAX, INT32_MIN)).reg_duration, 0);
}

TEST_F(RuntimeStatusTest, AnyValueButZeroIsRegistered) {
  capi_line_reg_stat stat = registered(0);
  stat.registered = -1;
  EXPECT_STREQ(published(stat).status_text, "Registered");
}

TEST_F(RuntimeStatusTest, ReasonsHaveTexts) {
  const auto reason = [](int32_t fail_reason) -> std::string {
    capi_line_reg_stat stat{};
    stat.fail_reason = fail_reason;
    memset(stat.reason_text, 'x', sizeof stat.reason_text);
    const capi_line_reg_stat seen = published(stat);
    return std::string(seen.reason_text, sizeof seen.reason_text).c_str();
  };
  EXPECT_EQ(reason(0), "");
  EXPECT_EQ(reason(1), "Sim Card Not Ready");
  EXPECT_EQ(reason(2), "Network Failure");
  EXPECT_EQ(reason(3), "Server Unreachable");
  EXPECT_EQ(reason(4), "Server Rejected");
  EXPECT_EQ(reason(5), "");
  EXPECT_EQ(reason(-1), "");
  EXPECT_EQ(reason(INT32_MAX), "");
}

TEST_F(RuntimeStatusTest, APositiveDetailCodeIsShown) {
  const auto detail = [](int32_t code) -> std::string {
    capi_line_reg_stat stat{};
    stat.detail_code = code;
    memset(stat.detail_text, 'x', sizeof stat.detail_text);
    const capi_line_reg_stat seen = published(stat);
    return std::string(seen.detail_text, sizeof seen.detail_text).c_str();
  };
  EXPECT_EQ(detail(503), "503");
  EXPECT_EQ(detail(1), "1");
  EXPECT_EQ(detail(INT32_MAX), "2147483647");
  EXPECT_EQ(detail(0), "");
  EXPECT_EQ(detail(-1), "");
}

TEST_F(RuntimeStatusTest, TheCircuitSwitchedStatusIsCopied) {
  const capi_line_cs_reg_stat stat{{1, -2, 3, INT32_MIN, 5}};
  capi_line_cs_reg_stat seen{};
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(1, &stat), 0);
  EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(1, &seen), 0);
  EXPECT_EQ(memcmp(&seen, &stat, sizeof stat), 0);
  EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(0, &seen), 0);
  EXPECT_EQ(seen.value[0], 0);
}

TEST_F(RuntimeStatusTest, ThePhoneStatusIsAText) {
  EXPECT_EQ(phone(0), (Answer{0, "Unknown"}));
  EXPECT_EQ(phone(0, 4), (Answer{0, "Unk"}));
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, "Off-hook"), 0);
  EXPECT_EQ(phone(0), (Answer{0, "Off-hook"}));
  EXPECT_EQ(phone(0, 4), (Answer{0, "Off"}));
  EXPECT_EQ(phone(0, 1), (Answer{0, ""}));
  EXPECT_EQ(phone(0, 0), (Answer{0, ""}));
  EXPECT_EQ(phone(0, -1), (Answer{0, ""}));
  EXPECT_EQ(phone(1), (Answer{0, "Unknown"}));
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, ""), 0);
  EXPECT_EQ(phone(0), (Answer{0, "Unknown"}));
}

TEST_F(RuntimeStatusTest, APhoneStatusThatIsTooLongIsCut) {
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, std::string(127, 'p').c_str()), 0);
  EXPECT_EQ(phone(0), (Answer{0, std::string(127, 'p')}));
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, std::string(5000, 'q').c_str()), 0);
  EXPECT_EQ(phone(0), (Answer{0, std::string(127, 'q')}));
  EXPECT_EQ(phone(1), (Answer{0, "Unknown"}));
  memset(segment().phone_phy_status[1], 'r', 128);
  EXPECT_EQ(phone(1), (Answer{0, std::string(128, 'r')}));
}

TEST_F(RuntimeStatusTest, LinesAndStacksOutOfRangeFail) {
  capi_line_reg_stat stat{};
  capi_line_cs_reg_stat cs{};
  char text[8] = "text";
  EXPECT_EQ(capi_get_runtime_line_reg_stat(2, &stat, 0), -1);
  EXPECT_EQ(capi_get_runtime_line_reg_stat(1, &stat, 5), -1);
  EXPECT_EQ(capi_get_runtime_line_reg_stat(-1, &stat, 0), -1);
  EXPECT_EQ(capi_get_runtime_line_reg_stat(0, &stat, -1), -1);
  EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(2, &cs), -1);
  EXPECT_EQ(capi_get_runtime_line_phone_phy_status(2, text, sizeof text), -1);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(capi_set_runtime_line_reg_stat(2, &stat, 0), -1);
  EXPECT_EQ(capi_set_runtime_line_reg_stat(0, &stat, 5), -1);
  EXPECT_EQ(capi_set_runtime_line_reg_stat(INT_MIN, &stat, INT_MIN), -1);
  EXPECT_EQ(magic(stat), std::string(4, '\0'));
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(2, &cs), -1);
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(-1, "text"), -1);
  const char get_reg[] = "capi_get_runtime_line_reg_stat";
  const char set_reg[] = "capi_set_runtime_line_reg_stat";
  EXPECT_EQ(
      captured_log(),
      lines({{kLogNotice, get_reg, "Can't get line index-2 reg status, error!"},
             {kLogNotice, get_reg, "Can't get line index-1 reg status, error!"},
             {kLogNotice, get_reg, "Can't get line index--1 reg status, error!"},
             {kLogNotice, get_reg, "Can't get line index-0 reg status, error!"},
             {kLogNotice, "capi_get_runtime_line_cs_reg_stat",
              "Can't get line index-2 reg status, error!"},
             {kLogNotice, "capi_get_runtime_line_phone_phy_status",
              "Can't get line index-2 phone phy status, error!"},
             {kLogWarning, set_reg, "line index-2, error!"},
             {kLogWarning, set_reg, "line index-0, error!"},
             {kLogWarning, set_reg, "line index--2147483648, error!"},
             {kLogWarning, "capi_set_runtime_line_cs_reg_stat", "line index-2, error!"},
             {kLogWarning, "capi_set_runtime_line_phone_phy_status", "line index--1, error!"}}));
}

TEST_F(RuntimeStatusTest, NullFails) {
  EXPECT_EQ(capi_get_runtime_line_reg_stat(0, nullptr, 0), -1);
  EXPECT_EQ(capi_set_runtime_line_reg_stat(0, nullptr, 0), -1);
  EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(0, nullptr), -1);
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(0, nullptr), -1);
  EXPECT_EQ(capi_get_runtime_line_phone_phy_status(0, nullptr, 10), -1);
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, nullptr), -1);
  EXPECT_EQ(captured_log().size(), 6u);
}

TEST_F(RuntimeStatusTest, WithoutASegmentEverythingFails) {
  capi_uninit();
  capi_line_reg_stat stat{};
  capi_line_cs_reg_stat cs{};
  EXPECT_EQ(capi_get_runtime_line_reg_stat(0, &stat, 0), -1);
  EXPECT_EQ(capi_set_runtime_line_reg_stat(0, &stat, 0), -1);
  EXPECT_EQ(capi_get_runtime_line_cs_reg_stat(0, &cs), -1);
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(0, &cs), -1);
  EXPECT_EQ(phone(0), (Answer{-1, ""}));
  EXPECT_EQ(capi_set_runtime_line_phone_phy_status(0, "text"), -1);
  EXPECT_EQ(captured_log().size(), 6u);
}

TEST_F(RuntimeStatusTest, TheBackendDoesNotLog) {
  capi_line_reg_stat stat{};
  capi_line_cs_reg_stat cs{};
  char text[8];
  EXPECT_EQ(capi_cfg_backend_get_runtime_line_reg_stat(2, &stat, 0), -1);
  EXPECT_EQ(capi_cfg_backend_set_runtime_line_reg_stat(2, &stat, 0), -1);
  EXPECT_EQ(capi_cfg_backend_get_runtime_line_cs_reg_stat(2, &cs), -1);
  EXPECT_EQ(capi_cfg_backend_set_runtime_line_cs_reg_stat(2, &cs), -1);
  EXPECT_EQ(capi_cfg_backend_get_runtime_line_phone_phy_status(2, text, sizeof text), -1);
  EXPECT_EQ(capi_cfg_backend_set_runtime_line_phone_phy_status(2, "text"), -1);
  EXPECT_EQ(captured_log().size(), 0u);
}

// ---- Callbacks ---------------------------------------------------------------------------------

struct Call {
  int line = -1;
  int stack = -1;
  int value = 0;
  int lock = -1;
  int position = -1;
  bool in_segment = false;
};

Call last_reg_call;
Call last_cs_call;

int on_reg_stat(int line, int stack, capi_line_reg_stat* stored) {
  last_reg_call = {line, stack, stored->publisher1, lock_value(0), -1, true};
  stored->publisher2[0] = 4711;  // what is handed over is the stored entry itself
  return -1;
}

int on_cs_reg_stat(int line, capi_line_cs_reg_stat* stored, cfg_shared_record* segment,
                   int position) {
  const bool in_segment =
      reinterpret_cast<char*>(segment) + position == reinterpret_cast<char*>(stored);
  last_cs_call = {line, -1, stored->value[0], lock_value(0), position, in_segment};
  return -1;
}

class RuntimeCallbackTest : public RuntimeStatusTest {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    last_reg_call = {};
    last_cs_call = {};
    const capi_callbacks callbacks{nullptr, on_cs_reg_stat, on_reg_stat};
    EXPECT_EQ(capi_init(&callbacks, 1, capture_log), 0);
    clear_log();
  }
};

TEST_F(RuntimeCallbackTest, TheRegistrationCallbackRunsInsideTheLock) {
  capi_line_reg_stat stat{};
  stat.publisher1 = 42;
  EXPECT_EQ(capi_set_runtime_line_reg_stat(1, &stat, 3), 0);
  EXPECT_EQ(last_reg_call.line, 1);
  EXPECT_EQ(last_reg_call.stack, 3);
  EXPECT_EQ(last_reg_call.value, 42);
  EXPECT_EQ(last_reg_call.lock, 0);
  EXPECT_EQ(read(1, 3).publisher2[0], 4711);
  EXPECT_EQ(last_cs_call.line, -1);
}

TEST_F(RuntimeCallbackTest, TheCircuitSwitchedCallbackRunsInsideTheLock) {
  const capi_line_cs_reg_stat stat{{7, 0, 0, 0, 0}};
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(1, &stat), 0);
  EXPECT_EQ(last_cs_call.line, 1);
  EXPECT_EQ(last_cs_call.value, 7);
  EXPECT_EQ(last_cs_call.lock, 0);
  EXPECT_EQ(last_cs_call.position, 21460);
  EXPECT_TRUE(last_cs_call.in_segment);
  EXPECT_EQ(last_reg_call.line, -1);
}

TEST_F(RuntimeCallbackTest, WhatIsRefusedIsNotAnnounced) {
  capi_line_reg_stat stat{};
  const capi_line_cs_reg_stat cs{};
  EXPECT_EQ(capi_set_runtime_line_reg_stat(2, &stat, 0), -1);
  EXPECT_EQ(capi_set_runtime_line_reg_stat(0, &stat, 5), -1);
  EXPECT_EQ(capi_set_runtime_line_cs_reg_stat(2, &cs), -1);
  EXPECT_EQ(last_reg_call.line, -1);
  EXPECT_EQ(last_cs_call.line, -1);
}

TEST_F(RuntimeCallbackTest, CallbacksRunInThePublishingProcessOnly) {
  in_other_process([] {
    capi_uninit();
    const capi_callbacks none{};
    EXPECT_EQ(capi_init(&none, 0, capture_log), 0);
    capi_line_reg_stat stat{};
    stat.publisher1 = 43;
    EXPECT_EQ(capi_set_runtime_line_reg_stat(0, &stat, 0), 0);
    EXPECT_EQ(last_reg_call.line, -1);
  });
  EXPECT_EQ(last_reg_call.line, -1);
  EXPECT_EQ(read(0, 0).publisher1, 43);
}

// ---- Several processes -------------------------------------------------------------------------

capi_line_reg_stat uniform(int32_t value) {
  capi_line_reg_stat stat{};
  stat.publisher1 = value;
  for (int32_t& field : stat.publisher2) field = value;
  for (int32_t& field : stat.publisher3) field = value;
  stat.detail_code = value;
  return stat;
}

bool is_uniform(const capi_line_reg_stat& stat) {
  const capi_line_reg_stat expected = uniform(stat.publisher1);
  return stat.detail_code == expected.detail_code &&
         memcmp(stat.publisher2, expected.publisher2, sizeof stat.publisher2) == 0 &&
         memcmp(stat.publisher3, expected.publisher3, sizeof stat.publisher3) == 0 &&
         std::string(stat.detail_text) == std::to_string(stat.publisher1);
}

TEST_F(RuntimeStatusTest, ReadersNeverSeeAHalfWrittenRecord) {
  constexpr int kRounds = 3000;
  capi_line_reg_stat first = uniform(1);
  ASSERT_EQ(capi_set_runtime_line_reg_stat(0, &first, 0), 0);
  const auto reader = [] {
    int torn = 0;
    int32_t last = 0;
    while (last < kRounds) {
      const capi_line_reg_stat stat = read(0, 0);
      if (!is_uniform(stat)) ++torn;
      EXPECT_GE(stat.publisher1, last);
      last = stat.publisher1;
    }
    EXPECT_EQ(torn, 0);
  };
  Process reader1(reader);
  Process reader2(reader);
  for (int32_t value = 2; value <= kRounds; ++value) {
    capi_line_reg_stat stat = uniform(value);
    ASSERT_EQ(capi_set_runtime_line_reg_stat(0, &stat, 0), 0);
  }
  EXPECT_TRUE(reader1.succeeded());
  EXPECT_TRUE(reader2.succeeded());
}

}  // namespace
}  // namespace capi::test
