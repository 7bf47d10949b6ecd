// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/log.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "support/files.h"

namespace capi::test {
namespace {

using testing::EndsWith;
using testing::StartsWith;

struct Message {
  int level = -1;
  std::string text;
};

Message received;

void receive(int level, const char* text) {
  received = {level, text};
  errno = ENOTTY;
}

class LogToSinkTest : public testing::Test {
 protected:
  LogToSinkTest() {
    received = {};
    capiv2_log_init(receive);
  }
  ~LogToSinkTest() override { capiv2_log_init(nullptr); }
};

TEST_F(LogToSinkTest, GetsFunctionAndLineButNoLevelName) {
  capiv2_log_print(4, "open_it", 17, "cannot open %s (%d)\n", "x", 5);
  EXPECT_EQ(received.level, kLogWarning);
  EXPECT_EQ(received.text, "open_it():Line[17] cannot open x (5)");
}

TEST_F(LogToSinkTest, HasNoPrefixWithoutAFunction) {
  capiv2_log_print(6, nullptr, 17, "ready\n");
  EXPECT_EQ(received.text, "ready");
}

TEST_F(LogToSinkTest, IsCutAtTheLastNewline) {
  capiv2_log_print(6, nullptr, 0, "abc\ndef");
  EXPECT_EQ(received.text, "abc");
  capiv2_log_print(6, nullptr, 0, "abc\ndef\n");
  EXPECT_EQ(received.text, "abc\ndef");
  capiv2_log_print(6, nullptr, 0, "abc");
  EXPECT_EQ(received.text, "abc");
}

TEST_F(LogToSinkTest, PassesEveryLevelOn) {
  for (const int level : {0, 7, 8, -1, 9}) {
    capiv2_log_print(level, nullptr, 0, "x");
    EXPECT_EQ(received.level, level);
  }
}

TEST_F(LogToSinkTest, CutsTheFormatWithItsPrefixAt1023Characters) {
  const std::string format(1100, 'x');
  capiv2_log_print(6, nullptr, 0, format.c_str(), 0);
  EXPECT_EQ(received.text, std::string(1023, 'x'));
  capiv2_log_print(6, "f", 1, format.c_str(), 0);
  const std::string prefix = "f():Line[1] ";
  EXPECT_EQ(received.text, prefix + std::string(1023 - prefix.size(), 'x'));
}

TEST_F(LogToSinkTest, CutsTheMessageAt2047Characters) {
  const std::string value(3000, 'v');
  capiv2_log_print(6, "f", 1, "%s\n", value.c_str());
  const std::string prefix = "f():Line[1] ";
  EXPECT_EQ(received.text, prefix + std::string(2047 - prefix.size(), 'v'));
}

TEST_F(LogToSinkTest, SurvivesAFunctionNameThatFillsTheBuffer) {
  const std::string name(2000, 'n');
  capiv2_log_print(6, name.c_str(), 1, "text\n");
  EXPECT_EQ(received.text, std::string(1023, 'n'));
}

TEST_F(LogToSinkTest, SurvivesAConversionThatTheCutHalves) {
  const std::string format = std::string(1022, 'x') + "%s";
  capiv2_log_print(6, nullptr, 0, format.c_str(), "never shown");
  EXPECT_THAT(received.text, StartsWith(std::string(1022, 'x')));
  EXPECT_LE(received.text.size(), 1023u);
}

TEST_F(LogToSinkTest, ANullFormatIsAnEmptyText) {
  const char* no_format = nullptr;
  capiv2_log_print(6, "f", 1, no_format, 0);
  EXPECT_EQ(received.text, "f():Line[1] ");
}

// What the C library makes of a format, after the prefix "f():Line[1] ".
template <typename... Args>
std::string printed(const std::string& format, Args... args) {
  char message[2048];
  const std::string whole = "f():Line[1] " + format;
  snprintf(message, sizeof message, whole.c_str(), args...);
  return message;
}

template <typename... Args>
void expect_as_printed(const std::string& format, Args... args) {
  capiv2_log_print(6, "f", 1, format.c_str(), args...);
  EXPECT_EQ(received.text, printed(format, args...)) << format;
}

TEST_F(LogToSinkTest, ExpandsFormatsAsTheCLibraryDoes) {
  expect_as_printed("[%s][%s][%s]", "a", "", "\xff%s%%");
  expect_as_printed("%d %d %d", 0, INT_MIN, INT_MAX);
  expect_as_printed("%s=%d%s", "a", -1, "b");
  expect_as_printed("%s %u %llx %5d|%-5s|%05.1f %c %p", "a", 4000000000u, 1ull << 60, 7, "b", 1.5,
                    'c', static_cast<const void*>(""));
  expect_as_printed("100 %% of %s, %i", "a", 3);
  expect_as_printed("%.*s|%.*s|%.*s|%.*s", 2, "abc", 9, "abc", 0, "abc", -1, "abc");
  expect_as_printed("%.2s %.*d", "abc", 5, 42);
  expect_as_printed("a null text: %s, and %.*s", static_cast<const char*>(nullptr), 9,
                    static_cast<const char*>(nullptr));
}

TEST_F(LogToSinkTest, ReadsNoFurtherThanAPrecision) {
  const char unterminated[] = {'a', 'b', 'c'};
  capiv2_log_print(6, nullptr, 0, "%.*s", 3, unterminated);
  EXPECT_EQ(received.text, "abc");
}

TEST_F(LogToSinkTest, CutsAsTheCLibraryDoes) {
  for (size_t length = 2020; length < 2050; ++length) {
    const std::string value(length, 'v');
    expect_as_printed("%s%d", value.c_str(), 12345);
    expect_as_printed("%s and %.*s", value.c_str(), 4, "text");
    expect_as_printed("%s and %u", value.c_str(), 12345u);
  }
}

TEST_F(LogToSinkTest, KeepsErrnoOverTheSink) {
  errno = EACCES;
  capiv2_log_print(6, "f", 1, "text\n");
  EXPECT_EQ(errno, EACCES);
}

TEST_F(LogToSinkTest, KeepsStandardErrorQuiet) {
  testing::internal::CaptureStderr();
  capiv2_log_print(3, "f", 1, "text\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// The default output. The device's /dev stays what it is: the test covers it with its own.
class LogByDefaultTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0) << strerror(errno);
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, "/dev/log");
    ASSERT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    closelog();
    capiv2_log_init(nullptr);
  }

