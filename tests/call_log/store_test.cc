// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/store.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <regex>

#include "call_log_test.h"
#include "support/hostile_texts.h"

namespace capi::test {
namespace {

constexpr char kCreate[] = "_vkr_voip_create_call_log_file";
constexpr char kRead[] = "_vkr_voip_read_call_log";
constexpr char kAdd[] = "_vkr_voip_add_call_log";
constexpr char kDelete[] = "_vkr_voip_delete_call_log_by_node";
constexpr char kClean[] = "_vkr_voip_clean_call_log_by_type";
constexpr char kReadNode[] = "_vkr_voip_read_call_log_node";
constexpr char kReadHeader[] = "_vkr_voip_read_call_log_entry_header";

const LogLine kCreated{kLogInfo, kCreate, " create file /tmp/voip_call_log success !"};
const LogLine kNoFile{
    4, kRead,
    " can not read call log file /tmp/voip_call_log, error = No such file or directory !"};

class CallLogStore : public CallLog {
 protected:
  static void expect_empty_log() { EXPECT_EQ(bytes_of(*read_image()), bytes_of(*empty_image())); }

  static int add(unsigned type, unsigned n) {
    const auto record = call(n);
    return capi_voip_add_call_log(type, &record);
  }

  // Lets no file of this process grow beyond a size; a write then fails half way, as on a full
  // disk.
  static void limit_files(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }

  // A free list that is empty while no type is full: no such file comes from the store, but it
  // passes the check.
  static Image image_without_free_node() {
    Image image = image_of({0, 1, 2});
    image->header.free = {0, kNoNode, kNoNode};
    return image;
  }

  static std::vector<std::string> files_set_aside() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
      const std::string name = entry.path();
      if (name.starts_with("/tmp/voip_call_log.")) names.push_back(name);
    }
    return names;
  }

  // The time in the name of a file that was set aside.
  static tm time_in(const std::string& name) {
    tm at{};
    EXPECT_NE(strptime(name.substr(name.size() - 14).c_str(), "%Y%m%d%H%M%S", &at), nullptr);
    return at;
  }

  void TearDown() override {
    for (const auto& name : files_set_aside()) std::filesystem::remove(name);
    CallLog::TearDown();
  }
};

TEST_F(CallLogStore, AddWritesTheWholeFile) {
  write_image(*empty_image());
  EXPECT_EQ(add(1, 0), 0);
  EXPECT_EQ(add(0, 1), 0);
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image_of({1, 0})));
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
  EXPECT_EQ(count_calls(Call::Sync), 2);
}

TEST_F(CallLogStore, The101stEntryOfATypeEvictsItsOldest) {
  const Image full_type = image_of(std::vector<unsigned>(100, 1));
  add_record(*full_type, 0, call(500));
  write_image(*full_type);
  EXPECT_EQ(add(1, 100), 0);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogInfo, kAdd, " MUST delete 1 old call log entry before save new !"}}));
  const Image image = read_image();
  const capi_call_log_header& header = image->header;
  EXPECT_EQ(header.entry[1].list.count, 100);
  EXPECT_EQ(number_of(image->node[header.entry[1].list.head]), 1u);
  EXPECT_EQ(number_of(image->node[header.entry[1].list.tail]), 100u);
  EXPECT_EQ(header.entry[0].list.count, 1);
  EXPECT_EQ(number_of(image->node[header.entry[0].list.head]), 500u);
  EXPECT_EQ(header.used.count, 101);
  EXPECT_EQ(header.free.count, 199);
}

TEST_F(CallLogStore, EvictingWithAllNodesInUseIsHarmless) {
  write_image(*full_image());
  for (unsigned n = 300; n < 310; ++n) EXPECT_EQ(add(2, n), 0);
  const Image image = read_image();
  EXPECT_EQ(check(*image).fault, ImageFault::None);
  EXPECT_EQ(image->header.used.count, 300);
  EXPECT_EQ(image->header.free.head, 0xFFFF);
}

