// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/file.h"

#include <sys/mount.h>

#include <filesystem>
#include <functional>

#include "call_log_test.h"

namespace capi::test {
namespace {

constexpr char kCreate[] = "_vkr_voip_create_call_log_file";
constexpr char kRead[] = "_vkr_voip_read_call_log";
constexpr char kVerify[] = "_vkr_voip_verify_call_log_file";
constexpr char kInit[] = "_vkr_voip_init_call_log_file";

const LogLine kCreated{kLogInfo, kCreate, " create file /tmp/voip_call_log success !"};
const LogLine kNotCreated{kLogWarning, kCreate,
                          " can not create  file /tmp/voip_call_log, error : Is a directory !"};

class CallLogFile : public CallLog {
 protected:
  // A directory with something in it cannot be removed, and no file can be created in its place.
  static void put_directory() { write_file(std::string(kLogPath) + "/file", "x"); }

  static void expect_empty_log() { EXPECT_EQ(bytes_of(*read_image()), bytes_of(*empty_image())); }
};

TEST_F(CallLogFile, InitCreatesAMissingFile) {
  EXPECT_EQ(capi_voip_init_call_log_file(), 0);
  EXPECT_EQ(captured_log(), lines({kCreated}));
  expect_empty_log();
  EXPECT_EQ(count_calls(Call::Sync), 1);
  EXPECT_EQ(posted().size(), 0u);
}

TEST_F(CallLogFile, InitLeavesAValidFileAlone) {
  const Image image = image_of({0, 1, 2});
  write_image(*image);
  EXPECT_EQ(capi_voip_init_call_log_file(), 0);
  EXPECT_EQ(captured_log(), lines({}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
  EXPECT_EQ(count_calls(Call::Sync), 0);
}

TEST_F(CallLogFile, InitSaysThatNoFileCanBeCreated) {
  fail_call(Call::Open);
  EXPECT_EQ(capi_voip_init_call_log_file(), -1);
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate,
              " can not create  file /tmp/voip_call_log, error : Input/output error !"},
             {kLogWarning, kInit, " fail to create new call log file /tmp/voip_call_log !"}}));
}

TEST_F(CallLogFile, InitSaysThatABadFileCannotBeRebuilt) {
  put_directory();
  EXPECT_EQ(capi_voip_init_call_log_file(), -1);
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kVerify, " can not get file size /tmp/voip_call_log, error : Success!"},
             kNotCreated,
             {kLogWarning, kVerify, " can not rebuild  file /tmp/voip_call_log !"},
             {kLogWarning, kInit, " verify format of file /tmp/voip_call_log failure !"}}));
}

TEST_F(CallLogFile, InitLeavesAFileThatCannotBeOpened) {
  write_image(*image_of({0, 1}));
  const std::string before = read_file(kLogPath);
  for (const int error : {EMFILE, EACCES, ENOMEM}) {
    clear_log();
    fail_call(Call::Fopen, 1, error);
    EXPECT_EQ(capi_voip_init_call_log_file(), -1);
    EXPECT_EQ(
        captured_log(),
        lines({{kLogWarning, kCreate,
                std::string(" can not create  file /tmp/voip_call_log, error : ") +
                    strerror(error) + " !"},
               {kLogWarning, kInit, " fail to create new call log file /tmp/voip_call_log !"}}));
    EXPECT_EQ(read_file(kLogPath), before);
  }
}

// What is not on the medium is not written.
TEST_F(CallLogFile, CreateSaysThatAWriteFailed) {
  for (const Call call : {Call::Write, Call::Fsync, Call::Rename}) {
    clear_log();
    fail_call(call);
    EXPECT_EQ(capi_voip_init_call_log_file(), -1);
    EXPECT_EQ(
        captured_log(),
        lines({{kLogWarning, kCreate,
                " failure write data into file /tmp/voip_call_log, error : Input/output error!"},
               {kLogWarning, kInit, " fail to create new call log file /tmp/voip_call_log !"}}));
    EXPECT_FALSE(exists(kLogPath));
    EXPECT_FALSE(exists(kSibling));
  }
  EXPECT_EQ(count_calls(Call::Sync), 0);
}

