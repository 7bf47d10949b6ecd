// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "store_test.h"

namespace capi::test {
namespace {

constexpr char kAdd[] = "_vkr_voip_sms_add";

class SmsAddTest : public SmsStoreTest {};

TEST_F(SmsAddTest, AddingCreatesAMissingFile) {
  capi_sms_record record = to_record({.id = 77, .text = "first", .status = 3});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
  EXPECT_EQ(record.id, 1u);
  const std::string file = read_file(kReceived);
  EXPECT_EQ(file, sms_file({{.id = 1, .text = "first", .status = 3}},
                           {.identity = identity_in(file), .imsi0 = "001011234567890"}));
  EXPECT_EQ(logged(),
            lines({kNoStat,
                   kCreated,
                   {kLogInfo, kAdd, "add short message successfully, smCount 1, size 173, id 1"}}));
}

TEST_F(SmsAddTest, AddingFailsWhereAMissingFileCannotBeCreated) {
  std::filesystem::create_symlink("/tmp/missing/sm_recv", kReceived);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(),
            lines({kNoStat,
                   {kLogWarning, kCreate,
                    "fopen /tmp/sm_recv failed, reason 2: No such file or directory"},
                   {kLogWarning, kAdd, "_vkr_voip_sms_create_file /tmp/sm_recv failed"}}));
}

TEST_F(SmsAddTest, AddingAppendsAndKeepsTheRest) {
  const Message first{.id = 4, .text = "first"};
  const Header head{.identity = 99, .last_id = 8, .imsi0 = "old", .imsi1 = "older"};
  put(sms_file({first}, head));
  EXPECT_EQ(add_one({.text = "second", .imsi = "new"}), 0);
  EXPECT_EQ(read_file(kReceived),
            sms_file({first, {.id = 9, .text = "second", .imsi = "new"}},
                     {.identity = 99, .last_id = 8, .imsi0 = "new", .imsi1 = "old"}));
}

TEST_F(SmsAddTest, TheTwoFilesCountForThemselves) {
  EXPECT_EQ(ids_in(add(CAPI_SMS_RECEIVED, {{}, {}})), (std::vector<uint64_t>{1, 2}));
  EXPECT_EQ(ids_in(add(CAPI_SMS_SENT, {{}})), (std::vector<uint64_t>{1}));
  EXPECT_EQ(ids_in(read_file(kReceived)), (std::vector<uint64_t>{1, 2}));
}

TEST_F(SmsAddTest, The201stMessageDropsTheOldest) {
  put(sms_file(std::vector<Message>(200)));
  EXPECT_EQ(add_one(), 0);
  EXPECT_EQ(
      logged(),
      lines({{kLogWarning, kAdd, "delete old short message"},
             {kLogInfo, kAdd, "add short message successfully, smCount 200, size 23456, id 201"}}));
  const std::vector<uint64_t> ids = ids_in(read_file(kReceived));
  EXPECT_EQ(ids.size(), 200u);
  EXPECT_EQ(ids.front(), 2u);
  EXPECT_EQ(ids.back(), 201u);
}

TEST_F(SmsAddTest, AFullFileDropsAsManyOfTheOldestAsNeeded) {
  put(sms_file(std::vector<Message>(100, {.text = std::string(600, 'x')})));
  EXPECT_EQ(add_one({.text = std::string(39102, 'y')}), 0);
  // 712 bytes a message: 59 of them stay beside the new one of 39214.
  EXPECT_EQ(captured_log(kLogWarning).size(), 41u);
  EXPECT_EQ(
      logged().back(),
      (LogLine{kLogInfo, kAdd, "add short message successfully, smCount 60, size 81278, id 101"}));
  const std::vector<uint64_t> ids = ids_in(read_file(kReceived));
  EXPECT_EQ(ids.front(), 42u);
  EXPECT_EQ(ids.back(), 101u);
}

TEST_F(SmsAddTest, AFileMayGrowToItsLargestSizeAndNoFurther) {
  const std::string text(81920 - 56 - 3 * 112 - 39000, 'a');
  for (const size_t more : {0u, 1u}) {
    put(sms_file({{.text = text + std::string(more, 'a')}, {.text = ""}}));
    EXPECT_EQ(add_one({.text = std::string(39000, 'b')}), 0);
    EXPECT_EQ(count_in(read_file(kReceived)), 3 - more);
  }
}

TEST_F(SmsAddTest, AFileThatWasTooLargeIsCutDown) {
  put(sms_file({{.text = std::string(60000, 'a')}, {.text = std::string(60000, 'b')}}));
  EXPECT_EQ(add_one(), 0);
  EXPECT_EQ(ids_in(read_file(kReceived)), (std::vector<uint64_t>{2, 3}));
}

TEST_F(SmsAddTest, AFileTooLargeForTheWorkBufferIsLeftAlone) {
  const std::string file = sms_file({{.text = std::string(121119 - 168, 'a')}});
  put(file);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kRequest, "too large memory: 160333"},
                             {kLogWarning, kAdd, "calloc 160333 failed!"}}));
  EXPECT_EQ(read_file(kReceived), file);
}

