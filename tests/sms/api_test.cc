// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the public calls add to the operations: arguments, the lock, signals and copies.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "sms_files.h"
#include "support/faults.h"
#include "support/hostile_texts.h"

namespace capi::test {
namespace {

using Signals = std::vector<std::string>;

constexpr int kNoSelectors[] = {-1, 2, 0x7FFFFFFF};

class SmsApiTest : public SmsTest {
 protected:
  void put_both() {
    write_file(kReceived, "received");
    write_file(kSent, "sent");
    clear_log();
  }
};

TEST_F(SmsApiTest, EveryChangeIsTold) {
  capi_sms_record record = to_record({});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_SENT, &record), 0);
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_SENT, &record), 0);
  EXPECT_EQ(capi_voip_sms_update(CAPI_SMS_SENT, &record), 0);
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_SENT, 1), 0);
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_SENT), 0);
  EXPECT_EQ(new_signals(),
            (Signals{update_signal("1", "1"), update_signal("1", "2"), update_signal("3", "2"),
                     update_signal("2", "1"), update_signal("4", "0")}));
}

TEST_F(SmsApiTest, FailuresAreToldToo) {
  std::filesystem::create_directory(kReceived);
  capi_sms_record record = to_record({.id = 12});
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(capi_voip_sms_update(CAPI_SMS_RECEIVED, &record), -1);
  EXPECT_EQ(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 0xFFFFFFFFFFFFFFFF), -1);
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), -1);
  EXPECT_EQ(new_signals(),
            (Signals{update_signal("1", "0"), update_signal("3", "12"),
                     update_signal("2", "18446744073709551615"), update_signal("4", "0")}));
}

TEST_F(SmsApiTest, ReadingTellsNothing) {
  add(CAPI_SMS_RECEIVED, {{}});
  capi_sms_record record{};
  capi_sms_counter state{};
  void* image = nullptr;
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record), 0);
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &state, &state), 0);
  EXPECT_EQ(capi_voip_sms_load(CAPI_SMS_RECEIVED, &image), 0);
  EXPECT_EQ(capi_voip_sms_unload(&image), 0);
  EXPECT_EQ(new_signals(), Signals{});
}

// Set while a signal is logged, which is just before it is posted.
int lock_at_signal = -1;

TEST_F(SmsApiTest, SignalsArePostedWithTheLockFree) {
  capiv2_log_init([](int, const char* text) {
    if (std::string(text).starts_with("capi_fire_internal_event2")) {
      lock_at_signal = lock_value(CAPI_LOCK_VOICE_SMS);
    }
  });
  capi_sms_record record = to_record({});
  for (const auto& change : std::initializer_list<std::function<void()>>{
           [&] { capi_voip_sms_add(CAPI_SMS_RECEIVED, &record); },
           [&] { capi_voip_sms_update(CAPI_SMS_RECEIVED, &record); },
           [&] { capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1); },
           [&] { capi_voip_sms_clean(CAPI_SMS_RECEIVED); }}) {
    lock_at_signal = -1;
    change();
    EXPECT_EQ(lock_at_signal, 1);
  }
}

TEST_F(SmsApiTest, AnotherSelectorTouchesNoFile) {
  put_both();
  for (const int selector : kNoSelectors) {
    capi_sms_record record = to_record({});
    capi_sms_counter state{};
    void* image = &state;
    EXPECT_EQ(capi_voip_sms_add(selector, &record), -1);
    EXPECT_EQ(capi_voip_sms_update(selector, &record), -1);
    EXPECT_EQ(capi_voip_sms_get(selector, 1, &record), -1);
    EXPECT_EQ(capi_voip_sms_del_by_id(selector, 1), -1);
    EXPECT_EQ(capi_voip_sms_get_unread_sm_num(selector, &state, &state), -1);
    EXPECT_EQ(capi_voip_sms_clean(selector), -1);
    EXPECT_EQ(capi_voip_sms_load(selector, &image), -1);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(capi_voip_sms_get_file(selector, "/tmp/copy"), -1);
  }
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
  EXPECT_EQ(read_file(kReceived), "received");
  EXPECT_EQ(read_file(kSent), "sent");
  EXPECT_FALSE(exists("/tmp/copy"));
}

