// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "call_log_test.h"
#include "support/hostile_texts.h"

namespace capi::test {
namespace {

using CallLogApi = CallLog;
using Calls = std::vector<std::string>;

// A copy may still be under way when backup returns.
void await_size(const std::string& path, size_t size) {
  std::error_code error;
  while (std::filesystem::file_size(path, error) != size) std::this_thread::yield();
}

TEST_F(CallLogApi, PostInitOfTheMasterMakesTheLogReady) {
  EXPECT_EQ(capi_post_init(0), 0);
  EXPECT_FALSE(exists(kLogPath));
  EXPECT_EQ(capi_post_init(1), 0);
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*empty_image()));
  EXPECT_EQ(posted(), Calls{});
}

TEST_F(CallLogApi, EveryChangePostsOneSignal) {
  const auto record = call(1);
  const std::function<int()> changes[] = {
      [] { return capi_voip_clean_all_call_log(); },
      [&] { return capi_voip_add_call_log(1, &record); },
      [&] { return capi_voip_add_call_log(1, &record); },
      [] { return capi_voip_delete_call_log_by_node(1, 0); },
      [] { return capi_voip_clean_call_log_by_type(1); },
      [] { return capi_voip_delete_call_log_file(); },
  };
  Calls expected;
  for (const auto& change : changes) {
    EXPECT_EQ(change(), 0);
    expected.emplace_back(kUpdated);
    EXPECT_EQ(posted(), expected);
  }
  EXPECT_FALSE(exists(kLogPath));
}

TEST_F(CallLogApi, AChangeThatFailsPostsTheSignalAsWell) {
  const auto record = call(1);
  const std::function<int()> changes[] = {
      [&] { return capi_voip_add_call_log(1, &record); },
      [&] { return capi_voip_add_call_log(3, &record); },
      [] { return capi_voip_add_call_log(1, nullptr); },
      [] { return capi_voip_delete_call_log_by_node(1, 0); },
      [] { return capi_voip_clean_call_log_by_type(1); },
  };
  Calls expected;
  for (const auto& change : changes) {
    EXPECT_EQ(change(), -1);
    expected.emplace_back(kUpdated);
    EXPECT_EQ(posted(), expected);
  }
  fail_call(Call::Open);
  EXPECT_EQ(capi_voip_clean_all_call_log(), -1);
  EXPECT_EQ(posted().size(), expected.size() + 1);
}

TEST_F(CallLogApi, ReadingPostsNothing) {
  ASSERT_EQ(capi_voip_init_call_log_file(), 0);
  const Image image = empty_image();
  capi_call_log_entry_header header{};
  capi_call_log_record record{};
  EXPECT_EQ(capi_voip_verify_call_log_file(), 0);
  EXPECT_EQ(capi_voip_read_call_log(image.get()), 0);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(nullptr, 0, &header), 0);
  EXPECT_EQ(capi_voip_read_call_log_node(nullptr, 0, &record), 0);
  EXPECT_EQ(posted(), Calls{});
}

TEST_F(CallLogApi, TheSignalIsPostedWithoutTheLock) {
  // A tool that calls back into the log, as a process does that hears the signal.
  ASSERT_EQ(capi_voip_init_call_log_file(), 0);
  const auto record = call(1);
  Baton free_again;
  static Baton* baton = nullptr;
  baton = &free_again;
  const capi_log_sink sink = [](int level, const char* text) {
    const bool is_command = level == kLogDebug && strstr(text, "signal simple") != nullptr;
    if (is_command && lock_value(CAPI_LOCK_CALL_LOG) == 1) baton->pass();
  };
  capiv2_log_init(sink);
  EXPECT_EQ(capi_voip_add_call_log(0, &record), 0);
  capiv2_log_init(capture_log);
  free_again.await();
}

TEST_F(CallLogApi, EveryAccessToTheFileWaitsForTheLock) {
  ASSERT_EQ(capi_voip_init_call_log_file(), 0);
  const auto record = call(1);
  ASSERT_EQ(capi_voip_add_call_log(0, &record), 0);
  const Image image = empty_image();
  capi_call_log_entry_header header{};
  capi_call_log_record node{};
  const std::function<int()> accesses[] = {
      [] { return capi_voip_init_call_log_file(); },
      [] { return capi_voip_verify_call_log_file(); },
      [&] { return capi_voip_read_call_log(image.get()); },
      [&] { return capi_voip_read_call_log_entry_header(nullptr, 0, &header); },
      [&] { return capi_voip_read_call_log_node(nullptr, 0, &node); },
      [&] { return capi_voip_add_call_log(0, &record); },
      [] { return capi_voip_call_log_dump(0, nullptr, nullptr); },
      [] { return capi_voip_call_log_dump_all(nullptr, nullptr); },
      [] { return capi_voip_delete_call_log_by_node(0, 0); },
      [] { return capi_voip_clean_call_log_by_type(0); },
      [] { return capi_voip_clean_all_call_log(); },
      [] { return capi_voip_call_log_backup("/tmp/copy"); },
      [] { return capi_voip_delete_call_log_file(); },
  };
  for (const auto& access : accesses) {
    ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_CALL_LOG), 0);
    Process other([&] { EXPECT_EQ(access(), 0); });
    await_waiter(CAPI_LOCK_CALL_LOG);
    EXPECT_EQ(lock_value(CAPI_LOCK_CONF_SHM), 1) << "it waits without lock 0";
    ASSERT_EQ(capi_critical_section_unlock(CAPI_LOCK_CALL_LOG), 0);
    EXPECT_TRUE(other.succeeded());
  }
}