TEST_F(CallLogStore, AddRefusesBadArgumentsBeforeItReads) {
  const auto record = call(0);
  EXPECT_EQ(capi_voip_add_call_log(3, &record), -1);
  EXPECT_EQ(capi_voip_add_call_log(0, nullptr), -1);
  EXPECT_EQ(capi_voip_add_call_log(0xFFFFFFFF, nullptr), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kAdd, " invalid parameter call_type = 3"},
                   {kLogWarning, kAdd, "Invalid NULL pointer"},
                   {kLogWarning, kAdd, " invalid parameter call_type = -1"}}));
}

TEST_F(CallLogStore, AddNeedsAFile) {
  EXPECT_EQ(add(0, 0), -1);
  EXPECT_EQ(
      captured_log(kLogInfo),
      lines({kNoFile, {kLogWarning, kAdd, " read call log file /tmp/voip_call_log failure !"}}));
  EXPECT_FALSE(exists(kLogPath));
}

TEST_F(CallLogStore, AddNeedsMemory) {
  write_image(*empty_image());
  fail_call(Call::Malloc);
  EXPECT_EQ(add(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kAdd, "Malloc failed"},
                   {kLogWarning, kAdd, " read call log file /tmp/voip_call_log failure !"}}));
  expect_empty_log();
}

TEST_F(CallLogStore, AddSaysThatTheFileCannotBeOpened) {
  write_image(*empty_image());
  fail_call(Call::Open, 2);
  EXPECT_EQ(add(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kAdd,
                    " can not open file /tmp/voip_call_log, error = Input/output error !"}}));
  expect_empty_log();
}

TEST_F(CallLogStore, AddThatIsNotWrittenKeepsTheCalls) {
  const Image image = image_of({0, 1});
  write_image(*image);
  for (const Call call : {Call::Write, Call::Fsync, Call::Rename}) {
    clear_log();
    fail_call(call);
    EXPECT_EQ(add(0, 0), -1);
    EXPECT_EQ(captured_log(kLogInfo),
              lines({{kLogWarning, kAdd,
                      " failure to write data into file /tmp/voip_call_log, "
                      "error : Input/output error!"}}));
    EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
    EXPECT_FALSE(exists(kSibling));
  }
}

TEST_F(CallLogStore, AddThatCutsAFileWrittenInPlaceRebuildsIt) {
  write_image(*image_of({0, 1}));
  std::filesystem::create_hard_link(kLogPath, "/tmp/other_call_log");  // so: written in place
  fail_call(Call::Write, 1, ENOSPC);
  EXPECT_EQ(add(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kAdd,
                    " failure to write data into file /tmp/voip_call_log, error "
                    ": No space left on device!"},
                   kCreated}));
  expect_empty_log();
}

TEST_F(CallLogStore, AddSaysThatACutFileCannotBeRebuilt) {
  write_image(*image_of({0, 1}));
  std::filesystem::create_hard_link(kLogPath, "/tmp/other_call_log");  // so: written in place
  in_other_process([] {
    limit_files(1000);
    EXPECT_EQ(add(0, 0), -1);
    EXPECT_EQ(captured_log(kLogInfo),
              lines({{kLogWarning, kAdd,
                      " failure to write data into file /tmp/voip_call_log, error : File too "
                      "large!"},
                     {kLogWarning, kCreate,
                      " failure write data into file /tmp/voip_call_log, error : File too large!"},
                     {kLogWarning, kAdd, " can not delete  file /tmp/voip_call_log !"}}));
  });
  std::filesystem::remove("/tmp/other_call_log");
}

TEST_F(CallLogStore, AddGoesOnAfterAFailedFlushOrClose) {
  write_image(*empty_image());
  fail_call(Call::Fsync, 2);  // of the directory
  EXPECT_EQ(add(0, 0), 0);
  fail_call(Call::Close, 2);  // the first one closes what was only looked at
  EXPECT_EQ(add(0, 1), 0);
  EXPECT_EQ(
      captured_log(kLogInfo),
      lines({{kLogWarning, kAdd,
              " failure flush data into file /tmp/voip_call_log, error : Input/output error!"},
             {kLogWarning, kAdd,
              " failure close file /tmp/voip_call_log, error : Input/output error!"}}));
  EXPECT_EQ(read_image()->header.used.count, 2);
}

// A disk with room for the call log, and not for another one beside it.
class CallLogFullDisk : public CallLogStore {
 protected:
  static constexpr char kPath[] = "/tmp/small/voip_call_log";

