// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/store.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "foundation/file.h"
#include "foundation/log.h"
#include "sms/file.h"
#include "sms/image.h"
#include "sms/work_buffer.h"

namespace capi {
namespace {

// A larger file is told as one that there is no memory for, but is none of ours.
constexpr uint64_t kLargestLoad = INT32_MAX;

enum class Operation : uint8_t { Add, Update, Delete, Get, Count, Load };

// What an operation does about a file that it cannot use; Replace is SetAside, then Create.
enum class Remedy : uint8_t { Leave, Create, SetAside, Replace };

constexpr size_t kTroubles = static_cast<size_t>(SmsTrouble::Count);

struct OperationRow {
  Operation operation;
  char name[32];
  Remedy remedies[kTroubles];  // by SmsTrouble
};

// By operation. Whatever says nothing about the content leaves it.
constexpr auto kOperations = [] {
  using enum Remedy;
  return std::to_array<OperationRow>({
      // None, Absent, NotExamined, NoMemory, NotRead, Unopenable, Unreadable, Unsound; an add goes
      // on with an empty image
      {Operation::Add,
       "_vkr_voip_sms_add",
       {Leave, Leave, Leave, Leave, Leave, Create, Leave, SetAside}},
      {Operation::Update,
       "capi_voip_sms_update",
       {Leave, Leave, Leave, Leave, Leave, Create, Leave, Replace}},
      {Operation::Delete,
       "capi_voip_sms_del_by_id",
       {Leave, Leave, Leave, Leave, Leave, Create, Leave, Replace}},
      {Operation::Get,
       "capi_voip_sms_get",
       {Leave, SetAside, SetAside, Leave, Leave, Replace, Replace, Replace}},
      {Operation::Count,
       "capi_voip_sms_get_unread_sm_num",
       {Leave, Create, Leave, Leave, Leave, Replace, Replace, Replace}},
      {Operation::Load,
       "capi_voip_sms_load",
       {Leave, Leave, Leave, Leave, Leave, Create, Create, Replace}},
  });
}();

consteval bool is_in_order() {
  for (size_t i = 0; i < kOperations.size(); ++i) {
    if (kOperations[i].operation != static_cast<Operation>(i)) return false;
  }
  return kOperations.size() == static_cast<size_t>(Operation::Load) + 1;
}
static_assert(is_in_order() && kTroubles == 8);

const OperationRow& row_of(Operation operation) {
  return kOperations[static_cast<size_t>(operation)];
}

const char* name_of(Operation operation) { return row_of(operation).name; }

SmsTrouble apply_remedy(SmsTrouble trouble, Operation operation, const char* path)
    CAPI_REQUIRES(kVoiceSmsLock) {
  const Remedy remedy = row_of(operation).remedies[static_cast<size_t>(trouble)];
  if (remedy == Remedy::SetAside || remedy == Remedy::Replace) set_sms_file_aside(path);
  if (remedy == Remedy::Create || remedy == Remedy::Replace) create_sms_file(path);
  return trouble;
}

bool makes_missing_file(Operation operation) {
  return operation != Operation::Get && operation != Operation::Count;
}

bool find_size(const char* path, Operation operation, uint64_t& size) CAPI_REQUIRES(kVoiceSmsLock) {
  if (get_sms_file_size(path, size)) return true;
  return makes_missing_file(operation) && create_missing_sms_file(path, name_of(operation)) &&
         get_sms_file_size(path, size);
}

// After an error of examining a file.
SmsTrouble trouble_after_error() {
  return tells_of_content(errno) ? SmsTrouble::Absent : SmsTrouble::NotExamined;
}

SmsTrouble read_image(const char* path, const SmsImage& image) CAPI_REQUIRES(kVoiceSmsLock) {
  const SmsTrouble trouble = read_sms_file(path, image.bytes());
  return trouble == SmsTrouble::None ? check_sms_file(image.bytes()) : trouble;
}

// A file in the work buffer, for a scope.
struct WorkImage {
  SmsWorkBuffer buffer;
  SmsImage image;
};

SmsTrouble try_open(const char* path, Operation operation, WorkImage& work)
    CAPI_REQUIRES(kVoiceSmsLock) {
  uint64_t size = 0;
  if (!find_size(path, operation, size)) return trouble_after_error();
  const uint64_t room = operation == Operation::Add ? sizeof(SmsItem) : 0;
  uint8_t* memory = work.buffer.request(size + room, name_of(operation));
  if (memory == nullptr) return SmsTrouble::NoMemory;
  work.image = SmsImage(memory, static_cast<size_t>(size));
  return read_image(path, work.image);
}

// Reads a file through the work buffer and judges it; one that cannot be used is dealt with.
SmsTrouble open_image(const char* path, Operation operation, WorkImage& work)
    CAPI_REQUIRES(kVoiceSmsLock) {
  return apply_remedy(try_open(path, operation, work), operation, path);
}

int not_found(Operation operation, uint64_t id) {
  CAPI_LOG_AS(name_of(operation), kLogWarning, "not find the short message(id=%llu)\n",
              static_cast<unsigned long long>(id));
  return -1;
}

void evict(SmsImage& image) {
  while (image.is_too_large()) {
    CAPI_LOG_AS(name_of(Operation::Add), kLogWarning, "delete old short message\n");
    image.drop_oldest();
  }
}

SmsTrouble verify_sms_file(const char* path) CAPI_REQUIRES(kVoiceSmsLock) {
  static constexpr char kFunc[] = "_vkr_voip_verify_sms_file";
  uint64_t size = 0;
  if (!get_sms_file_size(path, size)) return trouble_after_error();
  if (size > kSmsMaxFileSize) {
    const auto shown = static_cast<unsigned>(size < UINT32_MAX ? size : UINT32_MAX);
    CAPI_LOG_AS(kFunc, kLogWarning, "file is too large: %u\n", shown);
    return SmsTrouble::Unsound;
  }
  SmsWorkBuffer buffer;
  uint8_t* memory = buffer.request(size, kFunc);
  if (memory == nullptr) return SmsTrouble::NoMemory;
  const SmsImage image(memory, static_cast<size_t>(size));
  const SmsTrouble trouble = read_sms_file(path, image.bytes());
  if (trouble != SmsTrouble::None) return trouble;
  const SmsFileHeader header = sms_header(image.bytes());
  CAPI_LOG_AS(kFunc, kLogInfo, "version %u smCount %u\n", header.version, header.sm_count);
  return check_sms_file(image.bytes());
}

}  // namespace

int init_sms_file(const char* path) {
  static constexpr char kFunc[] = "_vkr_voip_sms_init_file";
  using enum SmsTrouble;
  if (!open_file(path, "rb")) {
    if (!tells_of_content(errno)) log_failed_on(kFunc, "fopen", path);
    return create_missing_sms_file(path, kFunc) ? 0 : -1;
  }
  const SmsTrouble trouble = verify_sms_file(path);
  if (trouble == None) return 0;
  if (trouble == NoMemory) return -1;
  const bool is_out_of_reach = trouble == NotExamined || trouble == NotRead;
  if (!is_out_of_reach && trouble != Absent) set_sms_file_aside(path);
  CAPI_LOG_AS(kFunc, kLogWarning, "_vkr_voip_verify_sms_file %s failed!\n", path);
  if (!is_out_of_reach && create_sms_file(path)) return 0;
  CAPI_LOG_AS(kFunc, kLogWarning, " _vkr_voip_create_sms_file failed!\n");
  return -1;
}

int add_sms(const char* path, capi_sms_record& record, uint64_t& id) {
  if (record.TextSize > CAPI_SMS_TEXT_CAPACITY) return -1;
  WorkImage work;
  SmsImage& image = work.image;
  const SmsTrouble trouble = open_image(path, Operation::Add, work);
  if (trouble == SmsTrouble::Unsound) {
    image.reset(make_sms_file_identity());
  } else if (trouble != SmsTrouble::None) {
    return -1;
  }
  id = record.id = image.append(record);
  evict(image);
  if (!write_sms_file(path, image.bytes(), SmsPurpose::Add)) return -1;
  CAPI_LOG_AS(name_of(Operation::Add), kLogInfo,
              "add short message successfully, smCount %d, size %d, id %llu\n",
              static_cast<int>(image.header().sm_count), static_cast<int>(image.bytes().size()),
              static_cast<unsigned long long>(id));
  return 0;
}

int update_sms(const char* path, const capi_sms_record& record) {
  CAPI_LOG_AS(name_of(Operation::Update), kLogDebug, "update short message(id=%llu)\n",
              static_cast<unsigned long long>(record.id));
  WorkImage work;
  if (open_image(path, Operation::Update, work) != SmsTrouble::None) return -1;
  SmsItem* item = work.image.find(record.id);
  if (item == nullptr) return not_found(Operation::Update, record.id);
  item->message.status = record.status;
  item->message.bRead = record.bRead;
  item->message.LastTime = record.LastTime;
  return write_sms_file(path, work.image.bytes(), SmsPurpose::Add) ? 0 : -1;
}

int get_sms(const char* path, uint64_t id, capi_sms_record& record) {
  WorkImage work;
  if (open_image(path, Operation::Get, work) != SmsTrouble::None) return -1;
  int result = -1;
  for (SmsWalk walk(work.image.bytes()); walk.next();) {
    if (walk.item().message.id != id) continue;
    copy_sms(walk.item(), record);
    result = 0;
  }
  return result;
}

int delete_sms(const char* path, uint64_t id) {
  CAPI_LOG_AS(name_of(Operation::Delete), kLogDebug, "del short message(id=%llu)\n",
              static_cast<unsigned long long>(id));
  WorkImage work;
  if (open_image(path, Operation::Delete, work) != SmsTrouble::None) return -1;
  if (!work.image.remove(id)) return not_found(Operation::Delete, id);
  return write_sms_file(path, work.image.bytes(), SmsPurpose::Remove) ? 0 : -1;
}

int count_new_sms(const char* path, int selector, const capi_sms_counter& previous,
                  capi_sms_counter& state) {
  WorkImage work;
  if (open_image(path, Operation::Count, work) != SmsTrouble::None) return -1;
  state.file_identity = work.image.header().file_identity;
  const bool changed = state.file_identity != previous.file_identity;
  if (changed) CAPI_LOG_AS(name_of(Operation::Count), kLogWarning, "file %d changed\n", selector);
  for (SmsWalk walk(work.image.bytes()); walk.next();) {
    const uint64_t id = walk.item().message.id;
    if (!changed && id <= previous.last_new_id) continue;
    if (state.first_new_id == 0) state.first_new_id = id;
    state.last_new_id = id;
    ++state.count;
  }
  return 0;
}

Allocated<uint8_t> load_sms_file(const char* path) {
  constexpr Operation kLoad = Operation::Load;
  uint64_t size = 0;
  if (!find_size(path, kLoad, size)) return nullptr;
  void* memory = size <= kLargestLoad ? calloc(1, static_cast<size_t>(size)) : nullptr;
  Allocated<uint8_t> image(static_cast<uint8_t*>(memory));
  SmsTrouble trouble = size <= kLargestLoad ? SmsTrouble::NoMemory : SmsTrouble::Unreadable;
  if (image) {
    trouble = read_image(path, SmsImage(image.get(), static_cast<size_t>(size)));
  } else {
    CAPI_LOG_AS(name_of(kLoad), kLogWarning, "calloc %d failed!\n", size_for_log(size));
  }
  apply_remedy(trouble, kLoad, path);
  return trouble == SmsTrouble::None ? std::move(image) : nullptr;
}

}  // namespace capi