TEST_F(CallLogApi, AnImageIsBrowsedWithoutTheLock) {
  const Image image = image_of({0, 1});
  capi_call_log_entry_header header{};
  capi_call_log_record node{};
  ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_CALL_LOG), 0);
  EXPECT_EQ(capi_voip_read_call_log_entry_header(image.get(), 1, &header), 0);
  EXPECT_EQ(capi_voip_read_call_log_node(image.get(), 1, &node), 0);
  capi_critical_section_unlock(CAPI_LOCK_CALL_LOG);
  EXPECT_EQ(header.list.head, 1);
  EXPECT_EQ(number_of(node), 1u);
}

TEST_F(CallLogApi, CleanAllLeavesANewFile) {
  write_image(*full_image());
  EXPECT_EQ(capi_voip_clean_all_call_log(), 0);
  EXPECT_EQ(bytes_of(*read_image()), bytes_of(*empty_image()));
}

TEST_F(CallLogApi, DeleteOfAMissingFileSucceeds) {
  EXPECT_EQ(capi_voip_delete_call_log_file(), 0);
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
}

TEST_F(CallLogApi, BackupCopiesTheFile) {
  const Image image = image_of({0, 1, 2});
  write_image(*image);
  EXPECT_EQ(capi_voip_call_log_backup("/tmp/backup"), 0);
  await_size("/tmp/backup", sizeof *image);
  EXPECT_EQ(bytes_of(*read_image("/tmp/backup")), bytes_of(*image));
  EXPECT_EQ(posted(), Calls{});
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogApi, BackupToAVeryLongPathIsNotCut) {
  write_image(*empty_image());
  std::string dir = "/tmp/long";
  for (int i = 0; i < 10; ++i) dir += "/" + std::string(200, 'd');
  std::filesystem::create_directories(dir);
  EXPECT_EQ(capi_voip_call_log_backup((dir + "/copy").c_str()), 0);
  await_size(dir + "/copy", sizeof(capi_call_log_image));
}

TEST_F(CallLogApi, BackupDoesNotLookAtTheCopy) {
  write_image(*empty_image());
  EXPECT_EQ(capi_voip_call_log_backup("/tmp/none/copy"), 0);
}

TEST_F(CallLogApi, BackupNeedsAFileAndADestination) {
  // A shell that ran the command would make this file.
  EXPECT_EQ(capi_voip_call_log_backup("/dev/null; touch /tmp/ran"), -1);
  EXPECT_FALSE(exists("/tmp/ran"));
  write_image(*empty_image());
  EXPECT_EQ(capi_voip_call_log_backup(nullptr), -1);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(CallLogApi, BackupRefusesADestinationThatAShellWouldInterpret) {
  write_image(*empty_image());
  for (const char* destination : kRefusedUnquoted) {
    clear_log();
    EXPECT_EQ(capi_voip_call_log_backup(destination), -1);
    EXPECT_EQ(captured_log(), lines({refused("capi_voip_call_log_backup", destination)}));
  }
  EXPECT_FALSE(exists(kMarker));
  EXPECT_EQ(capi_voip_call_log_backup("/tmp/copy-1.2_b@c%d+e=f,g:h]!}#~"), 0);
  await_size("/tmp/copy-1.2_b@c%d+e=f,g:h]!}#~", sizeof(capi_call_log_image));
}

TEST_F(CallLogApi, BackupRefusesAnNvDirectoryThatAShellWouldInterpret) {
  in_other_process([] {
    const std::string dir = "/tmp/a;touch marker;";
    write_image(*empty_image(), dir + "/voip_call_log");
    capi_config_set("runtime_info", "option_runtime_info_nv_directory", 0, dir.c_str());
    clear_log();
    EXPECT_EQ(capi_voip_call_log_backup("/tmp/copy"), -1);
    EXPECT_EQ(captured_log(),
              lines({refused("capi_voip_call_log_backup", dir + "/voip_call_log")}));
    EXPECT_FALSE(exists("marker"));
  });
}

}  // namespace
}  // namespace capi::test