  void SetUp() override {
    CallLogStore::SetUp();
    std::filesystem::create_directory("/tmp/small");
    ASSERT_EQ(mount("tmpfs", "/tmp/small", "tmpfs", 0, "size=96k"), 0);
    write_image(*image_of({0, 1, 0}), kPath);
    ASSERT_EQ(capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, "/tmp/small"),
              0);
    clear_log();
  }

  void TearDown() override {
    EXPECT_FALSE(exists("/tmp/small/.voip_call_log.new"));
    umount("/tmp/small");
    CallLogStore::TearDown();
  }
};

TEST_F(CallLogFullDisk, AddKeepsTheCallsAndFails) {
  in_other_process([] {
    EXPECT_EQ(add(1, 3), -1);
    EXPECT_EQ(captured_log(kLogInfo),
              lines({{kLogWarning, kAdd,
                      " failure to write data into file /tmp/small/voip_call_log, "
                      "error : No space left on device!"}}));
  });
  EXPECT_EQ(bytes_of(*read_image(kPath)), bytes_of(*image_of({0, 1, 0})));
}

TEST_F(CallLogFullDisk, DeleteAndCleanStillWork) {
  const Image image = image_of({0, 1, 0});
  in_other_process([] {
    EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 0), 0);
    EXPECT_EQ(captured_log(kLogWarning), lines({}));
  });
  release_node(*image, 0, 0, LoneFreeNode::LinksNowhere);
  EXPECT_EQ(bytes_of(*read_image(kPath)), bytes_of(*image));
  in_other_process([] { EXPECT_EQ(capi_voip_clean_call_log_by_type(1), 0); });
  release_node(*image, 1, 1, LoneFreeNode::LinksItself);
  EXPECT_EQ(bytes_of(*read_image(kPath)), bytes_of(*image));
  in_other_process([] { EXPECT_EQ(capi_voip_clean_all_call_log(), 0); });
  EXPECT_EQ(bytes_of(*read_image(kPath)), bytes_of(*empty_image()));
}

TEST_F(CallLogStore, AFileWithoutAFreeNodeIsSetAside) {
  const Image image = image_without_free_node();
  write_image(*image);
  EXPECT_EQ(add(0, 0), -1);
  const std::vector<std::string> aside = files_set_aside();
  ASSERT_EQ(aside.size(), 1u);
  EXPECT_TRUE(std::regex_match(aside[0], std::regex("/tmp/voip_call_log\\.2[0-9]{13}")));
  EXPECT_EQ(bytes_of(*read_image(aside[0])), bytes_of(*image));
  expect_empty_log();
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, "_vkr_voip_check_node_index",
                    " Invalid node index = 65535, success backup error call log file, command = mv "
                    "/tmp/voip_call_log " +
                        aside[0] + " !"},
                   kCreated,
                   {kLogWarning, kAdd, " check node index [65535] error !"}}));
}

TEST_F(CallLogStore, AFileIsSetAsideUnderTheTimeOfTheZoneAsItIsNow) {
  const auto time_set_aside_in = [](const char* zone) {
    setenv("TZ", zone, 1);
    write_image(*image_without_free_node());
    EXPECT_EQ(add(0, 0), -1);
    const std::vector<std::string> aside = files_set_aside();
    EXPECT_EQ(aside.size(), 1u);
    const tm at = time_in(aside.at(0));
    std::filesystem::remove(aside.at(0));
    return at;
  };
  in_other_process([&] {
    tm west = time_set_aside_in("WEST12");
    tm east = time_set_aside_in("EAST-13");
    EXPECT_GE(timegm(&east) - timegm(&west), 25 * 3600);
  });
}

TEST_F(CallLogStore, AFileUnderTheLongestDirectoryIsSetAside) {
  in_other_process([] {
    const std::string dir = "/tmp/" + std::string(250, 'd');
    write_image(*image_without_free_node(), dir + "/voip_call_log");
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, dir.c_str());
    EXPECT_EQ(add(0, 0), -1);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir),
                            std::filesystem::directory_iterator()),
              2);
    EXPECT_EQ(bytes_of(*read_image(dir + "/voip_call_log")), bytes_of(*empty_image()));
  });
}

