// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file_replacement.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/faults.h"
#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;

namespace capi::test {
namespace {

using testing::ElementsAre;

constexpr char kDir[] = "/tmp/replacement";
constexpr char kPath[] = "/tmp/replacement/file";
constexpr char kSibling[] = "/tmp/replacement/.file.new";
constexpr uid_t kStranger = 4711;

// In an ordinary user's private view there is nobody else.
#define SKIP_WITHOUT_STRANGERS()                                                      \
  if (chown(kDir, kStranger, 0) != 0) GTEST_SKIP() << "only this user is known here"; \
  ASSERT_EQ(chown(kDir, 0, 0), 0)

struct stat status_of(const char* path) {
  struct stat status {};
  EXPECT_EQ(lstat(path, &status), 0) << path;
  return status;
}

std::span<const uint8_t> bytes_of(const std::string& text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

bool replace(const char* path, std::string_view text, OddFile odd_file = OddFile::WrittenInPlace) {
  FileReplacement file(path, odd_file);
  return file.is_open() && file.write(text.data(), text.size()) && file.commit() &&
         file.sync_directory() && file.close();
}

std::vector<std::string> names() {
  std::vector<std::string> result;
  for (const auto& entry : fs::directory_iterator(kDir)) result.push_back(entry.path().filename());
  std::sort(result.begin(), result.end());
  return result;
}

class FileReplacementTest : public testing::Test {
 protected:
  FileReplacementTest() {
    fs::remove_all(kDir);
    fs::create_directory(kDir);
    write_file(kPath, "old");
  }
};

TEST_F(FileReplacementTest, GivesTheNameToTheNewContent) {
  EXPECT_TRUE(replace(kPath, "new and longer"));
  EXPECT_EQ(read_file(kPath), "new and longer");
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileReplacementTest, MakesAFileThatWasNotThere) {
  fs::remove(kPath);
  umask(027);
  EXPECT_TRUE(replace(kPath, "new"));
  umask(022);
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(status_of(kPath).st_mode & 07777, 0640u);
}

TEST_F(FileReplacementTest, TakesPathsFromTheWorkingDirectory) {
  ASSERT_EQ(chdir(kDir), 0);
  EXPECT_TRUE(replace("file", "new"));
  EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(FileReplacementTest, ReadersSeeTheOldContentUntilTheEnd) {
  FileReplacement file(kPath);
  ASSERT_TRUE(file.write("new", 3));
  EXPECT_EQ(read_file(kPath), "old");
  ASSERT_TRUE(file.commit());
  EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(FileReplacementTest, LeavesWhatIsOpenAlone) {
  const Descriptor reader(open(kPath, O_RDONLY));
  ASSERT_TRUE(replace(kPath, "new"));
  char text[4] = {};
  EXPECT_EQ(read(reader.get(), text, 3), 3);
  EXPECT_STREQ(text, "old");
}

TEST_F(FileReplacementTest, WhatIsGivenUpLeavesTheOldContentAndNothingElse) {
  {
    FileReplacement file(kPath);
    ASSERT_TRUE(file.write("new", 3));
    ASSERT_TRUE(exists(kSibling));
  }
  EXPECT_EQ(read_file(kPath), "old");
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileReplacementTest, KeepsModeAndOwner) {
  SKIP_WITHOUT_STRANGERS();
  ASSERT_EQ(chown(kPath, kStranger, 815), 0);
  ASSERT_EQ(chmod(kPath, 04751), 0);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_EQ(status_of(kPath).st_mode & 07777, 04751u);
  EXPECT_EQ(status_of(kPath).st_uid, kStranger);
  EXPECT_EQ(status_of(kPath).st_gid, 815u);
}

TEST_F(FileReplacementTest, NobodyElseReadsWhatIsStillWritten) {
  ASSERT_EQ(chmod(kPath, 0600), 0);
  FileReplacement file(kPath);
  ASSERT_TRUE(file.is_open());
  EXPECT_EQ(status_of(kSibling).st_mode & 07777, 0600u);
}

TEST_F(FileReplacementTest, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_FALSE(replace("/tmp/replacement/none/file", "new"));
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(FileReplacementTest, DescriptorsAreClosedInStartedPrograms) {
  FileReplacement file(kPath);
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const fs::path target = fs::read_symlink(entry.path(), error);
    if (error || !target.string().starts_with(kDir)) continue;
    const int fd = std::stoi(entry.path().filename());
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0) << target;
  }
}

// ---- What a killed writer leaves ----------------------------------------------------------------

TEST_F(FileReplacementTest, AKilledWritersSiblingIsRemovedByTheNext) {
  Baton written;
  Process writer([&] {
    FileReplacement file(kPath);
    file.write("half of the n", 13);
    written.pass();
    pause();
  });
  written.await();
  writer.kill();
  EXPECT_THAT(names(), ElementsAre(".file.new", "file"));
  EXPECT_EQ(read_file(kPath), "old");
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileReplacementTest, ALinkInPlaceOfTheSiblingIsNotFollowed) {
  write_file("/tmp/replacement/precious", "precious");
  fs::create_symlink("precious", kSibling);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_EQ(read_file("/tmp/replacement/precious"), "precious");
  EXPECT_THAT(names(), ElementsAre("file", "precious"));
}

TEST_F(FileReplacementTest, AFifoInPlaceOfTheSiblingStopsNobody) {
  ASSERT_EQ(mkfifo(kSibling, 0666), 0);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_THAT(names(), ElementsAre("file"));
}

// Two that work on one file take turns: each content is whole, and the last one stays.
TEST_F(FileReplacementTest, WritersWithoutALockDoNotMixTheirContents) {
  constexpr int kRounds = 200;
  std::vector<std::thread> writers;
  for (const char c : {'a', 'b', 'c'}) {
    writers.emplace_back([c] {
      for (int i = 0; i < kRounds; ++i) EXPECT_TRUE(replace(kPath, std::string(5000, c)));
    });
  }
  for (auto& writer : writers) writer.join();
  const std::string content = read_file(kPath);
  EXPECT_EQ(content, std::string(5000, content[0]));
  EXPECT_THAT(names(), ElementsAre("file"));
}

// ---- Errors
// --------------------------------------------------------------------------------------

TEST_F(FileReplacementTest, AMissingDirectoryIsAFileThatCannotBeOpened) {
  const FileReplacement file("/tmp/replacement/none/file");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(file.is_open());
}

TEST_F(FileReplacementTest, ADirectoryCannotBeOpened) {
  for (const OddFile odd_file : {OddFile::WrittenInPlace, OddFile::Replaced}) {
    const FileReplacement file(kDir, odd_file);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(file.is_open());
  }
  const FileReplacement file("/tmp/replacement/");
  EXPECT_EQ(errno, EISDIR);
  EXPECT_FALSE(file.is_open());
}

TEST_F(FileReplacementTest, AFileThatMayNotBeWrittenMayNotBeReplaced) {
  SKIP_WITHOUT_STRANGERS();
  in_other_process([] {
    ASSERT_EQ(chmod(kDir, 0777), 0);
    ASSERT_EQ(seteuid(kStranger), 0);
    const FileReplacement file(kPath);
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(file.is_open());
  });
  EXPECT_EQ(read_file(kPath), "old");
}

TEST_F(FileReplacementTest, WithoutADescriptorNothingIsTouched) {
  in_other_process([] {
    while (open("/dev/null", O_RDONLY) >= 0) {
    }
    const FileReplacement file(kPath);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_FALSE(file.is_open());
  });
  EXPECT_EQ(read_file(kPath), "old");
}

class FullDiskTest : public FileReplacementTest {
 protected:
  FullDiskTest() {
    EXPECT_EQ(mount("tmpfs", kDir, "tmpfs", 0, "size=32k,nr_inodes=4"), 0) << strerror(errno);
    write_file(kPath, "old");
  }
  ~FullDiskTest() override { umount(kDir); }
};

TEST_F(FullDiskTest, TheOldContentStaysAndTheErrorIsTold) {
  {
    FileReplacement file(kPath);
    ASSERT_TRUE(file.is_open());
    EXPECT_FALSE(file.write(std::string(40000, 'x').data(), 40000));
    EXPECT_EQ(errno, ENOSPC);
    errno = 0;
    EXPECT_FALSE(file.write("x", 1));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(errno, ENOSPC);
  }
  EXPECT_EQ(read_file(kPath), "old");
  EXPECT_THAT(names(), ElementsAre("file"));
}

// A file that is there can be opened, however full the disk is.
TEST_F(FullDiskTest, WithoutRoomForASiblingTheWriteFailsAndNotTheOpening) {
  write_file("/tmp/replacement/a", "");
  write_file("/tmp/replacement/b", "");
  FileReplacement file(kPath);
  EXPECT_TRUE(file.is_open());
  EXPECT_FALSE(file.write("new", 3));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(read_file(kPath), "old");
}

TEST_F(FullDiskTest, AMissingFileCannotBeOpenedWithoutRoom) {
  for (const char* name : {"a", "b"}) write_file(std::string(kDir) + "/" + name, "");
  const FileReplacement file("/tmp/replacement/missing");
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(file.is_open());
}

TEST_F(FullDiskTest, AFileIsOverwrittenWithoutRoomForASibling) {
  write_file(kPath, std::string(8192, 'o'));
  write_file("/tmp/replacement/ballast", std::string(6 * 4096, 'x'));
  EXPECT_FALSE(replace(kPath, std::string(8000, 'n')));
  const std::string shorter(8000, 'n');
  EXPECT_EQ(overwrite_file(kPath, bytes_of(shorter), 44), Replaced::Done);
  EXPECT_EQ(read_file(kPath), shorter);
}

TEST_F(FullDiskTest, AnOverwritingThatFailsTellsWhetherTheOldContentIsStillThere) {
  write_file(kPath, std::string(8192, 'o'));
  const std::string shorter(8000, 'n');
  fail_call(Call::Write, 1, ENOSPC);
  EXPECT_EQ(overwrite_file(kPath, bytes_of(shorter), 44), Replaced::NotWritten);
  EXPECT_EQ(read_file(kPath), std::string(8192, 'o'));
  inject({.call = Call::Write, .times = kForEver, .error = ENOSPC, .half = true});
  EXPECT_EQ(overwrite_file(kPath, bytes_of(shorter), 44), Replaced::Cut);
  clear_faults();
  fail_call(Call::Write, 2, ENOSPC);
  EXPECT_EQ(overwrite_file(kPath, bytes_of(shorter), 44), Replaced::Cut);
}

TEST_F(FullDiskTest, AFileThatIsOverwrittenInPartIsToldAsCut) {
  write_file(kPath, std::string(8192, 'o'));
  inject({.call = Call::Write, .times = kForEver, .error = ENOSPC, .half = true});
  const Replaced result =
      replace_file(kPath, bytes_of(std::string(8000, 'n')), {.head = 44}, [](ReplacingStep) {});
  EXPECT_EQ(result, Replaced::Cut);
}

// ---- Files that are written in place
// -------------------------------------------------------------

TEST_F(FileReplacementTest, APathThatIsTooLongIsNotThatOfAnotherFile) {
  std::string path = "/tmp/replacement/";
  while (path.size() < PATH_MAX - 1) path += "./";
  ASSERT_EQ(path.size(), PATH_MAX - 1U);
  errno = 0;
  EXPECT_FALSE(replace((path + "ff").c_str(), "new"));
  EXPECT_EQ(errno, ENAMETOOLONG);
  EXPECT_FALSE(fs::exists("/tmp/replacement/f"));
}

TEST_F(FileReplacementTest, AFileOfTwoNamesKeepsThem) {
  fs::create_hard_link(kPath, "/tmp/replacement/other");
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_EQ(read_file("/tmp/replacement/other"), "new");
  EXPECT_THAT(names(), ElementsAre("file", "other"));
}

// As a power cut amid renaming may leave it.
TEST_F(FileReplacementTest, ASiblingsNameIsNoNameToKeep) {
  fs::create_hard_link(kPath, kSibling);
  const Descriptor reader(open(kPath, O_RDONLY));
  EXPECT_TRUE(replace(kPath, "new"));
  char text[4] = {};
  EXPECT_EQ(read(reader.get(), text, 3), 3);
  EXPECT_STREQ(text, "old");
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileReplacementTest, ALinkOfOnesOwnIsFollowed) {
  fs::rename(kPath, "/tmp/replacement/far");
  fs::create_symlink("far", kPath);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_TRUE(fs::is_symlink(kPath));
  EXPECT_EQ(read_file("/tmp/replacement/far"), "new");
}

TEST_F(FileReplacementTest, ALinkThatAStrangerPlantedIsReplaced) {
  SKIP_WITHOUT_STRANGERS();
  fs::rename(kPath, "/tmp/replacement/precious");
  fs::create_symlink("precious", kPath);
  ASSERT_EQ(lchown(kPath, kStranger, kStranger), 0);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_FALSE(fs::is_symlink(kPath));
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(read_file("/tmp/replacement/precious"), "old");
}

TEST_F(FileReplacementTest, ADeviceStaysOne) {
  EXPECT_TRUE(replace("/dev/null", "new"));
  EXPECT_TRUE(S_ISCHR(status_of("/dev/null").st_mode));
  FileReplacement full("/dev/full");
  EXPECT_TRUE(full.is_open());
  EXPECT_FALSE(full.write("new", 3));
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(FileReplacementTest, AFifoWithoutAReaderCannotBeOpened) {
  fs::remove(kPath);
  ASSERT_EQ(mkfifo(kPath, 0666), 0);
  const FileReplacement file(kPath);
  EXPECT_EQ(errno, ENXIO);
  EXPECT_FALSE(file.is_open());
}

TEST_F(FileReplacementTest, WhereNoSiblingMayBeMadeTheFileIsWrittenItself) {
  SKIP_WITHOUT_STRANGERS();
  in_other_process([] {
    ASSERT_EQ(chmod(kPath, 0666), 0);
    ASSERT_EQ(chmod(kDir, 0755), 0);
    ASSERT_EQ(seteuid(kStranger), 0);
    EXPECT_TRUE(replace(kPath, "new"));
  });
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(status_of(kPath).st_uid, 0u);
}

TEST_F(FileReplacementTest, AFileWhoseOwnerCannotBeKeptIsWrittenItself) {
  SKIP_WITHOUT_STRANGERS();
  in_other_process([] {
    ASSERT_EQ(chmod(kPath, 0666), 0);
    ASSERT_EQ(chmod(kDir, 0777), 0);
    ASSERT_EQ(seteuid(kStranger), 0);
    EXPECT_TRUE(replace(kPath, "new"));
  });
  EXPECT_EQ(read_file(kPath), "new");
  EXPECT_EQ(status_of(kPath).st_uid, 0u);
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileReplacementTest, ANameWithoutRoomForASiblingsIsWrittenItself) {
  const std::string path = std::string(kDir) + "/" + std::string(255, 'n');
  EXPECT_TRUE(replace(path.c_str(), "new"));
  EXPECT_EQ(read_file(path), "new");
}

TEST_F(FileReplacementTest, AFileThatIsAMountPointIsWrittenItself) {
  write_file("/tmp/replacement/mounted", "old");
  ASSERT_EQ(mount("/tmp/replacement/mounted", kPath, "none", MS_BIND, nullptr), 0)
      << strerror(errno);
  EXPECT_TRUE(replace(kPath, "new"));
  EXPECT_EQ(read_file("/tmp/replacement/mounted"), "new");
  ASSERT_EQ(umount(kPath), 0);
  EXPECT_THAT(names(), ElementsAre("file", "mounted"));
}

// ---- Files that are replaced whatever they are
// ---------------------------------------------------

TEST_F(FileReplacementTest, OnesOwnLinkIsReplacedWhenOnlyTheNameCounts) {
  fs::rename(kPath, "/tmp/replacement/far");
  fs::create_symlink("far", kPath);
  EXPECT_TRUE(replace(kPath, "new", OddFile::Replaced));
  EXPECT_FALSE(fs::is_symlink(kPath));
  EXPECT_EQ(read_file("/tmp/replacement/far"), "old");
}

TEST_F(FileReplacementTest, AnotherNameOfTheFileKeepsTheOldContentWhenOnlyTheNameCounts) {
  fs::create_hard_link(kPath, "/tmp/replacement/other");
  EXPECT_TRUE(replace(kPath, "new", OddFile::Replaced));
  EXPECT_EQ(read_file("/tmp/replacement/other"), "old");
}

}  // namespace
}  // namespace capi::test