TEST_F(SmsApiTest, MissingArgumentsTouchNoFile) {
  put_both();
  capi_sms_counter state{};
  EXPECT_EQ(capi_voip_sms_add(CAPI_SMS_RECEIVED, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_update(CAPI_SMS_RECEIVED, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, nullptr, &state), -1);
  EXPECT_EQ(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &state, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_load(CAPI_SMS_RECEIVED, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_backup(nullptr), -1);
  EXPECT_EQ(captured_log(kLogInfo), lines({}));
  EXPECT_EQ(read_file(kReceived), "received");
  EXPECT_EQ(read_file(kSent), "sent");
}

TEST_F(SmsApiTest, AFileIsCopiedAsItIs) {
  put_both();
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/copy"), 0);
  EXPECT_EQ(read_file("/tmp/copy"), "received");
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_SENT, "/tmp/copy"), 0);
  EXPECT_EQ(read_file("/tmp/copy"), "sent");
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsApiTest, NobodyLooksAtHowTheCopyingEnds) {
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/copy"), 0);  // there is no file
  put_both();
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/missing/copy"), 0);
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, ("/tmp/" + std::string(5000, 'x')).c_str()),
            0);
  EXPECT_FALSE(exists("/tmp/copy"));
}

TEST_F(SmsApiTest, AFileIsNotCopiedOntoItself) {
  put_both();
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, kReceived), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_voip_sms_get_file", "should not be the same file"}}));
  EXPECT_EQ(read_file(kReceived), "received");
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_SENT, kReceived), 0);
  EXPECT_EQ(read_file(kReceived), "sent");
}

TEST_F(SmsApiTest, ACopyOntoItselfIsRefusedWithoutWaitingForTheLock) {
  put_both();
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(capi_critical_section_lock(CAPI_LOCK_VOICE_SMS), 0);
    in_other_process([] {
      EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, kReceived), -1);
      EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_SENT, kSent), -1);
    });
    ASSERT_EQ(capi_critical_section_unlock(CAPI_LOCK_VOICE_SMS), 0);
    EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/copy"),
              0);  // settles the paths for the next round
  }
}

TEST_F(SmsApiTest, ABackupIsACopyOfBothFiles) {
  put_both();
  EXPECT_EQ(capi_voip_sms_backup("/tmp/backup"), 0);
  EXPECT_EQ(read_file("/tmp/backup.recv"), "received");
  EXPECT_EQ(read_file("/tmp/backup.send"), "sent");
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsApiTest, ABackupWithoutFilesSucceeds) {
  EXPECT_EQ(capi_voip_sms_backup("/tmp/backup"), 0);
  EXPECT_FALSE(exists("/tmp/backup.recv"));
}

TEST_F(SmsApiTest, FilesWhosePathDoesNotFitAreNotTouched) {
  const std::string dir = "/tmp/" + std::string(120, 'd') + "/" + std::string(122, 'e');
  ASSERT_EQ(dir.size(), 248u);
  write_file(dir + "/sm_rec", "a stranger's");  // what a path would be that is cut
  write_file(dir + "/sm_sen", "a stranger's");
  strcpy(segment().directory[4], dir.c_str());
  const auto files = [] {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator("/tmp")) {
      // Changes are told all the same.
      if (entry.path() != "/tmp/vsdk_cmd.calls") paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  };
  const std::vector<std::string> before = files();
  capi_sms_record record{};
  const capi_sms_counter previous{};
  capi_sms_counter state{};
  void* image = nullptr;
  EXPECT_EQ(capi_voip_sms_init(), -1);
  for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) {
    EXPECT_EQ(capi_voip_sms_add(selector, &record), -1);
    EXPECT_EQ(capi_voip_sms_update(selector, &record), -1);
    EXPECT_EQ(capi_voip_sms_get(selector, 1, &record), -1);
    EXPECT_EQ(capi_voip_sms_del_by_id(selector, 1), -1);
    EXPECT_EQ(capi_voip_sms_get_unread_sm_num(selector, &previous, &state), -1);
    EXPECT_EQ(capi_voip_sms_load(selector, &image), -1);
    EXPECT_EQ(capi_voip_sms_clean(selector), -1);
    EXPECT_EQ(capi_voip_sms_get_file(selector, "/tmp/copy"), 0);  // however copying ends
  }
  EXPECT_EQ(capi_voip_sms_backup("/tmp/backup"), 0);
  EXPECT_EQ(captured_log(kLogWarning).at(0),
            (LogLine{kLogWarning, "_vkr_voip_sms_create_file",
                     "fopen  failed, reason 2: No such file or directory"}));
  EXPECT_EQ(files(), before);
  EXPECT_EQ(read_file(dir + "/sm_rec"), "a stranger's");
  EXPECT_EQ(read_file(dir + "/sm_sen"), "a stranger's");
}