TEST_F(CallLogStore, AFileWhosePathAShellWouldInterpretStaysWhereItIs) {
  in_other_process([] {
    const std::string dir = "/tmp/a;touch marker;";
    const Image image = image_without_free_node();
    write_image(*image, dir + "/voip_call_log");
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, dir.c_str());
    clear_log();
    EXPECT_EQ(add(0, 0), -1);
    EXPECT_EQ(captured_log(kLogInfo),
              lines({refused("_vkr_voip_check_node_index", dir + "/voip_call_log"),
                     {kLogWarning, kAdd, " check node index [65535] error !"}}));
    EXPECT_EQ(bytes_of(*read_image(dir + "/voip_call_log")), bytes_of(*image));
    EXPECT_FALSE(exists("marker"));
  });
}

TEST_F(CallLogStore, WithoutATimeOfDayAFileStaysWhereItIs) {
  const Image image = image_without_free_node();
  write_image(*image);
  fail_call(Call::LocaltimeR);
  EXPECT_EQ(add(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogNotice, "_vkr_voip_check_node_index", "Failed to get system time"},
                   {kLogWarning, kAdd, " check node index [65535] error !"}}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
}

TEST_F(CallLogStore, DeleteLeavesTheSameBytesAsTheImageOperation) {
  for (const unsigned node : {0u, 1u, 2u, 3u, 4u}) {
    const Image image = image_of({0, 1, 0, 1, 0});
    write_image(*image);
    EXPECT_EQ(capi_voip_delete_call_log_by_node(node % 2, node), 0);
    release_node(*image, node % 2, node, LoneFreeNode::LinksNowhere);
    EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image)) << node;
  }
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
  EXPECT_EQ(count_calls(Call::Sync), 5);
}

TEST_F(CallLogStore, DeleteWithAllNodesInUseLeavesAValidFile) {
  write_image(*full_image());
  EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 3), 0);
  const Image image = read_image();
  EXPECT_EQ(check(*image).fault, ImageFault::None);
  EXPECT_EQ(image->node[3].prev, 0xFFFF);
  EXPECT_EQ(image->header.free.count, 1);
}

TEST_F(CallLogStore, DeleteDoesNotLookWhetherTheNodeIsOfTheType) {
  const Image image = image_of({0, 0, 0, 1});
  write_image(*image);
  EXPECT_EQ(capi_voip_delete_call_log_by_node(1, 1), 0);
  const Image after = read_image();
  EXPECT_EQ(after->header.entry[0].list.count, 3);
  EXPECT_EQ(after->header.entry[1].list.count, 0);
  EXPECT_EQ(after->node[0].next, 2);
  EXPECT_EQ(after->node[2].prev, 0);
}

TEST_F(CallLogStore, DeleteRefusesBadArguments) {
  write_image(*empty_image());
  EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 300), -1);
  EXPECT_EQ(capi_voip_delete_call_log_by_node(3, 299), -1);
  EXPECT_EQ(capi_voip_delete_call_log_by_node(3, 65535), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kDelete, " check node index [300] error !"},
                   {kLogWarning, kDelete, " invalid parameter call_type = 3"},
                   {kLogWarning, kDelete, " check node index [65535] error !"}}));
}

TEST_F(CallLogStore, DeleteNeedsAFile) {
  EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({kNoFile,
                   {kLogWarning, kDelete, " failure to read call log file /tmp/voip_call_log !"}}));
}

TEST_F(CallLogStore, DeleteSaysThatTheFileCannotBeOpened) {
  write_image(*image_of({0}));
  fail_call(Call::Open, 2);
  EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kDelete,
                    " can not open file /tmp/voip_call_log, error = Input/output error !"}}));
  EXPECT_EQ(read_image()->header.used.count, 1);
}

