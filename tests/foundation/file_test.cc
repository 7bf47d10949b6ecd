// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "capi/log.h"
#include "capi/util.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/file.test";

mode_t mode_of(const char* path) {
  struct stat status {};
  EXPECT_EQ(stat(path, &status), 0) << path;
  return status.st_mode & 07777;
}

TEST(OpenFileTest, NoProgramInheritsAFile) {
  for (const char* mode : {"wb", "wb+", "r", "rb", "r+t"}) {
    const File file = open_file(kPath, mode);
    ASSERT_TRUE(file) << mode;
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC) << mode;
  }
}

TEST(OpenFileTest, OnlyRegularFilesAreRead) {
  capiv2_log_init(capture_log);
  std::filesystem::remove_all(kPath);
  ASSERT_EQ(mkfifo(kPath, 0666), 0);
  for (const char* path : {kPath, "/dev/null"}) {
    for (const char* mode : {"r", "rb", "r+t"}) {
      clear_log();
      errno = 0;
      EXPECT_FALSE(open_file(path, mode)) << path;
      EXPECT_EQ(errno, ENOENT) << path;
      EXPECT_EQ(captured_log(),
                (std::vector<LogLine>{
                    {kLogWarning, "open_file", std::string(path) + " is not a regular file"}}));
    }
  }
  EXPECT_TRUE(is_odd_file(kPath));
  std::filesystem::remove(kPath);
  clear_log();
  EXPECT_FALSE(is_odd_file(kPath));
  EXPECT_FALSE(open_file(kPath, "rb"));
  write_file(kPath, "text");
  EXPECT_FALSE(is_odd_file(kPath));
  ASSERT_EQ(symlink(kPath, "/tmp/file.link"), 0);
  EXPECT_TRUE(open_file("/tmp/file.link", "rb"));
  EXPECT_TRUE(captured_log().empty());
  std::filesystem::remove("/tmp/file.link");
  capiv2_log_init(nullptr);
}

TEST(UtilsFileExistTest, DoesNotWaitForTheWriterOfAFifo) {
  std::filesystem::remove_all(kPath);
  ASSERT_EQ(mkfifo(kPath, 0666), 0);
  EXPECT_EQ(utils_file_exist(kPath), 1);
  std::filesystem::remove(kPath);
}

TEST(OpenFileTest, AModeKeepsItsMeaning) {
  write_file(kPath, "text");
  char byte = 0;
  EXPECT_EQ(fwrite("x", 1, 1, open_file(kPath, "rb").get()), 0u);
  EXPECT_EQ(fwrite("T", 1, 1, open_file(kPath, "r+t").get()), 1u);
  EXPECT_EQ(read_file(kPath), "Text");
  EXPECT_EQ(fread(&byte, 1, 1, open_file(kPath, "wb+").get()), 0u);
  EXPECT_EQ(read_file(kPath), "");
}

class MkdirRecurTest : public testing::Test {
 protected:
  MkdirRecurTest() { std::filesystem::remove_all("/tmp/a"); }
};

