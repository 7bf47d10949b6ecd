// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>

#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordAccessTest : public Adapter {};

// A record whose every byte is "byte".
template <typename Record>
Record filled(char byte) {
  Record record;
  memset(&record, byte, sizeof record);
  return record;
}

template <typename Record>
bool equal(const Record& a, const Record& b) {
  return memcmp(&a, &b, sizeof a) == 0;
}

// A public getter or setter and where its record stands. Numbered ones also take an index.
template <typename Record>
struct Plain {
  const char* name;
  int (*get)(Record*);
  int (*backend_get)(Record*);
  int (*set)(const Record*);
  int (*backend_set)(const Record*);
  Record cfg_shared_record::*member;
  const char* get_message;
  const char* set_message;  // null where the setter does not log
};

template <typename Record, int Count>
struct Numbered {
  const char* name;
  int (*get)(Record*, int);
  int (*backend_get)(Record*, int);
  int (*set)(const Record*, int);
  int (*backend_set)(const Record*, int);
  Record (cfg_shared_record::*member)[Count];
  const char* get_message;  // in front of and behind the index
  const char* get_message_end;
  bool set_logs;
};

// Calls "test" with every accessor of a record without an index.
template <typename Test>
void for_each_plain(const Test& test) {
  using R = cfg_shared_record;
  test(Plain<capi_voice_basic>{"voice_basic", capi_get_voice_basic,
                               capi_cfg_backend_get_voice_basic, capi_set_voice_basic,
                               capi_cfg_backend_set_voice_basic, &R::voice_basic,
                               "retrieve basic sip configuration of voice failure!", nullptr});
  test(Plain<capi_voice_parameter>{"voice_parameter", capi_get_voice_parameter,
                                   capi_cfg_backend_get_voice_parameter, capi_set_voice_parameter,
                                   capi_cfg_backend_set_voice_parameter, &R::voice_parameter,
                                   "retrieve voice parameter configuration failure!", " error"});
  test(Plain<capi_slic_parameter>{"slic_parameter", capi_get_slic_parameter,
                                  capi_cfg_backend_get_slic_parameter, capi_set_slic_parameter,
                                  capi_cfg_backend_set_slic_parameter, &R::slic_parameter,
                                  "retrieve slic parameter configuration failure!", " error"});
  test(Plain<capi_voice_speed_dial>{
      "voice_speed_dial", capi_get_voice_speed_dial, capi_cfg_backend_get_voice_speed_dial,
      capi_set_voice_speed_dial, capi_cfg_backend_set_voice_speed_dial, &R::speed_dial,
      "retrieve speed dial configuration of voice failure!", " error"});
  test(Plain<capi_voice_speed_dial30>{
      "voice_speed_dial30", capi_get_voice_speed_dial30, capi_cfg_backend_get_voice_speed_dial30,
      capi_set_voice_speed_dial30, capi_cfg_backend_set_voice_speed_dial30, &R::speed_dial30,
      "retrieve speed dial configuration of voice failure!", " error"});
  test(Plain<capi_voice_switch>{
      "voice_switch", capi_get_voice_switch, capi_cfg_backend_get_voice_switch, nullptr, nullptr,
      &R::voice_switch, "retrieve switch configuration of voice failure!", nullptr});
  test(Plain<capi_system_access>{
      "system_access", capi_get_system_access, capi_cfg_backend_get_system_access, nullptr, nullptr,
      &R::system_access, "retrieve system access configuration failure!", nullptr});
  test(Plain<capi_voice_call_white_list>{
      "voice_call_white_list", capi_get_voice_call_white_list,
      capi_cfg_backend_get_voice_call_white_list, nullptr, nullptr, &R::call_white_list,
      "retrieve call white list configuration of voice failure!", nullptr});
  test(Plain<capi_voice_call_redirection>{
      "voice_call_redirection", capi_get_voice_call_redirection,
      capi_cfg_backend_get_voice_call_redirection, nullptr, nullptr, &R::call_redirection,
      "retrieve call redirection configuration of voice failure!", nullptr});
  test(Plain<capi_voice_sms_cfg>{"voice_sms_cfg", capi_get_voice_sms_cfg,
                                 capi_cfg_backend_get_voice_sms_cfg, nullptr, nullptr, &R::sms_cfg,
                                 "retrieve sms configuration of voice failure!", nullptr});
}