TEST_F(CallLogStore, DeleteGoesOnAfterAFailedWriteFlushOrClose) {
  const std::string reason = "Input/output error!";
  const struct {
    Call call;
    int nth;
    uint16_t left;
    const char* words;
  } cases[] = {
      {Call::Write, 1, 3, " failure write data into file /tmp/voip_call_log, error : "},
      {Call::Fsync, 1, 3, " failure write data into file /tmp/voip_call_log, error : "},
      {Call::Rename, 1, 3, " failure write data into file /tmp/voip_call_log, error : "},
      {Call::Fsync, 2, 2, " failure flush data into file /tmp/voip_call_log, error : "},
      {Call::Close, 2, 2, " failure close file /tmp/voip_call_log, error : "},
  };
  for (const auto& [call, nth, left, words] : cases) {
    write_image(*image_of({0, 0, 0}));
    clear_log();
    fail_call(call, nth);
    EXPECT_EQ(capi_voip_delete_call_log_by_node(0, 0), 0);
    EXPECT_EQ(captured_log(kLogInfo), lines({{kLogWarning, kDelete, words + reason}}));
    EXPECT_EQ(read_image()->header.used.count, left) << "all of it or nothing is written";
    EXPECT_EQ(check(*read_image()).fault, ImageFault::None);
  }
}

TEST_F(CallLogStore, CleanRemovesTheEntriesOfOneType) {
  const Image image = image_of({0, 1, 2, 1, 0, 1});
  write_image(*image);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(1), 0);
  for (const unsigned node : {1u, 3u, 5u}) {
    release_node(*image, 1, node, LoneFreeNode::LinksItself);
  }
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
  EXPECT_EQ(check(*image).fault, ImageFault::None);
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
}

TEST_F(CallLogStore, CleanWithAllNodesInUseLeavesAFileThatIsRebuiltAtTheNextInit) {
  write_image(*full_image());
  EXPECT_EQ(capi_voip_clean_call_log_by_type(2), 0);
  const Image image = read_image();
  EXPECT_EQ(image->header.free.head, 2);
  EXPECT_EQ(image->node[2].prev, 2);
  EXPECT_EQ(image->header.free.count, 100);
  EXPECT_EQ(capi_voip_read_call_log(image.get()), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kRead, " failure check freed call log link list"}}));
  EXPECT_EQ(capi_voip_init_call_log_file(), 0);
  expect_empty_log();
}

TEST_F(CallLogStore, CleanOfATypeWithoutEntriesLeavesTheFileAlone) {
  const Image image = image_of({0, 1});
  write_image(*image);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(2), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kClean, " no call log exist belong to type 2 !"}}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
}

TEST_F(CallLogStore, CleanRefusesABadTypeAndNeedsAFile) {
  EXPECT_EQ(capi_voip_clean_call_log_by_type(3), -1);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kClean, " invalid parameter call_type = 3 ! "},
                   kNoFile,
                   {kLogWarning, kClean, " read call log failure !"}}));
}

TEST_F(CallLogStore, CleanStopsAtALinkToNoNodeAndWritesNothing) {
  const Image image = image_of({0, 1});
  image->header.entry[0].list.tail = 1;  // a walk need not meet its far end, so this is not seen
  image->node[0].next = 400;
  write_image(*image);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kReadNode, " check node index [400] error !"},
                   {kLogWarning, kClean, " failure to read call log index 400 !"}}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
}

TEST_F(CallLogStore, CleanOfLinksThatLeadRoundInACircleEnds) {
  const Image image = image_of({0, 0, 0});
  image->header.entry[0].list.count = 2;  // so that the walk does not come to the tail
  image->node[1].next = 0;
  write_image(*image);
  ASSERT_EQ(check(*image).fault, ImageFault::None);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(0), 0);
}

TEST_F(CallLogStore, CleanSaysThatTheFileCannotBeCreated) {
  const Image image = image_of({0});
  write_image(*image);
  fail_call(Call::Open, 2);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(0), -1);
  EXPECT_EQ(captured_log(kLogInfo),
            lines({{kLogWarning, kClean,
                    " can not create  file /tmp/voip_call_log, error = Input/output error !"}}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
}

TEST_F(CallLogStore, CleanThatIsNotWrittenKeepsTheCalls) {
  const Image image = image_of({0, 1});
  write_image(*image);
  fail_call(Call::Write);
  EXPECT_EQ(capi_voip_clean_call_log_by_type(0), -1);
  EXPECT_EQ(
      captured_log(kLogInfo),
      lines({{kLogWarning, kClean,
              " failure write data into file /tmp/voip_call_log, error : Input/output error!"}}));
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*image));
}

