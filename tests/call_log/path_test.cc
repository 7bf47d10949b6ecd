// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/path.h"

#include <signal.h>
#include <sys/mman.h>

#include <cstring>
#include <filesystem>
#include <thread>

#include "call_log_test.h"

namespace capi::test {
namespace {

using CallLogPathTest = CallLog;

void set_directory(const char* key, const std::string& dir) {
  const std::string full_key = std::string("option_runtime_info_") + key + "_directory";
  EXPECT_EQ(capi_config_set("runtime_info", full_key.c_str(), 0, dir.c_str()), 0);
}

std::string path() { return call_log_path().text; }

// A path that is kept is kept for the life of the process, so each test needs one of its own.

TEST_F(CallLogPathTest, TheFileIsInTheNvDirectory) {
  in_other_process([] {
    set_directory("nv", "/tmp/nv");
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
  });
}

TEST_F(CallLogPathTest, WithoutANvDirectoryTheFileIsInTheDataDirectory) {
  in_other_process([] {
    set_directory("data", "/tmp/data");
    EXPECT_EQ(path(), "/tmp/data/voip_call_log");
  });
}

TEST_F(CallLogPathTest, WithoutAnyDirectoryTheFileIsInTmp) {
  in_other_process([] {
    set_directory("data", "");
    EXPECT_EQ(path(), "/tmp/voip_call_log");
  });
}

TEST_F(CallLogPathTest, BeforeTheStartTheFileIsInTmp) {
  in_other_process([] {
    set_directory("nv", "/tmp/nv");
    capi_uninit();
    EXPECT_EQ(path(), "/tmp/voip_call_log");
    const capi_callbacks callbacks{};
    capi_init(&callbacks, 0, capture_log);
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
  });
}

TEST_F(CallLogPathTest, ADirectoryThatAppearsLaterIsPickedUpAndKept) {
  in_other_process([] {
    EXPECT_EQ(path(), "/tmp/voip_call_log");
    EXPECT_EQ(capi_voip_init_call_log_file(), 0);
    set_directory("nv", "/tmp/nv");
    std::filesystem::create_directory("/tmp/nv");
    EXPECT_EQ(capi_voip_init_call_log_file(), 0);
    EXPECT_TRUE(exists("/tmp/nv/voip_call_log"));
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
    set_directory("nv", "/tmp/elsewhere");
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
  });
}

TEST_F(CallLogPathTest, TheLongestDirectoryFits) {
  in_other_process([] {
    const std::string dir = "/tmp/" + std::string(250, 'd');
    set_directory("nv", dir);
    EXPECT_EQ(path(), dir + "/voip_call_log");
    std::filesystem::create_directory(dir);
    EXPECT_EQ(capi_voip_init_call_log_file(), 0);
    EXPECT_TRUE(exists(dir + "/voip_call_log"));
  });
}

TEST_F(CallLogPathTest, ThreadsThatSettleThePathAtOnceAgree) {
  in_other_process([] {
    set_directory("nv", "/tmp/nv");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([] {
        for (int n = 0; n < 50; ++n) EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
      });
    }
    for (auto& thread : threads) thread.join();
  });
}

// A path in memory that cannot be read at first: who reads it waits for allow(), in a signal's
// handler.
class UnreadablePath {
 public:
  UnreadablePath() {
    page_ =
        mmap(nullptr, sizeof(FilePath), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    strcpy(path().text, "/tmp/nv/voip_call_log");
    mprotect(page_, sizeof(FilePath), PROT_NONE);
    current = this;
    struct sigaction action {};
    action.sa_handler = [](int) {
      current->is_read_.pass();
      current->is_allowed_.await();
    };
    sigaction(SIGSEGV, &action, nullptr);
  }
  ~UnreadablePath() { munmap(page_, sizeof(FilePath)); }

  FilePath& path() { return *static_cast<FilePath*>(page_); }
  void wait_for_a_reader() { is_read_.await(); }
  void allow() {
    mprotect(page_, sizeof(FilePath), PROT_READ);
    is_allowed_.pass();
  }

 private:
  static UnreadablePath* current;
  void* page_;
  Baton is_read_;
  Baton is_allowed_;
};
UnreadablePath* UnreadablePath::current = nullptr;

TEST_F(CallLogPathTest, AChildForkedWhileAThreadKeepsAPathKeepsOneItself) {
  in_other_process([] {
    KeptPath kept;
    UnreadablePath from;
    std::thread keeper([&] { kept.keep(from.path()); });
    from.wait_for_a_reader();
    in_other_process([&] {
      EXPECT_FALSE(kept.is_kept());
      kept.keep({"/tmp/of_the_child"});
      EXPECT_TRUE(kept.is_kept());
      EXPECT_STREQ(kept.path().text, "/tmp/of_the_child");
    });
    kept.keep({"/tmp/of_another_thread"});
    EXPECT_FALSE(kept.is_kept());
    from.allow();
    keeper.join();
    EXPECT_STREQ(kept.path().text, "/tmp/nv/voip_call_log");
  });
}

TEST_F(CallLogPathTest, AskingTakesLockZeroOnlyUntilThePathIsKept) {
  in_other_process([] {
    set_directory("nv", "/tmp/nv");
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
    ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_CONF_SHM), 0);
    EXPECT_EQ(path(), "/tmp/nv/voip_call_log");
    capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
  });
}

}  // namespace
}  // namespace capi::test