template <typename Test>
void for_each_numbered(const Test& test) {
  using R = cfg_shared_record;
  test(Numbered<capi_voice_stack, 5>{"voice_stack", capi_get_voice_stack,
                                     capi_cfg_backend_get_voice_stack, capi_set_voice_stack,
                                     capi_cfg_backend_set_voice_stack, &R::voice_stack,
                                     "retrieve stack ", " configuration of voice failure!", false});
  test(Numbered<capi_voice_sip_line, 2>{
      "voice_sip_line", capi_get_voice_sip_line, capi_cfg_backend_get_voice_sip_line,
      capi_set_voice_sip_line, capi_cfg_backend_set_voice_sip_line, &R::sip_line,
      "retrieve sip line ", " configuration of voice failure!", true});
  test(Numbered<capi_voice_sip_line_feature, 2>{
      "voice_sip_line_feature", capi_get_voice_sip_line_feature,
      capi_cfg_backend_get_voice_sip_line_features, capi_set_voice_sip_line_feature,
      capi_cfg_backend_set_voice_sip_line_features, &R::sip_line_feature,
      "retrieve sip line feature ", " configuration of voice failure!", true});
  test(Numbered<capi_voice_call_forward, 2>{
      "voice_call_forward", nullptr, nullptr, capi_set_voice_call_forward,
      capi_cfg_backend_set_voice_call_forward, &R::call_forward, nullptr, nullptr, true});
}

TEST_F(RecordAccessTest, GettersCopyTheWholeRecord) {
  start_master();
  for_each_plain([&]<typename Record>(const Plain<Record>& access) {
    segment().*access.member = filled<Record>('s');
    for (auto* get : {access.get, access.backend_get}) {
      Record record = filled<Record>('x');
      EXPECT_EQ(get(&record), 0) << access.name;
      EXPECT_TRUE(equal(record, filled<Record>('s'))) << access.name;
    }
  });
  for_each_numbered([&]<typename Record, int Count>(const Numbered<Record, Count>& access) {
    for (int i = 1; access.get != nullptr && i <= Count; ++i) {
      (segment().*access.member)[i - 1] = filled<Record>(static_cast<char>('0' + i));
      for (auto* get : {access.get, access.backend_get}) {
        Record record = filled<Record>('x');
        EXPECT_EQ(get(&record, i), 0) << access.name;
        EXPECT_TRUE(equal(record, filled<Record>(static_cast<char>('0' + i)))) << access.name << i;
      }
    }
  });
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(RecordAccessTest, SettersStoreTheWholeRecordAndNothingElse) {
  start_master();
  for_each_plain([&]<typename Record>(const Plain<Record>& access) {
    if (access.set == nullptr) return;
    for (auto* set : {access.set, access.backend_set}) {
      cfg_shared_record expected = segment();
      const auto record = filled<Record>(set == access.set ? '1' : '2');
      expected.*access.member = record;
      EXPECT_EQ(set(&record), 0) << access.name;
      EXPECT_TRUE(equal(segment(), expected)) << access.name;
    }
  });
  for_each_numbered([&]<typename Record, int Count>(const Numbered<Record, Count>& access) {
    for (int i = 1; i <= Count; ++i) {
      for (auto* set : {access.set, access.backend_set}) {
        cfg_shared_record expected = segment();
        const auto record = filled<Record>(set == access.set ? '1' : '2');
        (expected.*access.member)[i - 1] = record;
        EXPECT_EQ(set(&record, i), 0) << access.name;
        EXPECT_TRUE(equal(segment(), expected)) << access.name;
      }
    }
  });
  EXPECT_THAT(captured_log(), IsEmpty());
  EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(RecordAccessTest, ARecordStoredByOneProcessIsSeenByAnother) {
  start_master();
  auto line = filled<capi_voice_sip_line>('l');
  in_client([&] { EXPECT_EQ(capi_set_voice_sip_line(&line, 2), 0); });
  capi_voice_sip_line seen{};
  EXPECT_EQ(capi_get_voice_sip_line(&seen, 2), 0);
  EXPECT_TRUE(equal(seen, line));
}

// What an accessor logs on -1; nothing for a null message.
void expect_logged(const char* kind, const char* name, const std::string* message) {
  if (message == nullptr) {
    EXPECT_THAT(captured_log(), IsEmpty()) << kind << name;
  } else {
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{kLogWarning, std::string(kind) + name, *message}));
  }
  clear_log();
}

