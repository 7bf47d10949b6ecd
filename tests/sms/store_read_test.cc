// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <unistd.h>

#include "store_test.h"

namespace capi::test {
namespace {

constexpr char kCount[] = "capi_voip_sms_get_unread_sm_num";
constexpr char kLoad[] = "capi_voip_sms_load";

class SmsReadTest : public SmsStoreTest {};

TEST_F(SmsReadTest, GettingCopiesTheMessage) {
  const Message message{.id = 2, .text = "second", .status = 4, .is_read = 1};
  const std::string file = sms_file({{}, message, {}});
  put(file);
  capi_sms_record record = to_record({.text = std::string(20, 'x')});
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 2, &record), 0);
  EXPECT_EQ(from_record(record), message);
  EXPECT_EQ(record.Text[6], 'x');  // behind the message nothing is written
  EXPECT_EQ(logged(), lines({}));
  EXPECT_EQ(read_file(kReceived), file);
  EXPECT_EQ(new_signals(), std::vector<std::string>{});
}

TEST_F(SmsReadTest, GettingAnUnknownIdLeavesTheRecord) {
  put(sms_file({{}, {}}));
  const Message before{.id = 3, .text = "mine"};
  capi_sms_record record = to_record(before);
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 3, &record), -1);
  EXPECT_EQ(from_record(record), before);
  EXPECT_EQ(logged(), lines({}));
}

TEST_F(SmsReadTest, OfTwoMessagesOfTheSameIdTheLaterOneIsLeftInTheRecord) {
  put(sms_file({{.id = 1, .text = "first one"}, {.id = 1, .text = "second"}}));
  capi_sms_record record{};
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record), 0);
  EXPECT_EQ(from_record(record).text, "second");
}

TEST_F(SmsReadTest, GettingAMessageLargerThanARecordIsCut) {
  put(sms_file({{.text = std::string(50000, 'z')}}));
  struct {
    capi_sms_record record;
    char behind[8];
  } caller{};
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &caller.record), 0);
  EXPECT_EQ(caller.record.Text[39101], 'z');
  EXPECT_EQ(std::string(caller.behind, 8), std::string(8, '\0'));
}

TEST_F(SmsReadTest, GettingFromAMissingFileDoesNotCreateIt) {
  write_file(kErr, "kept");
  EXPECT_EQ(get(1), -1);
  EXPECT_EQ(logged(), lines({kNoStat}));
  EXPECT_FALSE(exists(kReceived));
  EXPECT_EQ(read_file(kErr), "kept");
}

