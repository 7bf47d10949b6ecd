// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The short messages.
#include <cstring>
#include <filesystem>

#include "operation.h"
#include "sms/sms_files.h"

namespace capi::test {
namespace {

constexpr char kReceivedCopy[] = "/tmp/sm_recv.err";

void provide_sim() {
  become_master();
  capi_config_set("sim_info", "option_sim_info_IMSI", 0, "001011234567890");
}

void provide_messages() {
  provide_sim();
  for (const char* path : {kReceived, kSent}) write_file(path, sms_file({{}, {}}));
}

void provide_damaged_file() {
  provide_messages();
  write_file(kReceived, header({.version = 2}));
}

void provide_no_file() {
  provide_sim();
  for (const char* path : {kReceived, kSent}) std::filesystem::remove(path);
}

// The identity tells when the file was made, and a message when it was sent.
std::string without_times(std::string file) {
  constexpr size_t kIdentity = 8;
  constexpr size_t kMessages = 56;
  constexpr size_t kBeginTime = 28;
  if (file.size() >= kIdentity + 8) file.replace(kIdentity, 8, 8, '\0');
  for (size_t at = kMessages; at + 112 <= file.size();) {
    uint32_t length = 0;
    memcpy(&length, &file[at + 4], sizeof length);
    file.replace(at + kBeginTime, 4, 4, '\0');
    at += length + 8;
  }
  return file;
}

// The store deals with whatever is there, and works.
bool works_again() {
  capi_sms_record record = to_record({});
  return capi_voip_sms_init() == 0 && capi_voip_sms_add(CAPI_SMS_RECEIVED, &record) == 0 &&
         capi_voip_sms_get(CAPI_SMS_RECEIVED, record.id, &record) == 0;
}

Operation on_messages(const char* name, const std::function<int()>& run,
                      const std::function<void()>& prepare = provide_messages) {
  return {.name = std::string("short messages: ") + name,
          .prepare = prepare,
          .run = run,
          .files = {kReceived, kSent, kReceivedCopy},
          .comparable = without_times,
          .fresh = header({.identity = 0}),
          .recover = works_again,
          .keeps = 1};
}

int add() {
  capi_sms_record record = to_record({});
  return capi_voip_sms_add(CAPI_SMS_RECEIVED, &record);
}

int update() {
  const capi_sms_record record = to_record({.id = 1, .status = 5});
  return capi_voip_sms_update(CAPI_SMS_RECEIVED, &record);
}

int get() {
  capi_sms_record record{};
  return capi_voip_sms_get(CAPI_SMS_RECEIVED, 1, &record);
}

int remove_first() { return capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, 1); }

int count() {
  const capi_sms_counter previous{};
  capi_sms_counter state{};
  return capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &previous, &state);
}

int load() {
  void* image = nullptr;
  const int result = capi_voip_sms_load(CAPI_SMS_RECEIVED, &image);
  capi_sms_record record{};
  if (result == 0) capi_voip_sms_get_first(image, &record, 0);
  capi_voip_sms_unload(&image);
  return result;
}

int send() { return capi_voip_sms_send("+15551230002", 1, "hello", 5); }

int ignore(const capi_sms_record*, void*) { return 0; }

int clean() { return capi_voip_sms_clean(CAPI_SMS_RECEIVED); }

}  // namespace

Operations message_operations() {
  return {
      on_messages("init", capi_voip_sms_init),
      on_messages("init without files", capi_voip_sms_init, provide_no_file),
      on_messages("init of a damaged file", capi_voip_sms_init, provide_damaged_file),
      on_messages("add", add),
      on_messages("add without a file", add, provide_no_file),
      on_messages("add to a damaged file", add, provide_damaged_file),
      on_messages("update", update),
      on_messages("get", get),
      on_messages("get from a damaged file", get, provide_damaged_file),
      on_messages("delete", remove_first),
      on_messages("count", count),
      on_messages("load", load),
      on_messages("send", send),
      on_messages("clean", clean),
      on_messages("dump all", [] { return capi_voip_sms_dump_all(ignore, nullptr); }),
      on_messages("back up", [] { return capi_voip_sms_backup("/tmp/trial.messages"); }),
  };
}

}  // namespace capi::test