TEST_F(CallLogStore, CleanSaysThatACutFileCannotBeRebuilt) {
  write_image(*image_of({0, 1}));
  std::filesystem::create_hard_link(kLogPath, "/tmp/other_call_log");  // so: written in place
  in_other_process([] {
    limit_files(1000);
    EXPECT_EQ(capi_voip_clean_call_log_by_type(0), -1);
    EXPECT_EQ(captured_log(kLogInfo),
              lines({{kLogWarning, kClean,
                      " failure write data into file /tmp/voip_call_log, error : File too large!"},
                     {kLogWarning, kCreate,
                      " failure write data into file /tmp/voip_call_log, error : File too large!"},
                     {kLogWarning, kClean, " can not delete  file /tmp/voip_call_log !"}}));
  });
  std::filesystem::remove("/tmp/other_call_log");
}

TEST_F(CallLogStore, ANodeIsReadFromTheFileOrFromAnImage) {
  write_image(*image_of({0, 1}));
  const Image image = image_of({2, 2, 2});
  capi_call_log_record record{};
  EXPECT_EQ(capi_voip_read_call_log_node(nullptr, 1, &record), 0);
  EXPECT_EQ(memcmp(&record, &read_image()->node[1], sizeof record), 0);
  EXPECT_EQ(capi_voip_read_call_log_node(image.get(), 2, &record), 0);
  EXPECT_EQ(memcmp(&record, &image->node[2], sizeof record), 0);
  EXPECT_EQ(capi_voip_read_call_log_node(nullptr, 299, &record), 0) << "free nodes are nodes";
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogStore, ReadNodeRefusesBadArguments) {
  const Image image = empty_image();
  for (const capi_call_log_image* from : {static_cast<const capi_call_log_image*>(nullptr),
                                          static_cast<const capi_call_log_image*>(image.get())}) {
    clear_log();
    capi_call_log_record record = call(1);
    EXPECT_EQ(capi_voip_read_call_log_node(from, 300, &record), -1);
    EXPECT_EQ(number_of(record), 1u) << "nothing is cleared";
    EXPECT_EQ(capi_voip_read_call_log_node(from, 0, nullptr), -1);
    EXPECT_EQ(captured_log(), lines({{kLogWarning, kReadNode, " check node index [300] error !"},
                                     {kLogWarning, kReadNode, "Invalid NULL pointer"}}));
  }
}

TEST_F(CallLogStore, ReadNodeClearsTheOutputWhenTheFileCannotBeRead) {
  capi_call_log_record record = call(1);
  EXPECT_EQ(capi_voip_read_call_log_node(nullptr, 0, &record), -1);
  EXPECT_EQ(captured_log(),
            lines({kNoFile, {kLogWarning, kReadNode, " failure to read call log file !"}}));
  const capi_call_log_record zero{};
  EXPECT_EQ(memcmp(&record, &zero, sizeof record), 0);
}

TEST_F(CallLogStore, AnEntryHeaderIsReadFromTheFileOrFromAnImage) {
  write_image(*image_of({0, 1, 1}));
  const Image image = image_of({2, 2, 2});
  image->header.entry[2].reserved = 9;  // as they stand
  capi_call_log_entry_header header{};
  EXPECT_EQ(capi_voip_read_call_log_entry_header(nullptr, 1, &header), 0);
  EXPECT_EQ(memcmp(&header, "\2\0\1\0\2\0\0\0", 8), 0);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(image.get(), 2, &header), 0);
  EXPECT_EQ(memcmp(&header, "\3\0\0\0\2\0\11\0", 8), 0);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogStore, ReadEntryHeaderRefusesBadArgumentsAndNeedsAFile) {
  const Image image = empty_image();
  capi_call_log_entry_header header{};
  EXPECT_EQ(capi_voip_read_call_log_entry_header(image.get(), 3, &header), -1);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(image.get(), 0, nullptr), -1);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(nullptr, 3, nullptr), -1);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(nullptr, 0, nullptr), -1);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(nullptr, 0, &header), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kReadHeader, " invalid parameter call_log_type = 3 !"},
                   {kLogWarning, kReadHeader, "Invalid NULL pointer"},
                   {kLogWarning, kReadHeader, " invalid parameter call_log_type = 3 !"},
                   {kLogWarning, kReadHeader, "Invalid NULL pointer"},
                   kNoFile,
                   {kLogWarning, kReadHeader, " failure to read call log file !"}}));
}

}  // namespace
}  // namespace capi::test
