// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Walking through a loaded file for its owner, and handing all of it to a callback.

#include <cstring>

#include "capi/device.h"
#include "capi/sms.h"
#include "device/sim_info.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "sms/image.h"
#include "sms/message.h"
#include "sms/path.h"
#include "sms/store.h"

namespace capi {
namespace {

// Which messages are seen.
struct Filter {
  bool all;
  char imsi[16];

  bool admits(const SmsItem& item) const {
    return all || bounded(item.message.imsi) == bounded(imsi);
  }
};

// False when it takes the SIM's IMSI and that is not known.
bool make_filter(int all, Filter& filter) {
  filter = {.all = all != 0, .imsi = {}};
  return filter.all || get_sim_info(CAPI_SIM_IMSI, filter.imsi, sizeof filter.imsi) == 0;
}

// What a message is found again by.
struct Mark {
  uint64_t id;
  uint32_t begin_time;
  char remote_number[24];
  char local_number[24];

  bool is_on(const capi_sms_record& record) const {
    return record.id == id && record.BeginTime == begin_time &&
           bounded(record.RemoteNumber) == bounded(remote_number) &&
           bounded(record.LocalNumber) == bounded(local_number);
  }
};

Mark mark_of(const capi_sms_record& record) {
  Mark mark{};
  mark.id = record.id;
  mark.begin_time = record.BeginTime;
  memcpy(mark.remote_number, record.RemoteNumber, sizeof mark.remote_number);
  memcpy(mark.local_number, record.LocalNumber, sizeof mark.local_number);
  return mark;
}

uint32_t count_of(const void* image) { return static_cast<const SmsFileHeader*>(image)->sm_count; }

// The messages of an image that was sound when it was loaded. It does not tell its size, only how
// many messages there are.
class LoadedWalk {
 public:
  explicit LoadedWalk(const void* image)
      : walk_({static_cast<const uint8_t*>(image), INT32_MAX}), left_(count_of(image)) {}

  // The first or the next message; null behind the last one.
  const SmsItem* next() {
    if (left_ == 0 || !walk_.next()) return nullptr;
    --left_;
    return &walk_.item();
  }

 private:
  SmsWalk walk_;
  uint32_t left_;
};

const SmsItem* find_first(const void* image, const Filter& filter) {
  LoadedWalk walk(image);
  const SmsItem* item = walk.next();
  while (item != nullptr && !filter.admits(*item)) item = walk.next();
  return item;
}

const SmsItem* find_last(const void* image, const Filter& filter) {
  const SmsItem* last = nullptr;
  LoadedWalk walk(image);
  while (const SmsItem* item = walk.next()) {
    if (filter.admits(*item)) last = item;
  }
  return last;
}

const SmsItem* find_next(const void* image, const Mark& current, const Filter& filter) {
  bool passed = false;
  LoadedWalk walk(image);
  while (const SmsItem* item = walk.next()) {
    if (passed && filter.admits(*item)) return item;
    passed = passed || current.is_on(item->message);
  }
  return nullptr;
}

const SmsItem* find_previous(const void* image, const Mark& current, const Filter& filter) {
  const SmsItem* previous = nullptr;
  LoadedWalk walk(image);
  while (const SmsItem* item = walk.next()) {
    if (current.is_on(item->message)) return previous;
    if (filter.admits(*item)) previous = item;
  }
  return nullptr;
}

using FindEnd = const SmsItem* (*)(const void* image, const Filter& filter);
using FindBeside = const SmsItem* (*)(const void* image, const Mark& current, const Filter& filter);

int give(const SmsItem* item, capi_sms_record& record) {
  if (item == nullptr) return -1;
  copy_sms(*item, record);
  return 0;
}

int get_end(const void* image, capi_sms_record* record, int all, FindEnd find, const char* func) {
  if (record == nullptr) return -1;
  memset(record, 0, sizeof *record);
  if (image == nullptr) return -1;
  if (count_of(image) == 0) {
    CAPI_LOG_AS(func, kLogWarning, "no short mesage\n");
    return -1;
  }
  Filter filter;
  return make_filter(all, filter) ? give(find(image, filter), *record) : -1;
}

int get_beside(const void* image, const capi_sms_record* current, capi_sms_record* record, int all,
               FindBeside find) {
  if (record == nullptr) return -1;
  const Mark mark = current != nullptr ? mark_of(*current) : Mark{};
  memset(record, 0, sizeof *record);  // which may be "current"
  if (image == nullptr || current == nullptr) return -1;
  Filter filter;
  return make_filter(all, filter) ? give(find(image, mark, filter), *record) : -1;
}

// The lock is held while the file is read only: callbacks may call the library.
Allocated<uint8_t> load(int selector) {
  const SmsAccess access;
  return load_sms_file(access.path(selector));
}

// Hands out a copy: what stands in the image is only as long as its text.
void dump_image(const void* image, capi_sms_record& copy, capi_sms_dump_cb callback,
                void* context) {
  static constexpr Filter kAll{.all = true, .imsi = {}};
  const SmsItem* item = find_first(image, kAll);
  for (int i = 0; item != nullptr && i < CAPI_SMS_MAX_MESSAGES; ++i) {
    memset(&copy, 0, sizeof copy);
    copy_sms(*item, copy);
    callback(&copy, context);
    item = find_next(image, mark_of(item->message), kAll);
  }
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_voip_sms_get_first(const void* image, capi_sms_record* record, int all) {
  return get_end(image, record, all, find_first, __func__);
}

int capi_voip_sms_get_last(const void* image, capi_sms_record* record, int all) {
  return get_end(image, record, all, find_last, __func__);
}

int capi_voip_sms_get_next(const void* image, const capi_sms_record* current,
                           capi_sms_record* record, int all) {
  return get_beside(image, current, record, all, find_next);
}

int capi_voip_sms_get_previous(const void* image, const capi_sms_record* current,
                               capi_sms_record* record, int all) {
  return get_beside(image, current, record, all, find_previous);
}

int capi_voip_sms_dump(int selector, capi_sms_dump_cb callback, void* context) {
  if (callback == nullptr) return -1;
  const auto copy = allocate_sms(__func__);
  if (!copy || !is_sms_selector(selector)) return -1;
  const auto image = load(selector);
  if (!image) return -1;
  dump_image(image.get(), *copy, callback, context);
  return 0;
}

int capi_voip_sms_dump_all(capi_sms_dump_cb callback, void* context) {
  if (callback == nullptr) return -1;
  capi_voip_sms_dump(CAPI_SMS_RECEIVED, callback, context);
  capi_voip_sms_dump(CAPI_SMS_SENT, callback, context);
  return 0;
}
