// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "store_test.h"

namespace capi::test {
namespace {

constexpr char kUpdate[] = "capi_voip_sms_update";
constexpr char kDelete[] = "capi_voip_sms_del_by_id";

class SmsChangeTest : public SmsStoreTest {};

TEST_F(SmsChangeTest, UpdatingChangesThreeFieldsOfOneMessage) {
  put(sms_file({{}, {}, {}}, {.identity = 5, .imsi0 = "a", .imsi1 = "b"}));
  const capi_sms_record change = to_record({.id = 2,
                                            .text = "other",
                                            .status = 8,
                                            .is_read = 1,
                                            .begin_time = 1,
                                            .last_time = 99,
                                            .imsi = "x"});
  EXPECT_EQ(capi_voip_sms_update(CAPI_SMS_RECEIVED, &change), 0);
  EXPECT_EQ(read_file(kReceived), sms_file({{}, {.status = 8, .is_read = 1, .last_time = 99}, {}},
                                           {.identity = 5, .imsi0 = "a", .imsi1 = "b"}));
  EXPECT_EQ(captured_log().front(), (LogLine{kLogDebug, kUpdate, "update short message(id=2)"}));
  EXPECT_EQ(logged(), lines({}));
  EXPECT_EQ(count_calls(Call::Sync), 1);
}

TEST_F(SmsChangeTest, UpdatingAnUnknownIdWritesNothingAndStillTells) {
  const std::string file = add(CAPI_SMS_RECEIVED, {{}, {}});
  clear_faults();
  EXPECT_EQ(update(3), -1);
  EXPECT_EQ(count_calls(Call::Write), 0);
  EXPECT_EQ(logged(), lines({{kLogWarning, kUpdate, "not find the short message(id=3)"}}));
  EXPECT_EQ(read_file(kReceived), file);
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("3", "3")});
}

TEST_F(SmsChangeTest, UpdatingChangesTheFirstOfTwoOfTheSameId) {
  put(sms_file({{.id = 1}, {.id = 1}}));
  EXPECT_EQ(update(1), 0);
  const std::vector<Message> messages = messages_in(read_file(kReceived));
  EXPECT_EQ(messages[0].status, 5);
  EXPECT_EQ(messages[1].status, 1);
}

TEST_F(SmsChangeTest, AFailedWriteOfAnUpdateKeepsTheMessages) {
  for (const Call call : {Call::Write, Call::Fsync, Call::Rename}) {
    put(sms_file({{}, {}}));
    fail_call(call, 1);
    EXPECT_EQ(update(1), -1);
    EXPECT_EQ(read_file(kReceived), sms_file({{}, {}}));
  }
}

TEST_F(SmsChangeTest, DeletingRemovesOneMessage) {
  put(sms_file({{}, {}, {}}, {.identity = 5, .imsi0 = "a", .imsi1 = "b"}));
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 2), 0);
  EXPECT_EQ(read_file(kReceived),
            sms_file({{.id = 1}, {.id = 3}}, {.identity = 5, .imsi0 = "a", .imsi1 = "b"}));
  EXPECT_EQ(captured_log().front(), (LogLine{kLogDebug, kDelete, "del short message(id=2)"}));
  EXPECT_EQ(logged(), lines({}));
}

TEST_F(SmsChangeTest, AnIdIsNotUsedAgainAfterDeletion) {
  add(CAPI_SMS_RECEIVED, {{}, {}});
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 2), 0);
  EXPECT_EQ(ids_in(add(CAPI_SMS_RECEIVED, {{}})), (std::vector<uint64_t>{1, 3}));
}

TEST_F(SmsChangeTest, DeletingAnUnknownIdChangesNothing) {
  const std::string file = add(CAPI_SMS_RECEIVED, {{}, {}});
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 3), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kDelete, "not find the short message(id=3)"}}));
  EXPECT_EQ(read_file(kReceived), file);
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("2", "3")});
}

TEST_F(SmsChangeTest, AFailedWriteOfADeletionKeepsTheMessages) {
  const struct {
    Call call;
    int nth;
    const char* words;
  } cases[] = {{Call::Open, 2, "fopen /tmp/sm_recv failed, reason 5: Input/output error"},
               {Call::Write, 1, "fwrite failed, reason 5: Input/output error"},
               {Call::Fsync, 1, "fwrite failed, reason 5: Input/output error"},
               {Call::Rename, 1, "fwrite failed, reason 5: Input/output error"}};
  for (const auto& [call, nth, words] : cases) {
    put(sms_file({{}, {}}));
    fail_call(call, nth);  // the first file to be opened is the one that is read
    EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1), -1);
    EXPECT_EQ(logged(), lines({{kLogWarning, "_vkr_voip_sms_write_file", words}}));
    EXPECT_EQ(read_file(kReceived), sms_file({{}, {}}));
  }
}

TEST_F(SmsChangeTest, ChangingAMissingFileCreatesIt) {
  EXPECT_EQ(update(1), -1);
  EXPECT_EQ(logged(),
            lines({kNoStat, kCreated, {kLogWarning, kUpdate, "not find the short message(id=1)"}}));
  expect_empty_file();

  std::filesystem::remove(kReceived);
  clear_log();
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1), -1);
  EXPECT_EQ(logged(),
            lines({kNoStat, kCreated, {kLogWarning, kDelete, "not find the short message(id=1)"}}));
  expect_empty_file();
}

TEST_F(SmsChangeTest, ChangingADamagedFileReplacesIt) {
  for (const auto change : {update_first, delete_first}) {
    put(kDamaged);
    EXPECT_EQ(change(), -1);
    EXPECT_EQ(logged(), lines({kInvalid, kCreated}));
    expect_set_aside(kDamaged);
  }
}

TEST_F(SmsChangeTest, ChangingAFileThatDoesNotOpenLeavesIt) {
  for (const auto change : {update_first, delete_first}) {
    put(sms_file({{}}));
    fail_call(Call::Fopen, 1);
    EXPECT_EQ(change(), -1);
    EXPECT_EQ(read_file(kReceived), sms_file({{}}));
    EXPECT_FALSE(exists(kErr));
  }
}

TEST_F(SmsChangeTest, ChangingAFileThatCannotBeReadLeavesIt) {
  for (const auto change : {update_first, delete_first}) {
    put(sms_file({{}}));
    fail_call(Call::Fread, 1);
    EXPECT_EQ(change(), -1);
    EXPECT_EQ(read_file(kReceived), sms_file({{}}));
  }
}

TEST_F(SmsChangeTest, CleaningStartsANewFileWithIdOne) {
  const std::string before = add(CAPI_SMS_RECEIVED, {{}, {}});
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), 0);
  EXPECT_EQ(logged(), lines({kCreated}));
  expect_empty_file();
  const std::string after = add(CAPI_SMS_RECEIVED, {{}});
  EXPECT_EQ(ids_in(after), std::vector<uint64_t>{1});
  EXPECT_NE(identity_in(after), identity_in(before));
}

TEST_F(SmsChangeTest, CleaningFailsWhereTheFileCannotBeMade) {
  std::filesystem::create_directory(kReceived);
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), -1);
  EXPECT_EQ(logged(), lines({kNoCreate}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{update_signal("4", "0")});
}

}  // namespace
}  // namespace capi::test
