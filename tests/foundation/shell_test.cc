// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/shell.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "capi/util.h"
#include "support/files.h"
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

}  // namespace
}  // namespace capi::test
