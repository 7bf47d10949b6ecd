// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device/hardware_info.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "capi/device.h"
#include "foundation/line_lookup.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/hw_fields.h"
#include "record/segment_text.h"

namespace capi {
namespace {

enum class Segment : uint8_t { IsNotAsked, UnlessEmpty, EvenIfEmpty };

enum class Origin : uint8_t {
  Constant,
  File,
  FileOrFailure,
  FileMac,    // no longer than a MAC
  FilePrefix  // of a MAC
};

template <typename Text>
struct HardwareFactOf {
  KeyedFieldOf<Text> named;  // its key is that of the file
  Segment segment;
  Origin origin;
  Text fallback;

  constexpr HardwareFactOf<TextOffset> pack(TextPool& pool) const {
    return {named.pack(pool), segment, origin, pool.add(fallback)};
  }
};
using HardwareFact = HardwareFactOf<TextOffset>;

// By the index that callers give.
constexpr HardwareFactOf<std::string_view> kDrafts[] = {
    {kHwModel, Segment::UnlessEmpty, Origin::File, "QZX"},
    {kHwVersion, Segment::UnlessEmpty, Origin::File, "V1"},
    {kHwSerial, Segment::IsNotAsked, Origin::FileOrFailure, "0000000000000"},
    {{}, Segment::IsNotAsked, Origin::Constant, "Vorna Computer Corp."},
    {kHwWanMac, Segment::IsNotAsked, Origin::FilePrefix, "0A3F7C"},
    {kHwCountry, Segment::EvenIfEmpty, Origin::File, "US"},
    {{}, Segment::IsNotAsked, Origin::Constant, "ATA"},
    {{"m_uboot_ver", {}}, Segment::IsNotAsked, Origin::File, "0.0.0.0"},
    {{}, Segment::IsNotAsked, Origin::Constant, "LTE Phone Adapter"},
    {kHwImei, Segment::UnlessEmpty, Origin::File, "000000000000000"},
    {kHwWanMac, Segment::IsNotAsked, Origin::FileMac, "00:00:00:00:00:00"},
    {kHwLanMac, Segment::IsNotAsked, Origin::File, "00:00:00:00:00:00"},
};
static_assert(std::size(kDrafts) == CAPI_HW_LAN_MAC + 1);

constexpr auto kFacts = make_text_table<kDrafts>();

constexpr size_t kMacSize = sizeof "00:00:00:00:00:00";

bool ask_segment(const HardwareFact& fact, char* buf, int len) {
  if (fact.segment == Segment::IsNotAsked) return false;
  const bool even_if_empty = fact.segment == Segment::EvenIfEmpty;
  return get_segment_text(fact.named.field, buf, len,
                          even_if_empty ? IfEmpty::Succeed : IfEmpty::Fail) == 0;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// The hexadecimal digits of the first three octets of a MAC.
bool ask_file_for_prefix(std::string_view key, char* buf, size_t size) {
  static constexpr size_t kDigits[] = {0, 1, 3, 4, 6, 7};
  char mac[kMacSize] = {};
  if (!look_up_line(kManufacturingFile, key, mac, sizeof mac)) return false;
  if (mac[0] == '\0' || size <= std::size(kDigits)) return false;
  for (size_t i = 0; i < std::size(kDigits); ++i) buf[i] = upper(mac[kDigits[i]]);
  return true;
}

bool ask_file(const HardwareFact& fact, char* buf, size_t size) {
  const std::string_view key = kFacts.text(fact.named.key);
  switch (fact.origin) {
    case Origin::Constant:
      return false;
    case Origin::FilePrefix:
      return ask_file_for_prefix(key, buf, size);
    case Origin::FileMac:
      return look_up_line(kManufacturingFile, key, buf, std::min(size, kMacSize));
    default:
      return look_up_line(kManufacturingFile, key, buf, size);
  }
}

}  // namespace

int get_hardware_info(int index, char* buf, int len) {
  if (buf == nullptr) return -1;
  const size_t size = buffer_size(len);
  memset(buf, 0, size);
  if (index < 0 || static_cast<size_t>(index) >= kFacts.size()) return -1;
  const HardwareFact& fact = kFacts[static_cast<size_t>(index)];
  if (ask_segment(fact, buf, len) || ask_file(fact, buf, size)) return 0;
  copy_text(buf, size, kFacts.text(fact.fallback));
  return fact.origin == Origin::FileOrFailure ? -1 : 0;
}

}  // namespace capi

using namespace capi;

int capi_get_hardware_info(int index, char* buf, int len) {
  const int result = get_hardware_info(index, buf, len);
  if (result == -1) CAPI_LOG(kLogNotice, "Can't get info index-%d,  error!", index);
  return result;
}