TEST_F(SmsAddTest, AddingToADamagedFileStartsAnew) {
  for (const std::string& content : {std::string(), std::string("x"), kDamaged,
                                     header({.last_id = 500}) + "stray", sms_file({{}}) + "1"}) {
    put(content);
    EXPECT_EQ(add_one({.text = "new"}), 0);
    EXPECT_EQ(read_file(kErr), content);
    const std::string file = read_file(kReceived);
    EXPECT_EQ(file, sms_file({{.id = 1, .text = "new"}},
                             {.identity = identity_in(file), .imsi0 = "001011234567890"}));
    EXPECT_NE(identity_in(file), 0x0123456789ABCDEFu);
  }
}

TEST_F(SmsAddTest, AddingToAFileThatDoesNotOpenLeavesIt) {
  put(sms_file({{}}));
  fail_call(Call::Fopen, 1, EIO);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kRead, "fopen failed, reason 5: Input/output error"}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
  EXPECT_FALSE(exists(kErr));
}

TEST_F(SmsAddTest, AddingToAFileThatCannotBeReadLeavesIt) {
  put(sms_file({{}}));
  fail_call(Call::Fread, 1, EIO);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kRead, "fread failed, reason 5: Input/output error"}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsAddTest, AddingToADirectoryFails) {
  std::filesystem::create_directory(kReceived);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kRead, "fread failed, reason 21: Is a directory"}}));
}

TEST_F(SmsAddTest, AddingToASocketFails) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "/tmp/sm_recv"};
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(add_one(), -1);
  EXPECT_EQ(logged(),
            lines({{kLogWarning, kRead, "fopen failed, reason 6: No such device or address"},
                   {kLogWarning, kCreate,
                    "fopen /tmp/sm_recv failed, reason 6: No such device or address"}}));
  close(fd);
}

TEST_F(SmsAddTest, AFailedWriteOfAnAddKeepsTheMessages) {
  for (const Call call : {Call::Write, Call::Fsync, Call::Rename}) {
    put(sms_file({{}, {}}));
    fail_call(call, 1);
    capi_sms_record record = to_record({});
    EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
    EXPECT_EQ(read_file(kReceived), sms_file({{}, {}}));
    EXPECT_EQ(new_signals().back(), update_signal("1", "0"));
  }
}

TEST_F(SmsAddTest, AFailedCloseAfterAnAddLosesNothing) {
  put(sms_file({{}, {}}));
  fail_call(Call::Close, 2);  // the first one closes what was only looked at
  capi_sms_record record = to_record({});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
  EXPECT_EQ(ids_in(read_file(kReceived)), (std::vector<uint64_t>{1, 2, 3}));
  EXPECT_EQ(new_signals().back(), update_signal("1", "3"));
}

TEST_F(SmsAddTest, AMessageLargerThanARecordIsRefused) {
  put(sms_file({{}}));
  capi_sms_record record = to_record({});
  record.TextSize = 39103;
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  record.TextSize = 0xFFFFFFFF;
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(logged(), lines({}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsAddTest, TextLenAndTextSizeNeedNotAgree) {
  capi_sms_record record = to_record({.text = "abc", .text_len = 40000});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), 0);
  EXPECT_EQ(messages_in(read_file(kReceived)),
            (std::vector<Message>{{.id = 1, .text = "abc", .text_len = 40000}}));
}

TEST_F(SmsAddTest, FieldsWithoutATerminatorAreStoredAsTheyAre) {
  const Message message{.id = 1,
                        .imsi = std::string(16, '1'),
                        .local = std::string(24, '2'),
                        .remote = std::string(24, '3')};
  EXPECT_EQ(messages_in(add(CAPI_SMS_RECEIVED, {message})), std::vector<Message>{message});
}

}  // namespace
}  // namespace capi::test