TEST_F(MkdirRecurTest, CreatesEveryDirectoryOnTheWay) {
  EXPECT_EQ(mkdir_recur("/tmp/a//b/", 0777), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tmp/a/b"));
  EXPECT_EQ(mkdir_recur("/tmp/a/b/c/d", 0777), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tmp/a/b/c/d"));
}

TEST_F(MkdirRecurTest, TakesPathsFromTheWorkingDirectory) {
  ASSERT_EQ(chdir("/tmp"), 0);
  EXPECT_EQ(mkdir_recur("a/b", 0777), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tmp/a/b"));
}

TEST_F(MkdirRecurTest, AppliesTheModeUnmaskedAndLeavesTheMaskEmpty) {
  umask(077);
  EXPECT_EQ(mkdir_recur("/tmp/a/b", 0751), 0);
  EXPECT_EQ(mode_of("/tmp/a"), 0751u);
  EXPECT_EQ(mode_of("/tmp/a/b"), 0751u);
  EXPECT_EQ(umask(022), 0u);
}

TEST_F(MkdirRecurTest, WhatExistsIsFine) {
  EXPECT_EQ(mkdir_recur("/tmp", 0777), 0);
  EXPECT_EQ(mkdir_recur("/", 0777), 0);
}

TEST_F(MkdirRecurTest, AnEmptyPathCreatesNothing) { EXPECT_EQ(mkdir_recur("", 0777), 0); }

TEST_F(MkdirRecurTest, FailsAtTheFirstDirectoryThatCannotBe) {
  write_file("/tmp/a/file", "");
  errno = 0;
  EXPECT_EQ(mkdir_recur("/tmp/a/file/b/c", 0777), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(MkdirRecurTest, RefusesPathsOf256CharactersOrMore) {
  const std::string longest = "/tmp/a/" + std::string(248, 'x');
  ASSERT_EQ(longest.size(), 255u);
  EXPECT_EQ(mkdir_recur(longest.c_str(), 0777), 0);
  EXPECT_TRUE(exists(longest));
  std::filesystem::remove_all("/tmp/a");
  const std::string too_long = "/tmp/a/" + std::string(124, 'x') + "/" + std::string(124, 'x');
  ASSERT_EQ(too_long.size(), 256u);
  EXPECT_EQ(mkdir_recur(too_long.c_str(), 0777), -1);
  EXPECT_FALSE(exists("/tmp/a"));
}

TEST_F(MkdirRecurTest, RefusesANullPath) { EXPECT_EQ(mkdir_recur(nullptr, 0777), -1); }

TEST(WriteToFileTest, ReplacesTheFile) {
  write_file(kPath, "a longer old content");
  ASSERT_EQ(link(kPath, "/tmp/file.linked"), 0);
  EXPECT_EQ(utils_write_to_file(kPath, "new\0x", 5), 1);
  EXPECT_EQ(read_file(kPath), std::string("new\0x", 5));
  EXPECT_EQ(read_file("/tmp/file.linked"), "a longer old content");  // deleted, not truncated
  unlink("/tmp/file.linked");
}

TEST(WriteToFileTest, WritesAnEmptyFile) {
  EXPECT_EQ(utils_write_to_file(kPath, "x", 0), 1);
  EXPECT_EQ(read_file(kPath), "");
}

TEST(WriteToFileTest, WhatCannotBeCreatedFails) {
  EXPECT_EQ(utils_write_to_file("/tmp", "x", 1), 0);
  EXPECT_EQ(utils_write_to_file("/tmp/no_such_dir/file", "x", 1), 0);
  EXPECT_EQ(utils_write_to_file(nullptr, "x", 1), 0);
}

TEST(WriteToFileTest, LeavesTheFileForBadArguments) {
  write_file(kPath, "old");
  EXPECT_EQ(utils_write_to_file(kPath, nullptr, 1), 0);
  EXPECT_EQ(utils_write_to_file(kPath, "x", -1), 0);
  EXPECT_EQ(read_file(kPath), "old");
}

TEST(WriteToFileTest, AFullDiskIsLoggedAndLeavesTheFile) {
  mkdir("/tmp/small", 0755);
  ASSERT_EQ(mount("tmpfs", "/tmp/small", "tmpfs", 0, "size=4k"), 0);
  write_file("/tmp/small/file", "old");
  capiv2_log_init(capture_log);
  clear_log();
  const std::string content(64 * 1024, 'x');
  EXPECT_EQ(
      utils_write_to_file("/tmp/small/file", content.data(), static_cast<int>(content.size())), 1);
  EXPECT_EQ(captured_log(),
            (std::vector<LogLine>{
                {kLogWarning, "utils_write_to_file",
                 "failed to write /tmp/small/file, reason [No space left on device]"}}));
  EXPECT_EQ(read_file("/tmp/small/file"), "old");
  umount("/tmp/small");
}

TEST(WriteToFileTest, KeepsTheModeOfTheFile) {
  write_file(kPath, "old");
  chmod(kPath, 0640);
  EXPECT_EQ(utils_write_to_file(kPath, "new", 3), 1);
  EXPECT_EQ(mode_of(kPath), 0640u);
}

TEST(ReadFromFileTest, PutsANulBehindWhatItRead) {
  write_file(kPath, "abc");
  char buf[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
  EXPECT_EQ(utils_read_from_file(kPath, buf, 7), 3);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(buf[4], 'x');
}

TEST(ReadFromFileTest, ReadsNoMoreThanItIsToldTo) {
  write_file(kPath, "abcdef");
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(utils_read_from_file(kPath, buf, 3), 3);
  EXPECT_STREQ(buf, "abc");
}

TEST(ReadFromFileTest, LeavesTheBufferWhenThereIsNothing) {
  char buf[2] = {'x', 'x'};
  write_file(kPath, "");
  EXPECT_EQ(utils_read_from_file(kPath, buf, 1), 0);
  EXPECT_EQ(utils_read_from_file("/tmp/no_such_file", buf, 1), 0);
  EXPECT_EQ(utils_read_from_file("/tmp", buf, 1), 0);
  write_file(kPath, "abc");
  EXPECT_EQ(utils_read_from_file(kPath, buf, 0), 0);
  EXPECT_EQ(utils_read_from_file(kPath, buf, -1), 0);
  EXPECT_EQ(utils_read_from_file(nullptr, buf, 1), 0);
  EXPECT_EQ(utils_read_from_file(kPath, nullptr, 1), 0);
  EXPECT_EQ(buf[0], 'x');
}

TEST(FileExistTest, TellsWhatCanBeOpened) {
  write_file(kPath, "");
  EXPECT_EQ(utils_file_exist(kPath), 1);
  EXPECT_EQ(utils_file_exist("/tmp"), 1);
  EXPECT_EQ(utils_file_exist("/tmp/no_such_file"), 0);
  EXPECT_EQ(utils_file_exist(""), 0);
  EXPECT_EQ(utils_file_exist(nullptr), 0);
}

TEST(FileTest, NoCallLeavesADescriptorOpen) {
  const size_t before = open_descriptors();
  char buf[8];
  utils_write_to_file(kPath, "abc", 3);
  utils_read_from_file(kPath, buf, 7);
  utils_read_from_file("/tmp", buf, 7);
  utils_file_exist(kPath);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace capi::test