TEST_F(SmsReadTest, GettingSetsAFileAsideThatCannotBeExamined) {
  put(sms_file({{}}));
  fail_call(Call::Stat, 1);
  EXPECT_EQ(get(1), -1);
  EXPECT_EQ(read_file(kErr), sms_file({{}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsReadTest, GettingAndCountingLeaveAFileThatCannotBeRead) {
  for (const auto operation : {get_first, count}) {
    for (const Call call : {Call::Fopen, Call::Fread}) {
      put(sms_file({{}}));
      fail_call(call, 1);
      EXPECT_EQ(operation(), -1);
      EXPECT_EQ(logged(), lines({{kLogWarning, kRead,
                                  std::string(call == Call::Fopen ? "fopen" : "fread") +
                                      " failed, reason 5: Input/output error"}}));
      EXPECT_EQ(read_file(kReceived), sms_file({{}}));
      EXPECT_FALSE(exists(kErr));
    }
  }
}

TEST_F(SmsReadTest, GettingAndCountingReplaceWhatIsNoFile) {
  for (const auto operation : {get_first, count}) {
    std::filesystem::create_directory(kReceived);
    clear_log();
    EXPECT_EQ(operation(), -1);
    EXPECT_EQ(logged(),
              lines({{kLogWarning, kRead, "fread failed, reason 21: Is a directory"}, kNoCreate}));
    std::filesystem::remove(kReceived);
  }
}

TEST_F(SmsReadTest, CountingLeavesAFileThatCannotBeExamined) {
  put(sms_file({{}}));
  fail_call(Call::Stat, 1);
  EXPECT_EQ(count(), -1);
  EXPECT_EQ(
      logged(),
      lines({{kLogWarning, kRead, "stat /tmp/sm_recv failed, reason 5: Input/output error"}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsReadTest, CountingWithoutAFormerStateFindsEverythingNew) {
  put(sms_file({{.id = 3}, {.id = 5}, {.id = 8}}));
  const capi_sms_counter previous{};
  capi_sms_counter state{};
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state), 0);
  EXPECT_EQ(state.file_identity, 0x0123456789ABCDEFu);
  EXPECT_EQ(state.first_new_id, 3u);
  EXPECT_EQ(state.last_new_id, 8u);
  EXPECT_EQ(state.count, 3u);
  EXPECT_EQ(logged(), lines({{kLogWarning, kCount, "file 0 changed"}}));
}

TEST_F(SmsReadTest, CountingGoesOnFromTheFormerState) {
  put(sms_file({{.id = 3}, {.id = 5}, {.id = 8}}));
  const capi_sms_counter previous{
      .file_identity = 0x0123456789ABCDEF, .first_new_id = 1, .last_new_id = 5, .count = 9};
  capi_sms_counter state{};
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state), 0);
  EXPECT_EQ(state.first_new_id, 8u);
  EXPECT_EQ(state.last_new_id, 8u);
  EXPECT_EQ(state.count, 1u);
  EXPECT_EQ(logged(), lines({}));
}

TEST_F(SmsReadTest, CountingFindsNothingNewTwice) {
  put(sms_file({{.id = 3}}));
  const capi_sms_counter previous{
      .file_identity = 0x0123456789ABCDEF, .first_new_id = 3, .last_new_id = 3, .count = 1};
  capi_sms_counter state{.file_identity = 1, .first_new_id = 2, .last_new_id = 3, .count = 4};
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state), 0);
  EXPECT_EQ(state.file_identity, 0x0123456789ABCDEFu);
  EXPECT_EQ(state.first_new_id, 0u);
  EXPECT_EQ(state.last_new_id, 0u);
  EXPECT_EQ(state.count, 0u);
}

TEST_F(SmsReadTest, CountingTakesTheMessagesOfAnotherFileForNew) {
  add(CAPI_SMS_SENT, {{}, {}});
  const capi_sms_counter previous{
      .file_identity = 77, .first_new_id = 1, .last_new_id = 100, .count = 100};
  capi_sms_counter state{};
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_SENT, &previous, &state), 0);
  EXPECT_EQ(state.count, 2u);
  EXPECT_EQ(state.first_new_id, 1u);
  EXPECT_EQ(logged(), lines({{kLogWarning, kCount, "file 1 changed"}}));
}

TEST_F(SmsReadTest, TheFormerStateMayBeTheNewOne) {
  capi_sms_counter state{};
  add(CAPI_SMS_RECEIVED, {{}, {}});
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &state, &state), 0);
  EXPECT_EQ(state.count, 2u);
  add(CAPI_SMS_RECEIVED, {{}});
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &state, &state), 0);
  EXPECT_EQ(state.count, 1u);
  EXPECT_EQ(state.first_new_id, 3u);
}

TEST_F(SmsReadTest, CountingInAMissingFileCreatesItAndFails) {
  capi_sms_counter state{.file_identity = 1, .first_new_id = 2, .last_new_id = 3, .count = 4};
  const capi_sms_counter previous{};
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state), -1);
  EXPECT_EQ(logged(), lines({kNoStat, kCreated}));
  expect_empty_file();
  EXPECT_EQ(state.count, 0u);
  EXPECT_EQ(state.file_identity, 0u);
}

TEST_F(SmsReadTest, LoadingGivesTheWholeFile) {
  const std::string file = sms_file({{}, {.text = std::string(50000, 'x')}});
  put(file);
  void* image = nullptr;
  ASSERT_EQ(capi_voip_sms_load(CAPI_SMS_RECEIVED, &image), 0);
  EXPECT_EQ(std::string(static_cast<char*>(image), file.size()), file);
  EXPECT_EQ(logged(), lines({}));
  EXPECT_EQ(capi_voip_sms_unload(&image), 0);
  EXPECT_EQ(image, nullptr);
}

TEST_F(SmsReadTest, LoadingIsNotBoundToTheWorkBuffer) {
  put(sms_file({{.text = std::string(200000, 'x')}}));
  EXPECT_EQ(load(), 0);
}