// Every accessor fails, logs as it should and leaves the buffer.
void expect_plain_failures() {
  for_each_plain([]<typename Record>(const Plain<Record>& access) {
    Record record = filled<Record>('x');
    EXPECT_EQ(access.backend_get(&record), -1) << access.name;
    expect_logged("capi_get_", access.name, nullptr);
    EXPECT_EQ(access.get(&record), -1) << access.name;
    const std::string get_message = access.get_message;
    expect_logged("capi_get_", access.name, &get_message);
    EXPECT_TRUE(equal(record, filled<Record>('x'))) << access.name;
    if (access.set == nullptr) return;
    EXPECT_EQ(access.backend_set(&record), -1) << access.name;
    expect_logged("capi_set_", access.name, nullptr);
    EXPECT_EQ(access.set(&record), -1) << access.name;
    const std::string set_message = access.set_message != nullptr ? access.set_message : "";
    expect_logged("capi_set_", access.name, access.set_message != nullptr ? &set_message : nullptr);
  });
}

void expect_numbered_failures(int index) {
  for_each_numbered([&]<typename Record, int Count>(const Numbered<Record, Count>& access) {
    Record record = filled<Record>('x');
    const std::string number = std::to_string(index);
    if (access.get != nullptr) {
      EXPECT_EQ(access.backend_get(&record, index), -1) << access.name;
      expect_logged("capi_get_", access.name, nullptr);
      EXPECT_EQ(access.get(&record, index), -1) << access.name;
      const std::string message = access.get_message + number + access.get_message_end;
      expect_logged("capi_get_", access.name, &message);
      EXPECT_TRUE(equal(record, filled<Record>('x'))) << access.name;
    }
    EXPECT_EQ(access.backend_set(&record, index), -1) << access.name;
    expect_logged("capi_set_", access.name, nullptr);
    EXPECT_EQ(access.set(&record, index), -1) << access.name;
    const std::string message = " line index-" + number + ", error";
    expect_logged("capi_set_", access.name, access.set_logs ? &message : nullptr);
  });
}

TEST_F(RecordAccessTest, WithoutAContextEveryAccessFails) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  clear_log();
  expect_plain_failures();
  expect_numbered_failures(1);
}

TEST_F(RecordAccessTest, WithoutASegmentEveryAccessFails) {
  ASSERT_EQ(unlink(kToolPath), 0);
  start_master();
  expect_plain_failures();
  expect_numbered_failures(1);
}

TEST_F(RecordAccessTest, IndexesOutOfRangeAreRefused) {
  start_master();
  const cfg_shared_record before = segment();
  for (const int index : {0, -1, 6, INT32_MAX, INT32_MIN}) expect_numbered_failures(index);
  EXPECT_TRUE(equal(segment(), before));
}

TEST_F(RecordAccessTest, LinesEndAtTwoAndStacksAtFive) {
  start_master();
  capi_voice_sip_line line{};
  EXPECT_EQ(capi_get_voice_sip_line(&line, 3), -1);
  EXPECT_EQ(capi_set_voice_sip_line(&line, 3), -1);
  capi_voice_sip_line_feature feature{};
  EXPECT_EQ(capi_get_voice_sip_line_feature(&feature, 3), -1);
  EXPECT_EQ(capi_set_voice_sip_line_feature(&feature, 3), -1);
  capi_voice_call_forward forward{};
  EXPECT_EQ(capi_set_voice_call_forward(&forward, 3), -1);
  clear_log();
  capi_voice_stack stack{};
  EXPECT_EQ(capi_get_voice_stack(&stack, 6), -1);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogWarning, "capi_get_voice_stack",
                                  "retrieve stack 6 configuration of voice failure!"}));
}

