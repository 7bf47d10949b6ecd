// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "store_test.h"

namespace capi::test {
namespace {

constexpr char kInit[] = "_vkr_voip_sms_init_file";

class SmsInitTest : public SmsStoreTest {};

TEST_F(SmsInitTest, InitialisingCreatesBothFiles) {
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(logged(),
            lines({kCreated, {kLogInfo, kCreate, " create file /tmp/sm_send successfully!"}}));
  expect_empty_file(kReceived);
  expect_empty_file(kSent);
}

TEST_F(SmsInitTest, InitialisingKeepsSoundFiles) {
  const std::string received = sms_file({{}, {}});
  const std::string sent = sms_file({{.text = std::string(39102, 'x')}});
  put(received);
  put(sent, kSent);
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(logged(), lines({{kLogInfo, kVerify, "version 1 smCount 2"},
                             {kLogInfo, kVerify, "version 1 smCount 1"}}));
  EXPECT_EQ(read_file(kReceived), received);
  EXPECT_EQ(read_file(kSent), sent);
  EXPECT_FALSE(exists(kErr));
}

TEST_F(SmsInitTest, InitialisingSetsADamagedFileAside) {
  const struct {
    std::string content;
    const char* numbers;
    const char* words;
  } cases[] = {
      {"", "version 0 smCount 0", "invalid sms file"},
      {header({}).substr(0, 55), "version 1 smCount 0", "file is corrupted"},
      {header({.version = 2}), "version 2 smCount 0", "invalid sms file"},
      {header({.count = 201}), "version 1 smCount 201", "invalid sms file"},
      {header({.count = 3}) + item({}) + item({}), "version 1 smCount 3", "file is corrupted"},
      {header({}) + "12345678", "version 1 smCount 0", "file is corrupted"},
      {header({.count = 1}) + item({}, 5, 109), "version 1 smCount 1", "wrong sm type 5"},
      {header({.count = 2}) + item({}, 0x534D5354, 9) + item({}), "version 1 smCount 2",
       "wrong tlv length 9"},
  };
  for (const auto& [content, numbers, words] : cases) {
    put(sms_file({}), kSent);
    put(content);
    EXPECT_EQ(capi_voip_sms_init(), 0);
    EXPECT_EQ(logged(),
              lines({{kLogInfo, kVerify, numbers},
                     {kLogWarning, kVerify, words},
                     {kLogWarning, kInit, "_vkr_voip_verify_sms_file /tmp/sm_recv failed!"},
                     kCreated,
                     {kLogInfo, kVerify, "version 1 smCount 0"}}));
    expect_set_aside(content);
  }
}

TEST_F(SmsInitTest, InitialisingRejectsALargerFileUnread) {
  put(sms_file({}), kSent);
  const std::string largest =
      sms_file({{.text = std::string(40752, 'a')}, {.text = std::string(40888, 'b')}});
  ASSERT_EQ(largest.size(), 81920u);
  put(largest);
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(read_file(kReceived), largest);

  put(largest + "x");
  fail_call(Call::Fread, 2);  // the one of the other file is the first
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(count_calls(Call::Fread), 1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kVerify, "file is too large: 81921"},
                             {kLogWarning, kInit, "_vkr_voip_verify_sms_file /tmp/sm_recv failed!"},
                             kCreated,
                             {kLogInfo, kVerify, "version 1 smCount 0"}}));
  expect_set_aside(largest + "x");
}

TEST_F(SmsInitTest, AFileOfAnySizeIsToldWithItsSize) {
  skip_commands("cp -f ");  // which would take its time
  for (const auto& [size, shown] : {std::pair{INT64_C(2147483648), "2147483648"},
                                    {INT64_C(4294967295), "4294967295"},
                                    {INT64_C(1) << 40, "4294967295"}}) {
    put(sms_file({}), kSent);
    put("");
    const int fd = open(kReceived, O_WRONLY | O_LARGEFILE);
    ASSERT_EQ(ftruncate64(fd, size), 0);
    close(fd);
    EXPECT_EQ(capi_voip_sms_init(), 0);
    EXPECT_EQ(logged().at(0),
              (LogLine{kLogWarning, kVerify, std::string("file is too large: ") + shown}));
    expect_empty_file();
  }
}

