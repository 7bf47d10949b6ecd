// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A short-message file in memory: its layout, the walk over its messages, and what changes it. Free
// of I/O, locks and logs; the bytes may be anything.
//
// The file is a header and then the messages, oldest first, each as long as its text; there is no
// index and no padding. So a message is found by walking, appended at the end and taken out by
// moving what is behind it. Ids rise and are never given twice, also after a message is gone.
//
// Reading takes any bytes: a walk stops, and says why, where a message does not keep to the layout
// or does not fit into what is there. Changing takes a sound image only, which check_sms_image()
// tells.
//
// Leaves to sms/store.h which changes make an operation, and to sms/file.h the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "capi/sms.h"

namespace capi {

inline constexpr uint32_t kSmsVersion = 1;
inline constexpr uint32_t kSmsItemType = 0x534D5354;  // "TSMS" in file order
inline constexpr uint64_t kSmsMaxFileSize = 81920;    // of a file that is sound at the start

struct __attribute__((packed)) SmsFileHeader {
  uint32_t version;
  uint32_t sm_count;
  uint64_t file_identity;
  uint64_t last_id;
  char imsi[2][16];  // of the newest message, and the one in use before
};

// A message in a file; as much of it as "length" says, which ends with the text.
struct __attribute__((packed)) SmsItem {
  uint32_t type;
  uint32_t length;
  capi_sms_record message;
};

inline constexpr uint32_t kSmsItemHead = offsetof(SmsItem, message);
inline constexpr uint32_t kSmsFixedPart = offsetof(capi_sms_record, Text);

static_assert(sizeof(SmsFileHeader) == 56);
static_assert(offsetof(SmsFileHeader, file_identity) == 8);
static_assert(offsetof(SmsFileHeader, last_id) == 16);
static_assert(offsetof(SmsFileHeader, imsi) == 24);
static_assert(kSmsItemHead == 8 && kSmsFixedPart == 104);
static_assert(sizeof(SmsItem) == 39214);

// What is wrong with a file.
enum class SmsFault : uint8_t { None, Header, Type, Length, Count };

// Walks the messages of an image, oldest first.
class SmsWalk {
 public:
  explicit SmsWalk(std::span<const uint8_t> image) : image_(image) {}

  // Steps onto the first or the next message. False at the end and at an unsound one.
  bool next();

  // Where it stands, after a step that succeeded.
  const SmsItem& item() const { return item_at(offset_); }
  size_t offset() const { return offset_; }

  // Behind the last message that was stepped onto.
  size_t end() const { return end_; }

  // Why it stopped, and the number that is wrong.
  SmsFault fault() const { return fault_; }
  uint32_t wrong_number() const { return wrong_number_; }

 private:
  const SmsItem& item_at(size_t offset) const;
  bool stop(SmsFault fault, uint32_t number);

  std::span<const uint8_t> image_;
  size_t offset_ = 0;
  size_t end_ = sizeof(SmsFileHeader);
  SmsFault fault_ = SmsFault::None;
  uint32_t wrong_number_ = 0;
};

struct SmsVerdict {
  SmsFault fault;
  uint32_t wrong_number;
};

// Judges a whole file.
SmsVerdict check_sms_image(std::span<const uint8_t> image);

// The header of an image; what a shorter one lacks is zero.
SmsFileHeader sms_header(std::span<const uint8_t> image);

// Copies a message to a caller, whose record may be smaller than the stored one.
void copy_sms(const SmsItem& item, capi_sms_record& record);

// A sound image that can be changed. The memory is somebody else's and holds the image and one
// more message of the largest size.
class SmsImage {
 public:
  SmsImage() = default;
  SmsImage(uint8_t* data, size_t size) : data_(data), size_(size) {}

  std::span<uint8_t> bytes() const { return {data_, size_}; }
  SmsFileHeader& header() const { return *reinterpret_cast<SmsFileHeader*>(data_); }

  // Starts over, without a message.
  void reset(uint64_t file_identity);

  // Appends a message under a new id, which it returns; the message's own id is not looked at.
  // Its TextSize is at most CAPI_SMS_TEXT_CAPACITY.
  uint64_t append(const capi_sms_record& message);

  bool is_too_large() const;
  void drop_oldest() { erase(sizeof(SmsFileHeader)); }

  // Null when there is no message of this id.
  SmsItem* find(uint64_t id) const;

  // False when there is no message of this id.
  bool remove(uint64_t id);

 private:
  void erase(size_t offset);

  uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace capi