TEST_F(CallLogFile, CreateGoesOnAfterAFailedFlush) {
  fail_call(Call::Fsync, 2);  // of the directory
  EXPECT_EQ(capi_voip_init_call_log_file(), 0);
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate,
              " failure flush data into file /tmp/voip_call_log, error : Input/output error!"},
             kCreated}));
  EXPECT_EQ(count_calls(Call::Sync), 1);
}

TEST_F(CallLogFile, CreateGoesOnAfterAFailedClose) {
  fail_call(Call::Close);
  EXPECT_EQ(capi_voip_init_call_log_file(), 0);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kCreate,
                    " failure close file /tmp/voip_call_log, error : Input/output error!"},
                   kCreated}));
}

TEST_F(CallLogFile, CreateNeedsMemory) {
  fail_call(Call::Malloc);
  EXPECT_EQ(capi_voip_init_call_log_file(), -1);
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kCreate, "Malloc failed"},
             {kLogWarning, kInit, " fail to create new call log file /tmp/voip_call_log !"}}));
}

TEST_F(CallLogFile, VerifyWithoutMemoryLeavesTheFile) {
  write_image(*image_of({0, 1}));
  const std::string before = read_file(kLogPath);
  fail_call(Call::Malloc);
  EXPECT_EQ(capi_voip_init_call_log_file(), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kVerify, "Malloc failed"},
                   {kLogWarning, kInit, " verify format of file /tmp/voip_call_log failure !"}}));
  EXPECT_EQ(read_file(kLogPath), before);
}

TEST_F(CallLogFile, VerifyRebuildsAMissingFile) {
  EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kVerify,
                                    " can not get file size /tmp/voip_call_log, error : No such "
                                    "file or directory!"},
                                   kCreated}));
  expect_empty_log();
  EXPECT_EQ(posted().size(), 0u);
}

TEST_F(CallLogFile, VerifyRebuildsAFileOfAnotherSize) {
  const std::string good = bytes_of(*image_of({0, 1, 2}));
  for (const std::string& bad : {good.substr(0, 62443), good + "x", std::string()}) {
    clear_log();
    write_file(kLogPath, bad);
    EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, kVerify,
                      " can not get file size /tmp/voip_call_log, error : Success!"},
                     kCreated}));
    expect_empty_log();
  }
}

TEST_F(CallLogFile, VerifyRebuildsAFileWithOtherMarks) {
  struct Case {
    std::function<void(capi_call_log_header&)> damage;
    const char* numbers;
  };
  const Case cases[] = {
      {[](auto& header) { header.max_entry_num_per_type = 101; },
       "[3], max_entry_num_per_type [101], log_ver [51728]"},
      {[](auto& header) { header.max_num_of_record_type = 4; },
       "[4], max_entry_num_per_type [100], log_ver [51728]"},
      {[](auto& header) { header.log_ver = 51729; },
       "[3], max_entry_num_per_type [100], log_ver [51729]"},
  };
  for (const Case& bad : cases) {
    clear_log();
    const Image image = image_of({0});
    bad.damage(image->header);
    write_image(*image);
    EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kVerify,
                                      std::string(" Parse wrong call log file description, "
                                                  "max_num_of_record_type ") +
                                          bad.numbers},
                                     kCreated}));
    expect_empty_log();
  }
}

TEST_F(CallLogFile, VerifyRebuildsAFileWhoseListsAreBroken) {
  const Image image = image_of({0, 1});
  image->node[0].all_next = 400;
  write_image(*image);
  EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kRead, " failure check all used call log link list"},
                   {kLogWarning, kVerify, " read call log file /tmp/voip_call_log failure !"},
                   kCreated}));
  expect_empty_log();
}