TEST_F(SmsInitTest, InitialisingLeavesAFileThatCannotBeLookedAt) {
  put(sms_file({}), kSent);
  const struct {
    Call call;
    const char* words;
  } cases[] = {{Call::Stat, "stat /tmp/sm_recv failed, reason 5: Input/output error"},
               {Call::Fread, "fread failed, reason 5: Input/output error"}};
  for (const auto& [call, words] : cases) {
    put(sms_file({{}}));
    fail_call(call, 1);
    EXPECT_EQ(capi_voip_sms_init(), -1);
    EXPECT_EQ(logged(),
              lines({{kLogWarning, kRead, words},
                     {kLogWarning, kInit, "_vkr_voip_verify_sms_file /tmp/sm_recv failed!"},
                     {kLogWarning, kInit, " _vkr_voip_create_sms_file failed!"},
                     {kLogInfo, kVerify, "version 1 smCount 0"}}));
    EXPECT_EQ(read_file(kReceived), sms_file({{}}));
    EXPECT_FALSE(exists(kErr));
  }
}

TEST_F(SmsInitTest, InitialisingLeavesAFileThatCannotBeOpened) {
  put(sms_file({}), kSent);
  for (const int error : {EMFILE, EACCES, ENOMEM}) {
    put(sms_file({{}}));
    fail_call(Call::Fopen, 1, error);
    EXPECT_EQ(capi_voip_sms_init(), -1);
    EXPECT_EQ(logged(),
              lines({{kLogWarning, kInit,
                      "fopen /tmp/sm_recv failed, reason " + std::to_string(error) + ": " +
                          strerror(error)},
                     {kLogWarning, kInit, "_vkr_voip_sms_create_file /tmp/sm_recv failed"},
                     {kLogInfo, kVerify, "version 1 smCount 0"}}));
    EXPECT_EQ(read_file(kReceived), sms_file({{}}));
  }
}

TEST_F(SmsInitTest, InitialisingFailsWhereAFileCannotBeReplaced) {
  put(sms_file({}), kSent);
  std::filesystem::create_directory(kReceived);
  EXPECT_EQ(capi_voip_sms_init(), -1);
  const std::vector<LogLine> log = logged();
  ASSERT_GE(log.size(), 5u);
  EXPECT_EQ(log[0], (LogLine{kLogWarning, kRead, "fread failed, reason 21: Is a directory"}));
  EXPECT_EQ(log[1],
            (LogLine{kLogWarning, kInit, "_vkr_voip_verify_sms_file /tmp/sm_recv failed!"}));
  EXPECT_EQ(log[2], kNoCreate);
  EXPECT_EQ(log[3], (LogLine{kLogWarning, kInit, " _vkr_voip_create_sms_file failed!"}));
  EXPECT_EQ(log[4],
            (LogLine{kLogInfo, kVerify, "version 1 smCount 0"}));  // the other one is still done
}

TEST_F(SmsInitTest, InitialisingFailsWhereAFileCannotBeCreated) {
  put(sms_file({}), kSent);
  std::filesystem::create_symlink("/tmp/missing/sm_recv", kReceived);
  EXPECT_EQ(capi_voip_sms_init(), -1);
  const std::vector<LogLine> log = logged();
  ASSERT_GE(log.size(), 2u);
  EXPECT_EQ(log[1], (LogLine{kLogWarning, kInit, "_vkr_voip_sms_create_file /tmp/sm_recv failed"}));
}

TEST_F(SmsInitTest, InitialisingWithoutMemoryLeavesTheFileAlone) {
  put(sms_file({{}}));
  put(sms_file({{}}), kSent);
  fail_call(Call::Malloc, 1, ENOMEM);
  EXPECT_EQ(capi_voip_sms_init(), -1);
  EXPECT_EQ(logged(), lines({{kLogWarning, kRequest, "calloc failed!"},
                             {kLogWarning, kVerify, "calloc 173 failed!"},
                             {kLogInfo, kVerify, "version 1 smCount 1"}}));
  EXPECT_EQ(read_file(kReceived), sms_file({{}}));
}

TEST_F(SmsInitTest, TheStartOfTheMasterInitialisesTheStore) {
  EXPECT_EQ(capi_post_init(0), 0);
  EXPECT_FALSE(exists(kReceived));
  EXPECT_EQ(capi_post_init(1), 0);
  expect_empty_file(kReceived);
  expect_empty_file(kSent);
}

}  // namespace
}  // namespace capi::test
