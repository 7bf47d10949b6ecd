// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/file.h"

#include <sys/time.h>

#include <filesystem>

#include "sms_files.h"
#include "support/faults.h"
#include "support/fifo.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/sm_recv";
constexpr char kSibling[] = "/tmp/.sm_recv.new";
constexpr char kCreate[] = "_vkr_voip_sms_create_file";
constexpr char kRead[] = "_vkr_voip_sms_read_file";
constexpr char kWrite[] = "_vkr_voip_sms_write_file";
constexpr char kVerify[] = "_vkr_voip_verify_sms_file";

const LogLine kCreated{kLogInfo, kCreate, " create file /tmp/sm_recv successfully!"};

class SmsFileTest : public SmsTest {
 protected:
  static std::span<const uint8_t> bytes_of(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
  }

  SmsTrouble read() { return read_sms_file(kPath, buffer_); }

  static bool write(const std::string& text) {
    return write_sms_file(kPath, bytes_of(text), SmsPurpose::Add);
  }

  uint8_t buffer_[5] = {};
};

uint64_t milliseconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_usec) / 1000;
}

void expect_empty_file() {
  const std::string file = read_file(kPath);
  EXPECT_NE(identity_in(file), 0u);
  EXPECT_EQ(file, header({.identity = identity_in(file)}));
}

TEST_F(SmsFileTest, CreatingMakesAnEmptyFile) {
  EXPECT_TRUE(create_sms_file(kPath));
  expect_empty_file();
  EXPECT_EQ(captured_log(), lines({kCreated}));
  EXPECT_EQ(count_calls(Call::Sync), 1);
}

TEST_F(SmsFileTest, CreatingEmptiesTheFileThereIs) {
  write_file(kPath, std::string(100000, 'x'));
  EXPECT_TRUE(create_sms_file(kPath));
  expect_empty_file();
}

TEST_F(SmsFileTest, TheIdentityIsTheTimeAndAPartOfTheMonotonicClock) {
  const uint64_t before = milliseconds();
  const uint64_t identity = make_sms_file_identity();
  const uint64_t after = milliseconds();
  EXPECT_GE(identity >> 8, before);
  EXPECT_LE(identity >> 8, after);
  EXPECT_LT(identity & 0xFF, 255u);
}

TEST_F(SmsFileTest, CreatingFailsWhereTheFileCannotBeOpened) {
  std::filesystem::create_directory(kPath);
  EXPECT_FALSE(create_sms_file(kPath));
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate, "fopen /tmp/sm_recv failed, reason 21: Is a directory"}}));
}

TEST_F(SmsFileTest, CreatingFailsWhenTheWriteDoes) {
  for (const Call call : {Call::Write, Call::Fsync, Call::Rename}) {
    clear_log();
    fail_call(call, 1, ENOSPC);
    EXPECT_FALSE(create_sms_file(kPath));
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, kCreate, "fwrite failed, reason 28: No space left on device"}}));
    EXPECT_FALSE(exists(kPath));
    EXPECT_FALSE(exists(kSibling));
  }
}

TEST_F(SmsFileTest, AFailedCloseAfterAFailedWriteIsLoggedToo) {
  fail_call(Call::Write, 1, ENOSPC);
  fail_call(Call::Close, 1, EIO);
  EXPECT_FALSE(create_sms_file(kPath));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kCreate, "fwrite failed, reason 28: No space left on device"},
                   {kLogWarning, kCreate, "fclose failed, reason 5: Input/output error"}}));
}

TEST_F(SmsFileTest, AFileThatWasWrittenIsCreatedEvenIfItDoesNotClose) {
  fail_call(Call::Close, 1, EIO);
  EXPECT_TRUE(create_sms_file(kPath));
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate, "fclose failed, reason 5: Input/output error"}, kCreated}));
}

TEST_F(SmsFileTest, WhatMayBeLostInAPowerCutIsLogged) {
  fail_call(Call::Fsync, 2, EIO);  // of the directory
  EXPECT_TRUE(create_sms_file(kPath));
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate, "fsync /tmp/sm_recv failed, reason 5: Input/output error"},
             kCreated}));
}

TEST_F(SmsFileTest, AMissingFileThatCannotBeMadeIsLoggedForItsOperation) {
  std::filesystem::create_directory(kPath);
  errno = ENOENT;
  EXPECT_FALSE(create_missing_sms_file(kPath, "somebody"));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kCreate, "fopen /tmp/sm_recv failed, reason 21: Is a directory"},
                   {kLogWarning, "somebody", "_vkr_voip_sms_create_file /tmp/sm_recv failed"}}));
}

