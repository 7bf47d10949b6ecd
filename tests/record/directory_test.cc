// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/directory.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class DirectoryTest : public Adapter {
 protected:
  static void set_dir(int index, const std::string& dir) {
    memset(segment().directory[index], 0, 256);
    memcpy(segment().directory[index], dir.data(), dir.size());
  }

  // Work, data, log, bin, nv, ivr below /tmp/dirs, none of them there.
  static void set_dirs() {
    std::filesystem::remove_all("/tmp/dirs");
    const char* const names[] = {"work", "data", "log", "bin", "nv", "ivr"};
    for (int i = 0; i < 6; ++i) set_dir(i, std::string("/tmp/dirs/") + names[i]);
  }

  static std::string dir(int index) {
    char buf[256];
    const int result = capi_get_runtime_dir(index, buf, sizeof buf);
    return result == 0 ? buf : "<" + std::to_string(result) + ">";
  }

  static std::string path(int index, const char* name, int len = 512) {
    char buf[512] = {};
    EXPECT_EQ(capi_get_runtime_path(index, name, buf, len), buf);
    return buf;
  }
};

TEST_F(DirectoryTest, AnswersByIndex) {
  start_master();
  set_dirs();
  EXPECT_EQ(dir(0), "/tmp/dirs/work");
  EXPECT_EQ(dir(1), "/tmp/dirs/data");
  EXPECT_EQ(dir(2), "/tmp/dirs/log");
  EXPECT_EQ(dir(3), "/tmp/dirs/bin");
  EXPECT_EQ(dir(4), "/tmp/dirs/nv");
  EXPECT_EQ(dir(5), "/tmp/dirs/ivr");
}

TEST_F(DirectoryTest, GettersAnswerByName) {
  start_master();
  set_dirs();
  char buf[256];
  EXPECT_STREQ(capiv2_cfg_backend_get_work_dir(buf), "/tmp/dirs/work");
  EXPECT_STREQ(capiv2_cfg_backend_get_data_dir(buf), "/tmp/dirs/data");
  EXPECT_STREQ(capiv2_cfg_backend_get_log_dir(buf), "/tmp/dirs/log");
  EXPECT_STREQ(capiv2_cfg_backend_get_bin_dir(buf), "/tmp/dirs/bin");
  EXPECT_STREQ(capiv2_cfg_backend_get_nv_dir(buf), "/tmp/dirs/nv");
  EXPECT_STREQ(capiv2_cfg_backend_get_ivr_dir(buf), "/tmp/dirs/ivr");
  EXPECT_EQ(capiv2_cfg_backend_get_work_dir(buf), buf);
}

TEST_F(DirectoryTest, GettersReturnNullWithoutBufferOrContext) {
  char buf[256];
  for (auto* getter : {capiv2_cfg_backend_get_work_dir, capiv2_cfg_backend_get_data_dir,
                       capiv2_cfg_backend_get_log_dir, capiv2_cfg_backend_get_bin_dir,
                       capiv2_cfg_backend_get_nv_dir, capiv2_cfg_backend_get_ivr_dir}) {
    start_master();
    EXPECT_EQ(getter(nullptr), nullptr);
    EXPECT_EQ(getter(buf), buf);
    capi_uninit();
    EXPECT_EQ(getter(buf), nullptr);
  }
}

TEST_F(DirectoryTest, AnEmptyNvDirectoryIsTheDataDirectory) {
  start_master();
  set_dir(1, "/data");
  char buf[256];
  EXPECT_STREQ(capiv2_cfg_backend_get_nv_dir(buf), "/data");
  EXPECT_EQ(dir(4), "/data");
  EXPECT_EQ(path(4, "x"), "/data/x");
}

TEST_F(DirectoryTest, AnEmptyIvrDirectoryIsEmpty) {
  start_master();
  char buf[256] = "x";
  EXPECT_STREQ(capiv2_cfg_backend_get_ivr_dir(buf), "");
  EXPECT_EQ(dir(5), "");
  EXPECT_EQ(path(5, "x"), "/x");
}

