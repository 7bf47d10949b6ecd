// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A short-message file of any content: judged, and if it is sound changed and walked through.

#include <cstring>
#include <memory>

#include "fuzz/support.h"
#include "sms/image.h"

namespace {

using capi::SmsFault;
using capi::SmsImage;
using capi::SmsItem;
using capi::SmsWalk;
using capi::fuzz::require;

bool is_sound(std::span<const uint8_t> image) {
  return capi::check_sms_image(image).fault == SmsFault::None;
}

// The walk stays within the bytes, sound or not.
void walk(std::span<const uint8_t> image, capi_sms_record& record) {
  SmsWalk walk(image);
  while (walk.next()) {
    require(walk.offset() < walk.end() && walk.end() <= image.size());
    capi::copy_sms(walk.item(), record);
  }
}

// The four public steps see each message of a sound image, as far as they can be told apart.
void walk_loaded(const uint8_t* image, uint32_t count, capi_sms_record& record) {
  const auto visit = [&](auto start, auto step) {
    uint32_t seen = 0;
    for (int result = start(image, &record, 1); result == 0 && seen < count; ++seen) {
      result = step(image, &record, &record, 1);
    }
    require((seen == 0) == (count == 0));
  };
  visit(capi_voip_sms_get_first, capi_voip_sms_get_next);
  visit(capi_voip_sms_get_last, capi_voip_sms_get_previous);
}

// A sound image stays sound whatever is done to it.
void change(std::span<const uint8_t> bytes, const capi_sms_record& message) {
  const auto memory = std::make_unique<uint8_t[]>(bytes.size() + sizeof(SmsItem));
  memcpy(memory.get(), bytes.data(), bytes.size());
  SmsImage image(memory.get(), bytes.size());
  const uint64_t id = image.append(message);
  while (image.is_too_large()) image.drop_oldest();
  require(is_sound(image.bytes()) && image.find(id) != nullptr);
  while (image.remove(id)) {
  }
  require(is_sound(image.bytes()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> image(data, size);
  const auto record = std::make_unique<capi_sms_record>();
  walk(image, *record);
  if (!is_sound(image)) return 0;
  const capi::SmsFileHeader header = capi::sms_header(image);
  capi::fuzz::ignore_log();
  walk_loaded(data, header.sm_count, *record);
  *record = {};
  record->TextSize = static_cast<uint32_t>(header.last_id % (CAPI_SMS_TEXT_CAPACITY + 1));
  change(image, *record);
  return 0;
}
