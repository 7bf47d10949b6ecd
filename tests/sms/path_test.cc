// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/path.h"

#include <cstring>
#include <filesystem>

#include "sms_files.h"
#include "support/faults.h"

namespace capi::test {
namespace {

constexpr char kReceivedFallback[] = "/quorbleconf/ims_data/sm_recv";
constexpr char kSentFallback[] = "/quorbleconf/ims_data/sm_send";

class SmsPathTest : public Adapter {
 protected:
  // As an access does while this is the nv directory.
  void settle(std::string_view nv_dir) {
    for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) {
      used_[selector] = paths_.keep(selector, paths_.find(selector, nv_dir)).text;
    }
  }

  void expect(const std::string& received, const std::string& sent) const {
    EXPECT_EQ(used_[CAPI_SMS_RECEIVED], received);
    EXPECT_EQ(used_[CAPI_SMS_SENT], sent);
  }

 private:
  SmsPaths paths_;
  std::string used_[2];
};

TEST_F(SmsPathTest, BothFilesAreInTheNvDirectory) {
  settle("/nv");
  expect("/nv/sm_recv", "/nv/sm_send");
}

TEST_F(SmsPathTest, APathInAnNvDirectoryStays) {
  settle("/nv");
  settle("/other");
  settle("");
  expect("/nv/sm_recv", "/nv/sm_send");
}

TEST_F(SmsPathTest, WithoutAnNvDirectoryThereAreFallbacks) {
  settle("");
  expect(kReceivedFallback, kSentFallback);
}

TEST_F(SmsPathTest, OnlyTheReceivedMessagesLeaveTheirFallback) {
  settle("");
  settle("/nv");
  expect("/nv/sm_recv", kSentFallback);
}

TEST_F(SmsPathTest, APathThatDoesNotFitIsNoneAndIsAskedForAgain) {
  const std::string longest(247, 'd');
  settle(longest + "d");
  expect("", "");
  settle(longest);
  expect(longest + "/sm_recv", longest + "/sm_send");
}

TEST_F(SmsPathTest, TheDataDirectoryServesWhereNoNvDirectoryIsSet) {
  start_master();
  const SmsAccess access;
  EXPECT_STREQ(access.path(CAPI_SMS_RECEIVED), "/tmp/sm_recv");
  EXPECT_STREQ(access.path(CAPI_SMS_SENT), "/tmp/sm_send");
}

TEST_F(SmsPathTest, AProcessThatStartsBeforeTheMasterFindsTheDirectoryLater) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();  // makes the segment, which is all zero
  { EXPECT_STREQ(SmsAccess().path(CAPI_SMS_RECEIVED), kReceivedFallback); }
  strcpy(segment().directory[static_cast<size_t>(RuntimeDir::Nv)], "/tmp/nv");
  { EXPECT_STREQ(SmsAccess().path(CAPI_SMS_RECEIVED), "/tmp/nv/sm_recv"); }
}

TEST_F(SmsPathTest, AccessHoldsTheLockAndNoOther) {
  start_master();
  {
    const SmsAccess access;
    EXPECT_EQ(lock_value(CAPI_LOCK_VOICE_SMS), 0);
    EXPECT_EQ(lock_value(CAPI_LOCK_CONF_SHM), 1);
  }
  EXPECT_EQ(lock_value(CAPI_LOCK_VOICE_SMS), 1);
}

TEST_F(SmsPathTest, ADirectoryThatIsKnownIsNotAskedForAgain) {
  start_master();
  const auto locks_taken = [] {
    clear_faults();
    const SmsAccess access;
    return count_calls(Call::Semop);
  };
  EXPECT_EQ(locks_taken(), 3) << "lock 0, taken and freed, then lock 18";
  EXPECT_EQ(locks_taken(), 1) << "lock 18";
}

TEST_F(SmsPathTest, AnUnknownDirectoryIsAskedForEveryTime) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();
  for (int i = 0; i < 3; ++i) {
    clear_faults();
    const SmsAccess access;
    EXPECT_EQ(count_calls(Call::Semop), 3);
  }
}

TEST_F(SmsPathTest, APathIsKnownWithoutAnAccess) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();
  EXPECT_TRUE(is_sms_path(CAPI_SMS_RECEIVED, kReceivedFallback));
  EXPECT_TRUE(is_sms_path(CAPI_SMS_SENT, kSentFallback));
  EXPECT_FALSE(is_sms_path(CAPI_SMS_SENT, kReceivedFallback));
  strcpy(segment().directory[static_cast<size_t>(RuntimeDir::Nv)], "/tmp/nv");
  EXPECT_TRUE(is_sms_path(CAPI_SMS_RECEIVED, "/tmp/nv/sm_recv"));
  { const SmsAccess access; }
  strcpy(segment().directory[static_cast<size_t>(RuntimeDir::Nv)], "/tmp/other");
  EXPECT_TRUE(is_sms_path(CAPI_SMS_RECEIVED, "/tmp/nv/sm_recv"));
  EXPECT_FALSE(is_sms_path(CAPI_SMS_RECEIVED, "/tmp/other/sm_recv"));
}

TEST_F(SmsPathTest, AFallbackThatWasTakenForSentMessagesIsKnownToStay) {
  ASSERT_EQ(capi_critical_section_lock_create(), 0);
  start_client();
  { const SmsAccess access; }
  strcpy(segment().directory[static_cast<size_t>(RuntimeDir::Nv)], "/tmp/nv");
  EXPECT_TRUE(is_sms_path(CAPI_SMS_RECEIVED, "/tmp/nv/sm_recv"));
  EXPECT_TRUE(is_sms_path(CAPI_SMS_SENT, kSentFallback));
}

TEST_F(SmsPathTest, EveryAccessSettlesBothPathsWhicheverFileItIsFor) {
  std::filesystem::create_directories("/quorbleconf/ims_data");
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), 0);  // before there is a record
  EXPECT_TRUE(exists(kReceivedFallback));
  start_master();
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), 0);
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_SENT), 0);
  EXPECT_TRUE(exists(kReceived));
  EXPECT_TRUE(exists(kSentFallback));
  EXPECT_FALSE(exists(kSent));
}

}  // namespace
}  // namespace capi::test