TEST_F(DirectoryTest, AnotherIndexFailsWithTheBufferZeroed) {
  start_master();
  for (const int index : {6, 7, -1, INT32_MAX, INT32_MIN}) {
    char buf[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(capi_get_runtime_dir(index, buf, sizeof buf), -1);
    EXPECT_THAT(buf, Each('\0'));
  }
}

TEST_F(DirectoryTest, ZeroesTheLengthAndCopiesTheWholeDirectory) {
  start_master();
  set_dir(0, "/tmp/longer");
  char buf[256];
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(capi_get_runtime_dir(0, buf, 4), 0);
  EXPECT_STREQ(buf, "/tmp/longer");
  EXPECT_EQ(buf[12], 'x');
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(capi_get_runtime_dir(0, buf, 200), 0);
  EXPECT_EQ(buf[199], '\0');
  EXPECT_EQ(buf[200], 'x');
  EXPECT_EQ(capi_get_runtime_dir(0, buf, -1), 0);
}

TEST_F(DirectoryTest, RefusesANullBuffer) {
  start_master();
  EXPECT_EQ(capi_get_runtime_dir(0, nullptr, 256), -1);
  EXPECT_EQ(capi_get_runtime_path(0, "x", nullptr, 256), nullptr);
}

TEST_F(DirectoryTest, WithoutAContextTheBufferIsZeroed) {
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(capi_get_runtime_dir(0, buf, sizeof buf), -1);
  EXPECT_THAT(buf, Each('\0'));
  EXPECT_EQ(path(0, "x"), "");
}

TEST_F(DirectoryTest, APathIsDirectorySlashName) {
  start_master();
  EXPECT_EQ(path(1, "x", 10), "/tmp/x");
  EXPECT_EQ(path(1, "a/b"), "/tmp/a/b");
  EXPECT_EQ(path(1, ""), "/tmp/");
}

TEST_F(DirectoryTest, APathIsCutToOneLessThanTheLength) {
  start_master();
  EXPECT_EQ(path(1, "x", 7), "/tmp/x");
  EXPECT_EQ(path(1, "x", 6), "/tmp/");
  EXPECT_EQ(path(1, "x", 2), "/");
  EXPECT_EQ(path(1, "x", 1), "");
}

TEST_F(DirectoryTest, APathWritesNothingBehindTheLength) {
  start_master();
  char buf[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
  capi_get_runtime_path(1, "name", buf, 6);
  EXPECT_THAT(buf, ElementsAre('/', 't', 'm', 'p', '/', 0, 'x', 'x'));
  capi_get_runtime_path(1, "name", buf, 0);
  capi_get_runtime_path(1, "name", buf, -1);
  EXPECT_EQ(buf[0], '/');
}

TEST_F(DirectoryTest, APathIsEmptyForABadIndexOrName) {
  start_master();
  EXPECT_EQ(path(6, "x"), "");
  EXPECT_EQ(path(-1, "x"), "");
  EXPECT_EQ(path(0, nullptr), "");
}

TEST_F(DirectoryTest, ADirectoryMayFillItsSlot) {
  start_master();
  const std::string longest = "/" + std::string(254, 'd');
  set_dir(1, longest);
  EXPECT_EQ(dir(1), longest);
  EXPECT_EQ(path(1, "name"), longest + "/name");
  set_dir(1, longest + "d");  // without a terminator
  EXPECT_EQ(dir(1), longest);
}

TEST_F(DirectoryTest, ADirectoryIsNoFormat) {
  start_master();
  set_dir(1, "/tmp/%s%n");
  EXPECT_EQ(path(1, "%d"), "/tmp/%s%n/%d");
}

TEST_F(DirectoryTest, OurPathsAreWholeOrEmpty) {
  char path[10];
  make_path(path, "/tmp", "abcd");
  EXPECT_STREQ(path, "/tmp/abcd");
  make_path(path, "/tmp", "abcde");
  EXPECT_STREQ(path, "");
  make_path(path, std::string(5000, 'd'), "a");
  EXPECT_STREQ(path, "");
}

TEST_F(DirectoryTest, OurPathsHaveAFallbackForADirectoryThatIsNotNamed) {
  char path[32];
  make_path(path, "", "name");
  EXPECT_STREQ(path, "/tmp/name");
  make_path(path, "", "name", "/other");
  EXPECT_STREQ(path, "/other/name");
}

TEST_F(DirectoryTest, PostInitMakesAllButTheBinDirectory) {
  start_master();
  set_dirs();
  EXPECT_EQ(capiv2_cfg_backend_post_init(), 0);
  for (const char* name : {"work", "data", "log", "nv", "ivr"}) {
    const std::string made = std::string("/tmp/dirs/") + name;
    EXPECT_TRUE(std::filesystem::is_directory(made)) << made;
    struct stat status {};
    EXPECT_EQ(stat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0777u);
  }
  EXPECT_FALSE(exists("/tmp/dirs/bin"));
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogInfo, "capiv2_cfg_backend_post_init",
                                  "/tmp/dirs/work /tmp/dirs/data /tmp/dirs/log /tmp/dirs/bin "
                                  "/tmp/dirs/nv /tmp/dirs/ivr"}));
}

TEST_F(DirectoryTest, PostInitShowsDirectoriesAsTheyAreSet) {
  start_master();
  EXPECT_EQ(capiv2_cfg_backend_post_init(), 0);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogInfo, "capiv2_cfg_backend_post_init", "/tmp /tmp /tmp   "}));
}

TEST_F(DirectoryTest, PostInitLogsWhatFailsAndGoesOn) {
  start_master();
  set_dirs();
  write_file("/tmp/dirs/file", "");
  set_dir(0, "/tmp/dirs/file/work");
  set_dir(4, "/tmp/dirs/file/nv");
  EXPECT_EQ(capiv2_cfg_backend_post_init(), 0);
  EXPECT_THAT(captured_log(kLogErr),
              ElementsAre(LogLine{kLogErr, "capiv2_cfg_backend_post_init",
                                  "create /tmp/dirs/file/work failed(errno=20/Not a directory)"},
                          LogLine{kLogErr, "capiv2_cfg_backend_post_init",
                                  "create /tmp/dirs/file/nv failed(errno=20/Not a directory)"}));
  EXPECT_TRUE(exists("/tmp/dirs/data"));
  EXPECT_TRUE(exists("/tmp/dirs/ivr"));
}

TEST_F(DirectoryTest, PostInitDoesNothingWithoutAContext) {
  EXPECT_EQ(capiv2_cfg_backend_post_init(), 0);
  EXPECT_THAT(captured_log(), IsEmpty());
}

}  // namespace
}  // namespace capi::test