TEST_F(CallLogFile, VerifyLeavesAFileThatCannotBeLookedAt) {
  const std::string reason = "Input/output error";
  const struct {
    Call call;
    int nth;
    std::vector<LogLine> lines;
  } cases[] = {
      {Call::Stat,
       1,
       {{kLogWarning, kVerify,
         " can not get file size /tmp/voip_call_log, error : " + reason + "!"}}},
      {Call::Fopen, 1, {{kLogWarning, kVerify, " can not open  file /tmp/voip_call_log !"}}},
      {Call::Fread,
       1,
       {{kLogWarning, kVerify,
         " failure to read data in file /tmp/voip_call_log, error : " + reason + "!"}}},
      {Call::Fopen,
       2,
       {{kLogWarning, kRead,
         " can not read call log file /tmp/voip_call_log, error = " + reason + " !"},
        {kLogWarning, kVerify, " read call log file /tmp/voip_call_log failure !"}}},
      {Call::Fread,
       2,
       {{kLogWarning, kRead,
         " failure to read data in file /tmp/voip_call_log, error : " + reason + "!"},
        {kLogWarning, kVerify, " read call log file /tmp/voip_call_log failure !"}}},
  };
  write_image(*image_of({0}));
  const std::string before = read_file(kLogPath);
  for (auto [call, nth, lines] : cases) {
    clear_log();
    fail_call(call, nth);
    EXPECT_EQ(capi_voip_verify_call_log_file(), -1);
    lines.push_back({kLogWarning, kVerify, " can not rebuild  file /tmp/voip_call_log !"});
    EXPECT_EQ(captured_log(), lines);
    EXPECT_EQ(read_file(kLogPath), before);
  }
}

TEST_F(CallLogFile, VerifyGoesOnAfterAFailedClose) {
  write_image(*image_of({0}));
  fail_call(Call::Fclose);
  EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kVerify,
                    " failure close file /tmp/voip_call_log, error : Input/output error!"}}));
  EXPECT_EQ(read_image()->header.used.count, 1);
}

TEST_F(CallLogFile, VerifyTakesAnEmptyDirectoryAway) {
  std::filesystem::create_directory(kLogPath);
  EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
  expect_empty_log();
}

TEST_F(CallLogFile, ReadSaysThatThereIsNoFile) {
  const Image image = empty_image();
  EXPECT_EQ(capi_voip_read_call_log(image.get()), -1);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRead,
                                    " can not read call log file /tmp/voip_call_log, error = No "
                                    "such file or directory !"}}));
  EXPECT_FALSE(exists(kLogPath));
}

TEST_F(CallLogFile, ReadSaysThatTheFileIsTooShort) {
  const Image image = empty_image();
  write_file(kLogPath, bytes_of(*image).substr(1));
  EXPECT_EQ(capi_voip_read_call_log(image.get()), -1);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRead,
                                    " failure to read data in file /tmp/voip_call_log, error : "
                                    "Success!"}}));
}

TEST_F(CallLogFile, ReadNeedsSomewhereToReadTo) {
  write_image(*empty_image());
  EXPECT_EQ(capi_voip_read_call_log(nullptr), -1);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kRead, "Invalid NULL pointer"}}));
}

TEST_F(CallLogFile, ReadNamesTheListThatIsBroken) {
  struct Case {
    std::function<void(capi_call_log_image&)> damage;
    const char* text;
  };
  const Case cases[] = {
      {[](auto& image) { image.header.used.count = 301; }, " failure check call log count value"},
      {[](auto& image) { image.header.entry[2].list.count = 101; },
       " failure check call log count value"},
      {[](auto& image) { image.header.free.head = 301; },
       " failure check freed call log link list"},
      {[](auto& image) { image.header.used.tail = 301; },
       " failure check all used call log link list"},
      {[](auto& image) { image.header.entry[1].list.tail = 301; },
       " failure check link list call log type = 1"},
  };
  for (const Case& bad : cases) {
    clear_log();
    const Image image = image_of({0, 1, 2});
    bad.damage(*image);
    write_image(*image);
    const Image read = empty_image();
    EXPECT_EQ(capi_voip_read_call_log(read.get()), -1);
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kRead, bad.text}}));
    EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image)) << "a read repairs nothing";
  }
}