TEST_F(SmsApiTest, ABackupUnderATooLongNameIsSkipped) {
  put_both();
  std::string base = "/tmp";
  while (base.size() < 240) base += "/" + std::string(11, 'd');
  std::filesystem::create_directories(base);
  base += "/" + std::string(250 - base.size(), 'b');
  ASSERT_EQ(base.size(), 251u);
  EXPECT_EQ(capi_voip_sms_backup(base.c_str()), 0);
  EXPECT_FALSE(exists(base + ".recv"));
  EXPECT_FALSE(exists((base + ".recv").substr(0, 255)));
  base.pop_back();
  EXPECT_EQ(capi_voip_sms_backup(base.c_str()), 0);
  EXPECT_EQ(read_file(base + ".recv"), "received");
  EXPECT_EQ(read_file(base + ".send"), "sent");
}

TEST_F(SmsApiTest, ADestinationThatAShellWouldInterpretIsRefused) {
  put_both();
  for (const std::string path : kRefusedUnquoted) {
    clear_log();
    EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, path.c_str()), -1);
    EXPECT_EQ(capi_voip_sms_backup(path.c_str()), -1);
    EXPECT_EQ(captured_log(), lines({refused("capi_voip_sms_get_file", path),
                                     refused("capi_voip_sms_backup", path + ".recv"),
                                     refused("capi_voip_sms_backup", path + ".send")}));
  }
  EXPECT_FALSE(exists(kMarker));
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/copy-1.2_b@c%d+e=f,g:h]!}#~"), 0);
  EXPECT_EQ(read_file("/tmp/copy-1.2_b@c%d+e=f,g:h]!}#~"), "received");
}

TEST_F(SmsApiTest, FilesUnderADirectoryThatAShellWouldInterpretAreNotCopied) {
  const std::string dir = "/tmp/a;touch marker;";
  write_file(dir + "/sm_recv", "received");
  strcpy(segment().directory[4], dir.c_str());
  EXPECT_EQ(capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/copy"), -1);
  EXPECT_EQ(capi_voip_sms_backup("/tmp/copy"), -1);
  EXPECT_EQ(captured_log(), lines({refused("capi_voip_sms_get_file", dir + "/sm_recv"),
                                   refused("capi_voip_sms_backup", dir + "/sm_recv"),
                                   refused("capi_voip_sms_backup", dir + "/sm_send")}));
  EXPECT_FALSE(exists("marker"));
}

TEST_F(SmsApiTest, ADamagedFileUnderSuchADirectoryIsMadeAnewWithoutACopy) {
  const std::string dir = "/tmp/a;touch marker;";
  write_file(dir + "/sm_recv", "damaged");
  strcpy(segment().directory[4], dir.c_str());
  EXPECT_EQ(capi_voip_sms_init(), 0);
  EXPECT_THAT(captured_log(),
              testing::Contains(refused("_vkr_voip_verify_sms_file", dir + "/sm_recv")));
  EXPECT_FALSE(exists(dir + "/sm_recv.err"));
  EXPECT_FALSE(exists("marker"));
}

}  // namespace
}  // namespace capi::test
