// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Replacing a file while every call that it takes fails once.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "foundation/file_replacement.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;

namespace capi::test {
namespace {

constexpr char kDir[] = "/tmp/replacement";
constexpr char kPath[] = "/tmp/replacement/file";
constexpr char kSibling[] = "/tmp/replacement/.file.new";

constexpr Call kCalls[] = {Call::Malloc, Call::Open,  Call::Fstat, Call::Fchown,
                           Call::Fchmod, Call::Write, Call::Fsync, Call::Rename,
                           Call::Unlink, Call::Flock, Call::Close};
constexpr int kErrors[] = {ENOSPC, EIO, EDQUOT, EMFILE, EINTR, EBUSY, EACCES};

class FileReplacementFaults : public testing::Test {
 protected:
  FileReplacementFaults() {
    fs::remove_all(kDir);
    fs::create_directory(kDir);
  }
  ~FileReplacementFaults() override { clear_faults(); }

  static void put(const char* text) {
    fs::remove(kPath);
    fs::remove(kSibling);
    write_file(kPath, text);
    chmod(kPath, 0640);
    chown(kPath, 0, 815);  // where only one user is known it is not changed
  }

  static Replaced replace() {
    const std::string_view text = "new";
    return replace_file(kPath, {reinterpret_cast<const uint8_t*>(text.data()), text.size()},
                        {.is_durable = true}, [](ReplacingStep) {});
  }

  // How many calls of a kind a replacement makes when nothing fails.
  static int calls_of(Call call) {
    put("old");
    clear_faults();
    EXPECT_EQ(replace(), Replaced::Done);
    return count_calls(call);
  }
};

TEST_F(FileReplacementFaults, ACallThatFailsLeavesTheOldContentOrTheNewAndNothingElse) {
  for (const Call call : kCalls) {
    const int count = calls_of(call);
    for (int nth = 1; nth <= count; ++nth) {
      for (const int error : kErrors) {
        put("old");
        const size_t descriptors = open_descriptors();
        clear_faults();
        fail_call(call, nth, error);
        const Replaced result = replace();
        clear_faults();
        SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", " + std::to_string(nth) +
                     " of " + std::to_string(count) + ": " + strerror(error));
        EXPECT_EQ(read_file(kPath), result == Replaced::Done ? "new" : "old");
        EXPECT_NE(result, Replaced::Cut);
        EXPECT_EQ(open_descriptors(), descriptors);
        struct stat status {};
        EXPECT_EQ(stat(kPath, &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640u);
        EXPECT_FALSE(exists(kSibling));
      }
    }
  }
}

// The error of a sync is told once; asked again, the system would say that all is well.
TEST_F(FileReplacementFaults, ASyncThatFailedIsNotAskedForAgain) {
  put("old");
  clear_faults();
  fail_call(Call::Fsync, 1, EIO);
  EXPECT_EQ(replace(), Replaced::NotWritten);
  EXPECT_EQ(count_calls(Call::Fsync), 1);
  EXPECT_EQ(read_file(kPath), "old");
}

TEST_F(FileReplacementFaults, ShortWritesAreGoneOnWith) {
  put("old");
  clear_faults();
  inject({.call = Call::Write, .half = true});
  EXPECT_EQ(replace(), Replaced::Done);
  EXPECT_EQ(read_file(kPath), "new");
}

}  // namespace
}  // namespace capi::test
