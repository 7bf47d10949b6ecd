// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A store in files that a test makes, damages and looks at.
#pragma once

#include <filesystem>

#include "sms_files.h"
#include "support/faults.h"

namespace capi::test {

inline constexpr char kErr[] = "/tmp/sm_recv.err";

// Who logs what is wrong with a file.
inline constexpr char kCreate[] = "_vkr_voip_sms_create_file";
inline constexpr char kRead[] = "_vkr_voip_sms_read_file";
inline constexpr char kVerify[] = "_vkr_voip_verify_sms_file";
inline constexpr char kRequest[] = "_vkr_voip_sms_request_mem";

inline const LogLine kCreated{kLogInfo, kCreate, " create file /tmp/sm_recv successfully!"};
inline const LogLine kNoStat{kLogWarning, kRead,
                             "stat /tmp/sm_recv failed, reason 2: No such file or directory"};
inline const LogLine kNoCreate{kLogWarning, kCreate,
                               "fopen /tmp/sm_recv failed, reason 21: Is a directory"};
inline const LogLine kInvalid{kLogWarning, kVerify, "invalid sms file"};

inline const std::string kDamaged = header({.version = 2});

class SmsStoreTest : public SmsTest {
 protected:
  static int add_one(const Message& message = {}) {
    capi_sms_record record = to_record(message);
    return capi_voip_sms_add(CAPI_SMS_RECEIVED, &record);
  }

  static int get(uint64_t id) {
    capi_sms_record record{};
    return capi_voip_sms_get(CAPI_SMS_RECEIVED, id, &record);
  }

  static int update(uint64_t id) {
    const capi_sms_record record = to_record({.id = id, .status = 5});
    return capi_voip_sms_update(CAPI_SMS_RECEIVED, &record);
  }

  static int count() {
    const capi_sms_counter previous{};
    capi_sms_counter state{};
    return capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state);
  }

  static int update_first() { return update(1); }
  static int delete_first() { return capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1); }
  static int get_first() { return get(1); }

  static int load() {
    void* image = nullptr;
    const int result = capi_voip_sms_load(CAPI_SMS_RECEIVED, &image);
    EXPECT_EQ(image != nullptr, result == 0);
    capi_voip_sms_unload(&image);
    return result;
  }

  // The log, without the traces and the posting of signals.
  static std::vector<LogLine> logged() { return captured_log(kLogInfo); }

  static void expect_empty_file(const std::string& path = kReceived) {
    const std::string file = read_file(path);
    EXPECT_EQ(file, header({.identity = identity_in(file)}));
  }

  // Of a damaged file, or one that cannot be used, nothing is left in the store.
  static void expect_set_aside(const std::string& content) {
    EXPECT_EQ(read_file(kErr), content);
    expect_empty_file();
    std::filesystem::remove(kErr);
    clear_log();
  }

  // Writes the file anew and forgets what happened before.
  static void put(const std::string& content, const std::string& path = kReceived) {
    std::filesystem::remove_all(path);
    write_file(path, content);
    clear_log();
  }
};
}  // namespace capi::test