TEST_F(SmsReadTest, UnloadingNothingIsNothing) {
  void* image = nullptr;
  EXPECT_EQ(capi_voip_sms_unload(&image), 0);
  EXPECT_EQ(capi_voip_sms_unload(nullptr), 0);
}

TEST_F(SmsReadTest, LoadingAMissingFileCreatesIt) {
  EXPECT_EQ(load(), 0);
  EXPECT_EQ(logged(), lines({kNoStat, kCreated}));
  expect_empty_file();
}

TEST_F(SmsReadTest, LoadingFailsWhereAMissingFileCannotBeCreated) {
  std::filesystem::create_symlink("/tmp/missing/sm_recv", kReceived);
  EXPECT_EQ(load(), -1);
  EXPECT_EQ(logged().back(),
            (LogLine{kLogWarning, kLoad, "_vkr_voip_sms_create_file /tmp/sm_recv failed"}));
}

TEST_F(SmsReadTest, LoadingAFileThatCannotBeExaminedLeavesIt) {
  put(sms_file({{}}));
  fail_call(Call::Stat, 1);
  EXPECT_EQ(load(), -1);
  EXPECT_EQ(logged(),
            lines({{kLogWarning, kRead, "stat /tmp/sm_recv failed, reason 5: Input/output error"},
                   {kLogWarning, kLoad, "_vkr_voip_sms_create_file /tmp/sm_recv failed"}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsReadTest, LoadingAFileThatCannotBeReadLeavesIt) {
  const struct {
    Call call;
    LogLine line;
  } cases[] = {
      {Call::Malloc, {kLogWarning, kLoad, "calloc 173 failed!"}},
      {Call::Fopen, {kLogWarning, kRead, "fopen failed, reason 5: Input/output error"}},
      {Call::Fread, {kLogWarning, kRead, "fread failed, reason 5: Input/output error"}},
  };
  for (const auto& [call, line] : cases) {
    put(sms_file({{}}));
    fail_call(call, 1);
    EXPECT_EQ(load(), -1);
    EXPECT_EQ(logged(), lines({line}));
    EXPECT_EQ(read_file(kReceived), sms_file({{}}));
    EXPECT_FALSE(exists(kErr));
  }
}

TEST_F(SmsReadTest, LoadingADamagedFileSetsItAside) {
  put(kDamaged);
  EXPECT_EQ(load(), -1);
  EXPECT_EQ(logged(), lines({kInvalid, kCreated}));
  expect_set_aside(kDamaged);
}

TEST_F(SmsReadTest, LoadingReplacesAFileOfSeveralGigabytes) {
  put("");
  ASSERT_EQ(truncate64(kReceived, int64_t{1} << 32), 0);
  EXPECT_EQ(load(), -1);
  EXPECT_EQ(logged().front(), (LogLine{kLogWarning, kLoad, "calloc 2147483647 failed!"}));
  expect_empty_file();
}

TEST_F(SmsReadTest, GettingAndCountingSetADamagedFileAside) {
  for (const auto operation : {get_first, count}) {
    for (const std::string& content :
         {std::string(), kDamaged, header({.count = 201}), sms_file({{}, {}}) + "x"}) {
      put(content);
      EXPECT_EQ(operation(), -1);
      expect_set_aside(content);
    }
  }
}

TEST_F(SmsReadTest, AFileTooLargeForTheWorkBufferIsNotTouched) {
  const std::string file = sms_file({{.text = std::string(160333 - 168, 'a')}});
  put(file);
  for (const auto operation : {get_first, count, update_first, delete_first}) {
    clear_log();
    EXPECT_EQ(operation(), -1);
    EXPECT_EQ(logged().front(), (LogLine{kLogWarning, kRequest, "too large memory: 160333"}));
    EXPECT_EQ(logged().at(1).text, "calloc 160333 failed!");
  }
  EXPECT_EQ(read_file(kReceived), file);
}

TEST_F(SmsReadTest, TheNextDamagedCopyReplacesTheFormer) {
  put(kDamaged);
  EXPECT_EQ(get(1), -1);
  put("another");
  EXPECT_EQ(get(1), -1);
  EXPECT_EQ(read_file(kErr), "another");
}

}  // namespace
}  // namespace capi::test