TEST_F(CallLogFile, ReadTakesAnythingBehindTheImageAsItComes) {
  const Image image = image_of({0, 1});
  write_file(kLogPath, bytes_of(*image) + "more");
  const Image read = empty_image();
  EXPECT_EQ(capi_voip_read_call_log(read.get()), 0);
  EXPECT_EQ(bytes_of(*read), bytes_of(*image));
}

TEST_F(CallLogFile, AFullDiskIsNoticedAtTheWrite) {
  std::filesystem::create_directory("/tmp/small");
  ASSERT_EQ(mount("tmpfs", "/tmp/small", "tmpfs", 0, "size=48k"), 0);
  in_other_process([] {
    ASSERT_EQ(capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, "/tmp/small"),
              0);
    clear_log();
    const LogLine full{kLogWarning, kCreate,
                       " failure write data into file /tmp/small/voip_call_log, error : No space "
                       "left on device!"};
    EXPECT_EQ(capi_voip_init_call_log_file(), -1);
    EXPECT_FALSE(exists("/tmp/small/voip_call_log"));
    EXPECT_EQ(capi_voip_verify_call_log_file(), -1);
    EXPECT_EQ(capi_voip_clean_all_call_log(), -1);
    EXPECT_EQ(
        captured_log(kLogWarning),
        lines({full,
               {kLogWarning, kInit, " fail to create new call log file /tmp/small/voip_call_log !"},
               {kLogWarning, kVerify,
                " can not get file size /tmp/small/voip_call_log, error : No such file or "
                "directory!"},
               full,
               {kLogWarning, kVerify, " can not rebuild  file /tmp/small/voip_call_log !"},
               full}));
  });
  umount("/tmp/small");
}

TEST_F(CallLogFile, ADirectoryThatIsMissingIsNotMade) {
  in_other_process([] {
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, "/tmp/none");
    clear_log();
    EXPECT_EQ(capi_voip_init_call_log_file(), -1);
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kCreate,
                                      " can not create  file /tmp/none/voip_call_log, error : No "
                                      "such file or directory !"},
                                     {kLogWarning, kInit,
                                      " fail to create new call log file /tmp/none/voip_call_log "
                                      "!"}}));
    EXPECT_FALSE(exists("/tmp/none"));
  });
}

TEST_F(CallLogFile, AReadOnlyDirectoryCanBeReadFrom) {
  const Image image = image_of({0, 1});
  write_image(*image, "/tmp/fixed/voip_call_log");
  ASSERT_EQ(mount("/tmp/fixed", "/tmp/fixed", "", MS_BIND, nullptr), 0);
  ASSERT_EQ(mount("", "/tmp/fixed", "", MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
  in_other_process([&] {
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, "/tmp/fixed");
    clear_log();
    const Image read = empty_image();
    const auto record = call(1);
    EXPECT_EQ(capi_voip_init_call_log_file(), 0);
    EXPECT_EQ(capi_voip_read_call_log(read.get()), 0);
    EXPECT_EQ(capi_voip_add_call_log(0, &record), -1);
    EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 0), -1);
    EXPECT_EQ(capi_voip_clean_call_log_by_type(1), -1);
    EXPECT_EQ(captured_log(kLogWarning),
              lines({{kLogWarning, "_vkr_voip_add_call_log",
                      " can not open file /tmp/fixed/voip_call_log, error = Read-only file system "
                      "!"},
                     {kLogWarning, "_vkr_voip_delete_call_log_by_node",
                      " can not open file /tmp/fixed/voip_call_log, error = Read-only file system "
                      "!"},
                     {kLogWarning, "_vkr_voip_clean_call_log_by_type",
                      " can not create  file /tmp/fixed/voip_call_log, error = Read-only file "
                      "system !"}}));
    EXPECT_EQ(bytes_of(*read_image("/tmp/fixed/voip_call_log")), bytes_of(*image));
  });
  umount("/tmp/fixed");
}

}  // namespace
}  // namespace capi::test
