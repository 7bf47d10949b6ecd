// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/shell.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "capi/log.h"
#include "capi/util.h"
#include "support/files.h"
#include "support/hostile_texts.h"
#include "support/interruption.h"

namespace capi::test {
namespace {

using testing::Each;

// The line, or "<result>" in angle brackets; a buffer that is not empty then fails the test.
std::string line_of(const char* command, int line_no) {
  char buf[2048];
  memset(buf, 'x', sizeof buf);
  const int result = get_linedata_from_pipe(command, line_no, buf, sizeof buf);
  if (result == 0) return buf;
  EXPECT_THAT(buf, Each('\0'));
  return "<" + std::to_string(result) + ">";
}

TEST(LineDataFromPipeTest, ReturnsTheLineThatIsAskedFor) {
  EXPECT_EQ(line_of("echo one; echo two", 1), "one");
  EXPECT_EQ(line_of("echo one; echo two", 2), "two");
  EXPECT_EQ(line_of("printf 'one\\ntwo'", 2), "two");
  EXPECT_EQ(line_of("echo; echo two", 1), "");
}

TEST(LineDataFromPipeTest, FailsWithAnEmptyBufferBehindTheLastLine) {
  EXPECT_EQ(line_of("echo one", 2), "<-1>");
  EXPECT_EQ(line_of("true", 1), "<-1>");
  EXPECT_EQ(line_of("/no/such/tool 2>&-", 1), "<-1>");
}

TEST(LineDataFromPipeTest, LinesAreCountedFromOne) {
  EXPECT_EQ(line_of("echo one", 0), "<-1>");
  EXPECT_EQ(line_of("echo one", -1), "<-1>");
}

TEST(LineDataFromPipeTest, StripsAtMostTwoLineEndCharacters) {
  EXPECT_EQ(line_of("printf 'a\\r\\n'", 1), "a");
  EXPECT_EQ(line_of("printf 'a\\r\\r\\n'", 1), "a\r");
  EXPECT_EQ(line_of("printf '\\r\\n'", 1), "");
  EXPECT_EQ(line_of("printf ' a '", 1), " a ");
}

TEST(LineDataFromPipeTest, TakesLongLinesInPieces) {
  const char command[] = "head -c 1500 /dev/zero | tr '\\0' x; echo; echo two";
  EXPECT_EQ(line_of(command, 1), std::string(1023, 'x'));
  EXPECT_EQ(line_of(command, 2), std::string(477, 'x'));
  EXPECT_EQ(line_of(command, 3), "two");
}

TEST(LineDataFromPipeTest, CutsTheLineToTheBuffer) {
  char buf[5] = {'x', 'x', 'x', 'x', 'x'};
  EXPECT_EQ(get_linedata_from_pipe("echo abcdef", 1, buf, 4), 0);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(buf[4], 'x');
  EXPECT_EQ(get_linedata_from_pipe("echo abcdef", 1, buf, 1), 0);
  EXPECT_STREQ(buf, "");
}

TEST(LineDataFromPipeTest, RefusesBadArguments) {
  char buf[2] = {'x', 'x'};
  EXPECT_EQ(get_linedata_from_pipe(nullptr, 1, buf, sizeof buf), -1);
  EXPECT_EQ(get_linedata_from_pipe("echo one", 1, nullptr, 4), -1);
  EXPECT_EQ(get_linedata_from_pipe("echo one", 1, buf, 0), -1);
  EXPECT_EQ(get_linedata_from_pipe("echo one", 1, buf, -1), -1);
  EXPECT_EQ(buf[0], 'x');
}

TEST(LineDataFromPipeTest, ACommandThatWouldGoOnIsLeftAlone) { EXPECT_EQ(line_of("yes", 3), "y"); }

TEST(LineDataFromPipeTest, ASignalIsNoEndOfTheOutput) {
  const Interruption interruption;
  const std::string interrupt = Interruption::of("$PPID");
  EXPECT_EQ(line_of((interrupt + "echo one").c_str(), 1), "one");
  EXPECT_EQ(line_of(("echo one; " + interrupt + "echo two").c_str(), 2), "two");
  EXPECT_EQ(line_of((interrupt + "true").c_str(), 1), "<-1>");
  EXPECT_EQ(interruption.count(), 3);
}

TEST(LineDataFromPipeTest, ASignalAmidALineLosesNothingOfIt) {
  const Interruption interruption;
  const std::string interrupt = Interruption::of("$PPID");
  EXPECT_EQ(line_of(("printf on; " + interrupt + "echo e").c_str(), 1), "one");
  EXPECT_EQ(interruption.count(), 1);
}

TEST(LineDataFromPipeTest, NoOtherProgramInheritsThePipe) {
  const int next = dup(0);
  close(next);
  const std::string command = "grep flags /proc/$PPID/fdinfo/" + std::to_string(next);
  EXPECT_EQ(line_of(command.c_str(), 1), "flags:\t02000000");  // O_CLOEXEC
}

TEST(LineDataFromPipeTest, LeavesNoDescriptorAndNoChild) {
  const size_t before = open_descriptors();
  line_of("echo one; echo two", 1);
  line_of("echo one", 2);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(RunShellTest, WaitsForTheCommandWhateverItsEnd) {
  run_shell("echo done >/tmp/shell.test; exit 3");
  EXPECT_EQ(read_file("/tmp/shell.test"), "done\n");
  run_shell("/no/such/tool 2>&-");
}

// What a program gets that a shell starts with this text on its command line, word by word.
std::string arriving(const std::string& shell, const std::string& text) {
  const std::string command = "cd /tmp/words && exec " + shell + " -c \"$TEXT\" 2>/dev/null";
  setenv("TEXT", ("printf '[%s]' " + text).c_str(), 1);
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string words;
  for (int c = getc(pipe.get()); c != EOF; c = getc(pipe.get())) words += static_cast<char>(c);
  return words;
}

class CommandTextTest : public testing::Test {
 protected:
  void SetUp() override {  // for patterns to match
    write_file("/tmp/words/a0b", "");
    write_file("/tmp/words/0", "");
  }
};

// A shell may be bash under the name of sh, which knows more special characters.
const std::string kShells[] = {"sh", "bash", "bash --posix"};

TEST_F(CommandTextTest, WhatMayStandUnquotedArrivesAsItIs) {
  for (int c = 1; c < 256; ++c) {
    const std::string one(1, static_cast<char>(c));
    for (const std::string& text : {"a" + one + "b", one + "b", "a" + one, one, "{" + one + "}",
                                    "a" + one + "b,c}", "[" + one + "]"}) {
      if (c == ' ' || c == '\t' || !may_stand_unquoted(text.c_str())) continue;
      for (const std::string& shell : kShells) {
        EXPECT_EQ(arriving(shell, text), "[" + text + "]") << shell;
      }
    }
  }
}

TEST_F(CommandTextTest, WhatAShellWouldInterpretMayNotStandUnquoted) {
  for (const char* text : kRefusedUnquoted) EXPECT_FALSE(may_stand_unquoted(text)) << text;
  for (const char* text : kTakenUnquoted) EXPECT_TRUE(may_stand_unquoted(text)) << text;
}

TEST_F(CommandTextTest, ABlankPartsWordsAsItAlwaysDid) {
  EXPECT_TRUE(may_stand_unquoted(" a b\tc "));
  EXPECT_EQ(arriving("sh", " a b\tc "), "[a][b][c]");
}

TEST_F(CommandTextTest, OnlyAQuoteEndsAQuotedText) {
  for (int c = 1; c < 256; ++c) {
    const std::string text = std::string("a") + static_cast<char>(c) + "b";
    EXPECT_EQ(may_stand_in_single_quotes(text.c_str()), c != '\'');
    if (c == '\'') continue;
    EXPECT_EQ(arriving("sh", "'" + text + "'"), "[" + text + "]");
  }
}

TEST_F(CommandTextTest, ARefusedTextIsLogged) {
  capiv2_log_init(capture_log);
  clear_log();
  EXPECT_FALSE(refuse_unquoted("eth0", "f"));
  EXPECT_TRUE(captured_log().empty());
  EXPECT_TRUE(refuse_unquoted("a;b", "f"));
  EXPECT_EQ(captured_log(), std::vector<LogLine>{refused("f", "a;b")});
}

}  // namespace
}  // namespace capi::test
