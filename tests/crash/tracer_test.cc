// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tracer.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "support/files.h"

namespace capi::crash {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDirectory[] = "/tmp/traced";
constexpr char kFile[] = "/tmp/traced/file";

bool with_descriptor(int flags, const std::function<void(int)>& body) {
  const int fd = open(kFile, flags, 0644);
  body(fd);
  close(fd);
  return true;
}

class CrashTracer : public testing::Test {
 protected:
  void SetUp() override {
    if (!can_trace()) GTEST_SKIP() << "an emulated process cannot be traced";
    std::filesystem::remove_all(kDirectory);
    std::filesystem::create_directory(kDirectory);
    test::write_file(kFile, "0123456789");
    chmod(kFile, 0640);
  }

  // What an operation did, a line an action; checks that this explains what came of it.
  std::vector<std::string> traced(const std::function<bool()>& operation,
                                  const Failures& failures = {}) {
    const Disk disk({kDirectory});
    trace_ = trace(
        disk, contents_, [] {}, operation, failures);
    std::vector<std::string> lines;
    for (const Action& action : trace_.record.actions) lines.push_back(describe(action, contents_));
    if (trace_.trouble.empty()) {
      EXPECT_EQ(after(trace_.record, contents_).key(), disk.read(contents_).key());
    }
    return lines;
  }

  Contents contents_;
  Trace trace_;
};

TEST_F(CrashTracer, RecordsARewriteInPlace) {
  EXPECT_THAT(traced([] {
                FILE* file = fopen(kFile, "wb");
                fputs("new", file);
                fflush(file);
                fsync(fileno(file));
                return fclose(file) == 0;
              }),
              ElementsAre("truncate file 0 to 0", "write 3 bytes at 0 of file 0", "sync file 0",
                          "report success"));
}

TEST_F(CrashTracer, RecordsAReplacement) {
  EXPECT_THAT(traced([] {
                const int directory = open(kDirectory, O_RDONLY | O_DIRECTORY);
                const int fd = openat(directory, "new", O_WRONLY | O_CREAT | O_EXCL, 0600);
                const bool written = write(fd, "new", 3) == 3;
                fchmod(fd, 0640);
                fdatasync(fd);
                renameat(directory, "new", directory, "file");
                return fsync(directory) == 0 && written;
              }),
              ElementsAre("create /tmp/traced/new as file 1, 0600 0:0",
                          "write 3 bytes at 0 of file 1", "set file 1 to 0640 0:0", "sync file 1",
                          "rename /tmp/traced/new to /tmp/traced/file",
                          "sync directory /tmp/traced", "report success"));
}

TEST_F(CrashTracer, RecordsWhatAShellDoes) {
  EXPECT_THAT(traced([] { return system("cp -f /tmp/traced/file /tmp/traced/copy") == 0; }),
              ElementsAre("create /tmp/traced/copy as file 1, 0640 0:0",
                          "write 10 bytes at 0 of file 1", "report success"));
  EXPECT_THAT(traced([] { return system("cd /tmp/traced && mv copy moved && rm file; :") == 0; }),
              ElementsAre("rename /tmp/traced/copy to /tmp/traced/moved", "unlink /tmp/traced/file",
                          "report success"));
}

TEST_F(CrashTracer, KnowsWhereAWriteWent) {
  const iovec pieces[] = {{const_cast<char*>("ab"), 2}, {const_cast<char*>("cde"), 3}};
  EXPECT_THAT(traced([&] {
                return with_descriptor(O_RDWR, [&](int fd) {
                  EXPECT_EQ(pwrite(fd, "x", 1, 8), 1);
                  lseek(fd, 3, SEEK_SET);
                  EXPECT_EQ(writev(fd, pieces, 2), 5);
                  EXPECT_EQ(ftruncate(fd, 4), 0);
                });
              }),
              ElementsAre("write 1 bytes at 8 of file 0", "write 5 bytes at 3 of file 0",
                          "truncate file 0 to 4", "report success"));
  EXPECT_THAT(traced([] {
                return with_descriptor(O_WRONLY | O_APPEND,
                                       [](int fd) { EXPECT_EQ(write(fd, "y", 1), 1); });
              }),
              ElementsAre("write 1 bytes at 4 of file 0", "report success"));
}

TEST_F(CrashTracer, ASynchronousWriteIsSynced) {
  EXPECT_THAT(traced([] {
                return with_descriptor(O_WRONLY | O_DSYNC,
                                       [](int fd) { EXPECT_EQ(write(fd, "y", 1), 1); });
              }),
              ElementsAre("write 1 bytes at 0 of file 0", "sync file 0", "report success"));
}

TEST_F(CrashTracer, ASyncOfEverythingIsRecordedAndNotMade) {
  EXPECT_THAT(traced([] {
                sync();
                return true;
              }),
              ElementsAre("sync everything", "report success"));
}

TEST_F(CrashTracer, AnOperationThatFailsPromisesNothing) {
  EXPECT_THAT(traced([] { return false; }), IsEmpty());
  EXPECT_FALSE(trace_.succeeded);
}

TEST_F(CrashTracer, OtherFilesAreNotRecorded) {
  EXPECT_THAT(traced([] {
                test::write_file("/tmp/elsewhere", "text");
                return rename("/tmp/elsewhere", "/tmp/elsewhere2") == 0;
              }),
              ElementsAre("report success"));
}

TEST_F(CrashTracer, MakesASyncFail) {
  EXPECT_THAT(traced(
                  [] {
                    return with_descriptor(O_WRONLY, [](int fd) {
                      EXPECT_EQ(fsync(fd), -1);
                      EXPECT_EQ(errno, EIO);
                      EXPECT_EQ(fsync(fd), 0);
                    });
                  },
                  {.first_sync = 1, .syncs = 1}),
              ElementsAre("fail to sync file 0", "sync file 0", "report success"));
}

TEST_F(CrashTracer, MakesAnyOneActionFail) {
  EXPECT_THAT(traced(
                  [] {
                    EXPECT_EQ(chmod(kFile, 0600), 0);
                    EXPECT_EQ(unlink(kFile), -1);
                    return errno == EBUSY && unlink(kFile) == 0;
                  },
                  {.action = 2, .error = EBUSY}),
              ElementsAre("set file 0 to 0600 0:0", "unlink /tmp/traced/file", "report success"));
  EXPECT_TRUE(trace_.met_failure);
}

TEST_F(CrashTracer, TellsWhatItCannotRecord) {
  traced([] {
    return with_descriptor(
        O_RDWR, [](int fd) { mmap(nullptr, 10, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0); });
  });
  EXPECT_NE(trace_.trouble, "");
  traced([] { return rename(kFile, "/tmp/elsewhere") == 0; });
  EXPECT_NE(trace_.trouble, "");
}

}  // namespace
}  // namespace capi::crash
