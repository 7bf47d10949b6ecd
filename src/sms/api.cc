// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The operations on the files as the device's programs call them: the work under the lock and,
// where that is to change a message, the signal afterwards.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "capi/event.h"
#include "capi/sms.h"
#include "foundation/log.h"
#include "sms/file.h"
#include "sms/id_text.h"
#include "sms/path.h"
#include "sms/store.h"

namespace capi {
namespace {

// What happened to a message, as readers of the signal know it.
constexpr char kAdded[] = "1";
constexpr char kDeleted[] = "2";
constexpr char kUpdated[] = "3";
constexpr char kCleaned[] = "4";

void announce(const char* change, uint64_t id) {
  capi_fire_internal_event2("vop_sig_voip_sms_updated_out", change, SmsIdText(id).text, nullptr);
}

int add(int selector, capi_sms_record* record, uint64_t& id) {
  if (!is_sms_selector(selector) || record == nullptr) return -1;
  const SmsAccess access;
  return add_sms(access.path(selector), *record, id);
}

int update(int selector, const capi_sms_record& record) {
  if (!is_sms_selector(selector)) return -1;
  const SmsAccess access;
  return update_sms(access.path(selector), record);
}

int del(int selector, uint64_t id) {
  if (!is_sms_selector(selector)) return -1;
  const SmsAccess access;
  return delete_sms(access.path(selector), id);
}

int clean(int selector) {
  if (!is_sms_selector(selector)) return -1;
  const SmsAccess access;
  return create_sms_file(access.path(selector), SmsPurpose::Remove) ? 0 : -1;
}

bool refuse_same_file(int selector, const char* destination, const char* func) {
  if (!is_sms_path(selector, destination)) return false;
  CAPI_LOG_AS(func, kLogWarning, "should not be the same file\n");
  return true;
}

int copy_to(int selector, const char* destination, const char* func) {
  const SmsAccess access;
  return copy_sms_file(access.path(selector), destination, func) ? 0 : -1;
}

int back_up(int selector, const char* base_path, const char* suffix) {
  char destination[kSmsPathSize];
  const int length = snprintf(destination, sizeof destination, "%s%s", base_path, suffix);
  // Cut, it would be the name of another file.
  if (length < 0 || static_cast<size_t>(length) >= sizeof destination) return 0;
  static constexpr char kFunc[] = "capi_voip_sms_backup";
  if (refuse_same_file(selector, destination, kFunc)) return 0;
  return copy_to(selector, destination, kFunc);
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_voip_sms_init() {
  const SmsAccess access;
  const int received = init_sms_file(access.path(CAPI_SMS_RECEIVED));
  const int sent = init_sms_file(access.path(CAPI_SMS_SENT));
  return received | sent;
}

int capi_voip_sms_add(int selector, capi_sms_record* record) {
  uint64_t id = 0;
  const int result = add(selector, record, id);
  announce(kAdded, result == 0 ? id : 0);
  return result;
}

int capi_voip_sms_update(int selector, const capi_sms_record* record) {
  if (record == nullptr) return -1;
  const uint64_t id = record->id;
  const int result = update(selector, *record);
  announce(kUpdated, id);
  return result;
}

int capi_voip_sms_get(int selector, uint64_t id, capi_sms_record* record) {
  if (!is_sms_selector(selector) || record == nullptr) return -1;
  const SmsAccess access;
  return get_sms(access.path(selector), id, *record);
}

int capi_voip_sms_del_by_id(int selector, uint64_t id) {
  const int result = del(selector, id);
  announce(kDeleted, id);
  return result;
}

int capi_voip_sms_get_unread_sm_num(int selector, const capi_sms_counter* previous,
                                    capi_sms_counter* state) {
  if (previous == nullptr || state == nullptr) return -1;
  const capi_sms_counter seen = *previous;  // a caller may pass the same twice
  *state = {};
  if (!is_sms_selector(selector)) return -1;
  const SmsAccess access;
  return count_new_sms(access.path(selector), selector, seen, *state);
}

int capi_voip_sms_clean(int selector) {
  const int result = clean(selector);
  announce(kCleaned, 0);
  return result;
}

int capi_voip_sms_load(int selector, void** image) {
  if (image == nullptr) return -1;
  *image = nullptr;
  if (!is_sms_selector(selector)) return -1;
  const SmsAccess access;
  *image = load_sms_file(access.path(selector)).release();
  return *image != nullptr ? 0 : -1;
}

int capi_voip_sms_unload(void** image) {
  if (image == nullptr) return 0;
  free(*image);
  *image = nullptr;
  return 0;
}

int capi_voip_sms_get_file(int selector, const char* destination) {
  if (!is_sms_selector(selector) || destination == nullptr) return -1;
  if (refuse_same_file(selector, destination, __func__)) return -1;
  return copy_to(selector, destination, __func__);
}

int capi_voip_sms_backup(const char* base_path) {
  if (base_path == nullptr) return -1;
  const int received = back_up(CAPI_SMS_RECEIVED, base_path, ".recv");
  const int sent = back_up(CAPI_SMS_SENT, base_path, ".send");
  return received | sent;
}