TEST_F(RecordAccessTest, NullRecordsAreRefused) {
  start_master();
  for_each_plain([]<typename Record>(const Plain<Record>& access) {
    EXPECT_EQ(access.get(nullptr), -1) << access.name;
    if (access.set != nullptr) {
      EXPECT_EQ(access.set(nullptr), -1) << access.name;
    }
  });
  for_each_numbered([]<typename Record, int Count>(const Numbered<Record, Count>& access) {
    if (access.get != nullptr) {
      EXPECT_EQ(access.get(nullptr, 1), -1) << access.name;
    }
    EXPECT_EQ(access.set(nullptr, 1), -1) << access.name;
  });
}

TEST_F(RecordAccessTest, SixGettersAlwaysFail) {
  start_master();
  char buf[4096];
  memset(buf, 'x', sizeof buf);
  void* const record = buf;
  EXPECT_EQ(capi_get_voice_sip_registration(static_cast<capi_voice_sip_registration*>(record)), -1);
  EXPECT_EQ(capi_get_voice_sip_server(static_cast<capi_voice_sip_server*>(record)), -1);
  EXPECT_EQ(capi_get_voice_nat(static_cast<capi_voice_nat*>(record)), -1);
  EXPECT_EQ(capi_get_voice_call_block(static_cast<capi_voice_call_block*>(record)), -1);
  EXPECT_EQ(capi_get_voice_profile(record), -1);
  EXPECT_EQ(capi_get_voice_call_forward(static_cast<capi_voice_call_forward*>(record), 1), -1);
  EXPECT_EQ(capi_get_voice_call_forward(nullptr, 7), -1);
  EXPECT_THAT(buf, Each('x'));
  const auto line = [](const char* func, const char* text) {
    return LogLine{kLogWarning, func, text};
  };
  EXPECT_THAT(
      captured_log(),
      ElementsAre(
          line("capi_get_voice_sip_registration",
               "retrieve sip registration configuration of voice failure!"),
          line("capi_get_voice_sip_server", "retrieve sip server configuration of voice failure!"),
          line("capi_get_voice_nat", "retrieve sip nat configuration of voice failure!"),
          line("capi_get_voice_call_block", "retrieve call block configuration of voice failure!"),
          line("capi_get_voice_profile", "retrieve profile configuration of voice failure!"),
          line("capi_get_voice_call_forward",
               "retrieve call forward line 1 configuration of voice failure!"),
          line("capi_get_voice_call_forward",
               "retrieve call forward line 7 configuration of voice failure!")));
}

TEST_F(RecordAccessTest, AnUnsetEvsNumberStaysApartFromZero) {
  start_master();
  auto parameter = filled<capi_voice_parameter>(0);
  parameter.evs_dtx = CAPI_EVS_UNSET;
  EXPECT_EQ(capi_set_voice_parameter(&parameter), 0);
  capi_voice_parameter seen{};
  EXPECT_EQ(capi_get_voice_parameter(&seen), 0);
  EXPECT_EQ(seen.evs_dtx, -2);
  EXPECT_EQ(seen.evs_cmr, 0);
}

TEST_F(RecordAccessTest, ARecordIsNeverSeenHalfWritten) {
  start_master();
  auto record = filled<capi_voice_basic>('0');
  ASSERT_EQ(capi_set_voice_basic(&record), 0);
  Baton started;
  Process writer([&] {
    started.pass();
    for (int i = 0; i < 300; ++i) {
      const auto next = filled<capi_voice_basic>(i % 2 != 0 ? '0' : '1');
      EXPECT_EQ(capi_set_voice_basic(&next), 0);
    }
  });
  started.await();
  for (int i = 0; i < 300; ++i) {
    ASSERT_EQ(capi_get_voice_basic(&record), 0);
    ASSERT_TRUE(equal(record, filled<capi_voice_basic>('0')) ||
                equal(record, filled<capi_voice_basic>('1')));
  }
  EXPECT_TRUE(writer.succeeded());
}

}  // namespace
}  // namespace capi::test