TEST_F(SmsFileTest, AFileThatIsOnlyOutOfReachIsNoMissingOne) {
  write_file(kPath, "content");
  for (const int error : {EMFILE, EACCES, EIO, ENOMEM, EINTR}) {
    clear_log();
    errno = error;
    EXPECT_FALSE(create_missing_sms_file(kPath, "somebody"));
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, "somebody", "_vkr_voip_sms_create_file /tmp/sm_recv failed"}}));
    EXPECT_EQ(read_file(kPath), "content");
  }
}

TEST_F(SmsFileTest, AFileIsSetAsideBesideItself) {
  write_file(kPath, "damaged");
  write_file("/tmp/sm_recv.err", "damaged before");
  set_sms_file_aside(kPath);
  EXPECT_EQ(count_calls(Call::Sync), 1) << "what follows may be a new file";
  EXPECT_EQ(read_file("/tmp/sm_recv.err"), "damaged");
  EXPECT_EQ(read_file(kPath), "damaged");
}

// cp would wait for its reader, and the lock would be held as long.
TEST_F(SmsFileTest, AFifoIsReplacedByTheFileThatIsSetAside) {
  const Fifo fifo("/tmp/sm_recv.err");
  write_file(kPath, "damaged");
  set_sms_file_aside(kPath);
  ASSERT_TRUE(std::filesystem::is_regular_file("/tmp/sm_recv.err"));
  EXPECT_EQ(read_file("/tmp/sm_recv.err"), "damaged");
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "open_file", "/tmp/sm_recv.err is not a regular file"}}));
}

TEST_F(SmsFileTest, ALinkToAFifoIsReplacedByTheFileThatIsSetAside) {
  const Fifo fifo("/tmp/fifo");
  std::filesystem::create_symlink("/tmp/fifo", "/tmp/sm_recv.err");
  write_file(kPath, "damaged");
  set_sms_file_aside(kPath);
  ASSERT_TRUE(std::filesystem::is_regular_file("/tmp/sm_recv.err"));
  EXPECT_EQ(read_file("/tmp/sm_recv.err"), "damaged");
  EXPECT_TRUE(std::filesystem::is_fifo("/tmp/fifo")) << "somebody else's";
}

TEST_F(SmsFileTest, AFifoInADirectoryIsReplacedByTheFileThatIsSetAside) {
  write_file("/tmp/sm_recv.err/other", "other");
  const Fifo fifo("/tmp/sm_recv.err/sm_recv");
  write_file(kPath, "damaged");
  set_sms_file_aside(kPath);
  ASSERT_TRUE(std::filesystem::is_regular_file("/tmp/sm_recv.err/sm_recv"));
  EXPECT_EQ(read_file("/tmp/sm_recv.err/sm_recv"), "damaged");
  EXPECT_EQ(read_file("/tmp/sm_recv.err/other"), "other");
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "open_file", "/tmp/sm_recv.err/sm_recv is not a regular file"}}));
}

TEST_F(SmsFileTest, NothingIsCopiedWhereAFifoCannotBeRemoved) {
  const Fifo fifo("/tmp/sm_recv.err");
  write_file(kPath, "damaged");
  fail_call(Call::Unlink, 1, EPERM);
  set_sms_file_aside(kPath);
  EXPECT_EQ(count_calls(Call::System), 0);
  EXPECT_TRUE(std::filesystem::is_fifo("/tmp/sm_recv.err"));
}

TEST_F(SmsFileTest, AFileIsReadWhole) {
  write_file(kPath, "12345");
  EXPECT_EQ(read(), SmsTrouble::None);
  EXPECT_EQ(std::string(buffer_, buffer_ + 5), "12345");
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsFileTest, AMissingFileHasNoSize) {
  uint64_t size = 0;
  EXPECT_FALSE(get_sms_file_size(kPath, size));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kRead,
                    "stat /tmp/sm_recv failed, reason 2: No such file or directory"}}));
  write_file(kPath, "123");
  EXPECT_TRUE(get_sms_file_size(kPath, size));
  EXPECT_EQ(size, 3u);
}

TEST_F(SmsFileTest, AFileThatDoesNotOpenIsNotRead) {
  EXPECT_EQ(read(), SmsTrouble::Unopenable);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kRead, "fopen failed, reason 2: No such file or directory"}}));
}

