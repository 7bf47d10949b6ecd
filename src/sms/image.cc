// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/image.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "foundation/text.h"

namespace capi {

static_assert(std::endian::native == std::endian::little, "files are read and written in place");

namespace {

// What has to follow for the walk to look at it at all.
constexpr size_t kLeastItem = 9;

void remember_imsi(SmsFileHeader& header, const char (&imsi)[16]) {
  char slots[2][16] = {};
  memcpy(slots[0], imsi, sizeof imsi);
  for (const auto& former : header.imsi) {
    const bool counts = former[0] != '\0' && bounded(former) != bounded(imsi);
    if (!counts) continue;
    memcpy(slots[1], former, sizeof former);
    break;
  }
  memcpy(header.imsi, slots, sizeof slots);
}

}  // namespace

const SmsItem& SmsWalk::item_at(size_t offset) const {
  return *reinterpret_cast<const SmsItem*>(image_.data() + offset);
}

bool SmsWalk::stop(SmsFault fault, uint32_t number) {
  fault_ = fault;
  wrong_number_ = number;
  return false;
}

bool SmsWalk::next() {
  if (fault_ != SmsFault::None || end_ + kLeastItem > image_.size()) return false;
  const SmsItem& item = item_at(end_);
  const size_t left = image_.size() - end_;
  if (item.type != kSmsItemType) return stop(SmsFault::Type, item.type);
  // 64 bits: a TextSize near the end of its range must not wrap round to a small length.
  const bool fits = left >= kSmsItemHead + kSmsFixedPart &&
                    item.length == uint64_t{item.message.TextSize} + kSmsFixedPart &&
                    item.length <= left - kSmsItemHead;
  if (!fits) return stop(SmsFault::Length, item.length);
  offset_ = end_;
  end_ += kSmsItemHead + item.length;
  return true;
}

SmsFileHeader sms_header(std::span<const uint8_t> image) {
  SmsFileHeader header{};
  if (!image.empty()) memcpy(&header, image.data(), std::min(sizeof header, image.size()));
  return header;
}

SmsVerdict check_sms_image(std::span<const uint8_t> image) {
  const SmsFileHeader header = sms_header(image);
  if (header.version != kSmsVersion || header.sm_count > CAPI_SMS_MAX_MESSAGES) {
    return {SmsFault::Header, 0};
  }
  SmsWalk walk(image);
  uint32_t count = 0;
  while (walk.next()) ++count;
  if (walk.fault() != SmsFault::None) return {walk.fault(), walk.wrong_number()};
  const bool complete = count == header.sm_count && walk.end() == image.size();
  return {complete ? SmsFault::None : SmsFault::Count, 0};
}

void copy_sms(const SmsItem& item, capi_sms_record& record) {
  memcpy(&record, &item.message, std::min<size_t>(item.length, sizeof record));
}

void SmsImage::reset(uint64_t file_identity) {
  size_ = sizeof(SmsFileHeader);
  header() = {.version = kSmsVersion,
              .sm_count = 0,
              .file_identity = file_identity,
              .last_id = 0,
              .imsi = {}};
}

uint64_t SmsImage::append(const capi_sms_record& message) {
  auto& item = *reinterpret_cast<SmsItem*>(data_ + size_);
  item.type = kSmsItemType;
  item.length = kSmsFixedPart + message.TextSize;
  memcpy(&item.message, &message, item.length);
  item.message.id = ++header().last_id;
  ++header().sm_count;
  size_ += kSmsItemHead + item.length;
  remember_imsi(header(), message.imsi);
  return item.message.id;
}

bool SmsImage::is_too_large() const {
  return header().sm_count > CAPI_SMS_MAX_MESSAGES || size_ > kSmsMaxFileSize;
}

SmsItem* SmsImage::find(uint64_t id) const {
  SmsWalk walk(bytes());
  while (walk.next()) {
    if (walk.item().message.id == id) return reinterpret_cast<SmsItem*>(data_ + walk.offset());
  }
  return nullptr;
}

bool SmsImage::remove(uint64_t id) {
  SmsItem* item = find(id);
  if (item == nullptr) return false;
  erase(static_cast<size_t>(reinterpret_cast<uint8_t*>(item) - data_));
  return true;
}

void SmsImage::erase(size_t offset) {
  uint8_t* item = data_ + offset;
  const size_t length = kSmsItemHead + reinterpret_cast<SmsItem*>(item)->length;
  memmove(item, item + length, size_ - offset - length);
  size_ -= length;
  --header().sm_count;
}

}  // namespace capi