  void TearDown() override {
    closelog();
    close(socket_);
    umount2("/dev", MNT_DETACH);
  }

  // Logs, and returns what standard error got. syslog() waits once a few messages are unread.
  template <typename... Args>
  std::string stderr_of(Args... args) {
    testing::internal::CaptureStderr();
    capiv2_log_print(args..., 0);  // an argument too many, for the compiler's sake
    return testing::internal::GetCapturedStderr();
  }

  // The next message that syslog got.
  std::string syslog_message() const {
    char buf[4096] = {};
    const ssize_t size = recv(socket_, buf, sizeof buf, 0);
    return size < 0 ? "<none>" : std::string(buf, static_cast<size_t>(size));
  }

 private:
  int socket_ = -1;
};

TEST_F(LogByDefaultTest, NamesLevelFunctionAndLine) {
  EXPECT_EQ(stderr_of(3, "open_it", 17, "cannot open %s\n", "x"),
            "[ERR] open_it():Line[17] cannot open x\n");
}

TEST_F(LogByDefaultTest, NamesTheLevelAloneWithoutAFunction) {
  EXPECT_EQ(stderr_of(6, nullptr, 17, "ready\n"), "[INFO] ready\n");
}

TEST_F(LogByDefaultTest, KnowsEightLevels) {
  const char* const names[] = {"EMERG",   "ALERT",  "CRIT", "ERR",
                               "WARNING", "NOTICE", "INFO", "DEBUG"};
  for (int level = 0; level < 8; ++level) {
    EXPECT_EQ(stderr_of(level, nullptr, 0, "x"), std::string("[") + names[level] + "] x\n");
    EXPECT_THAT(syslog_message(), EndsWith("] x"));
  }
  for (const int level : {9, 8, -1}) {
    EXPECT_EQ(stderr_of(level, "f", 2, "x"), "[UNK PRIORITY LEVEL] f():Line[2] x\n");
  }
}

TEST_F(LogByDefaultTest, GoesWholeToSyslogAndCutToStandardError) {
  EXPECT_EQ(stderr_of(4, "f", 7, "abc\ndef"), "[WARNING] f():Line[7] abc\n");
  const std::string message = syslog_message();
  EXPECT_THAT(message, EndsWith(": [WARNING] f():Line[7] abc\ndef"));
  EXPECT_THAT(message, StartsWith("<12>"));  // facility user, level 4
}

TEST_F(LogByDefaultTest, ItsTextIsNoFormat) {
  EXPECT_EQ(stderr_of(6, "f", 7, "%s\n", "100%s"), "[INFO] f():Line[7] 100%s\n");
  EXPECT_THAT(syslog_message(), EndsWith("[INFO] f():Line[7] 100%s\n"));
}

TEST_F(LogByDefaultTest, KeepsErrno) {
  errno = EACCES;
  stderr_of(6, "f", 7, "text\n");
  testing::internal::CaptureStderr();
  errno = EACCES;
  capiv2_log_print(6, "f", 7, "text\n");
  EXPECT_EQ(errno, EACCES);
  testing::internal::GetCapturedStderr();
}

TEST_F(LogByDefaultTest, ASinkKeepsSyslogQuiet) {
  capiv2_log_init(receive);
  capiv2_log_print(3, "f", 1, "text\n");
  capiv2_log_init(nullptr);
  EXPECT_EQ(syslog_message(), "<none>");
}

}  // namespace
}  // namespace capi::test