TEST_F(SmsFileTest, AnErrorOfTheSystemSaysNothingAboutTheContent) {
  write_file(kPath, "12345");
  for (const Call call : {Call::Fopen, Call::Fread}) {
    fail_call(call, 1, EIO);
    EXPECT_EQ(read(), SmsTrouble::NotRead);
  }
}

TEST_F(SmsFileTest, AShortReadIsTrouble) {
  write_file(kPath, "1234");
  EXPECT_EQ(read(), SmsTrouble::Unreadable);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRead, "fread failed, reason 0: Success"}}));
}

TEST_F(SmsFileTest, ADirectoryCannotBeRead) {
  std::filesystem::create_directory(kPath);
  EXPECT_EQ(read(), SmsTrouble::Unreadable);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kRead, "fread failed, reason 21: Is a directory"}}));
}

TEST_F(SmsFileTest, AFailedCloseAfterReadingIsLoggedAndIgnored) {
  write_file(kPath, "12345");
  fail_call(Call::Fclose, 1, EIO);
  EXPECT_EQ(read(), SmsTrouble::None);
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kRead, "fclose /tmp/sm_recv failed, reason 5: Input/output error"}}));
}

TEST_F(SmsFileTest, EveryFaultHasItsWords) {
  const auto check = [](const std::string& bytes) {
    clear_log();
    EXPECT_EQ(check_sms_file(bytes_of(bytes)), SmsTrouble::Unsound);
    return captured_log();
  };
  EXPECT_EQ(check(header({.version = 2})), lines({{kLogWarning, kVerify, "invalid sms file"}}));
  EXPECT_EQ(check(header({.count = 201})), lines({{kLogWarning, kVerify, "invalid sms file"}}));
  EXPECT_EQ(check(header({.count = 1}) + item({}, 0xFFFFFFFF, 109)),
            lines({{kLogWarning, kVerify, "wrong sm type 4294967295"}}));
  EXPECT_EQ(check(header({.count = 2}) + item({}, 0x534D5354, 0xFFFFFFFF) + item({})),
            lines({{kLogWarning, kVerify, "wrong tlv length 4294967295"}}));
  EXPECT_EQ(check(header({.count = 3}) + item({}) + item({})),
            lines({{kLogWarning, kVerify, "file is corrupted"}}));
}

TEST_F(SmsFileTest, ASoundFileIsNotSpokenOf) {
  EXPECT_EQ(check_sms_file(bytes_of(sms_file({{}, {}}))), SmsTrouble::None);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsFileTest, WritingReplacesTheContentAndSynchronises) {
  write_file(kPath, "what was there");
  EXPECT_TRUE(write("new"));
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(captured_log(), lines({}));
  EXPECT_EQ(count_calls(Call::Sync), 1);
}

TEST_F(SmsFileTest, AFailedWriteLeavesTheFile) {
  const struct {
    Call call;
    const char* words;
  } cases[] = {
      {Call::Open, "fopen /tmp/sm_recv failed, reason 5: Input/output error"},
      {Call::Write, "fwrite failed, reason 5: Input/output error"},
      {Call::Fsync, "fwrite failed, reason 5: Input/output error"},
      {Call::Rename, "fwrite failed, reason 5: Input/output error"},
  };
  for (const auto& [call, words] : cases) {
    write_file(kPath, sms_file({{}}));
    clear_log();
    fail_call(call, 1);
    EXPECT_FALSE(write("new"));
    EXPECT_EQ(read_file(kPath), sms_file({{}}));
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kWrite, words}}));
    EXPECT_FALSE(exists(kSibling));
  }
}

TEST_F(SmsFileTest, AFailedWriteInPlaceLeavesAnEmptyFile) {
  write_file(kPath, sms_file({{}}));
  std::filesystem::create_hard_link(kPath, "/tmp/other_sm_recv");
  fail_call(Call::Write, 1);
  EXPECT_FALSE(write("new"));
  expect_empty_file();
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kWrite, "fwrite failed, reason 5: Input/output error"}, kCreated}));
  std::filesystem::remove("/tmp/other_sm_recv");
}

TEST_F(SmsFileTest, AFailedCloseAfterWritingIsLoggedAndIgnored) {
  write_file(kPath, sms_file({{}}));
  clear_log();
  fail_call(Call::Close, 2);  // the first one closes what was only looked at
  EXPECT_TRUE(write("new"));
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kWrite, "fclose failed, reason 5: Input/output error"}}));
}

}  // namespace
}  // namespace capi::test
