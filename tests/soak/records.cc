// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "records.h"

#include <cstring>
#include <iterator>
#include <span>
#include <string>

#include "device.h"
#include "pattern.h"

namespace capi::soak {
namespace {

// Large enough for every record.
struct Bytes {
  alignas(8) uint8_t data[4096];
};

struct Kind {
  char name[24];
  size_t size;
  int first;  // index of the first instance
  int count;
  int (*get)(void* record, int index);
  int (*set)(void* record, int index);
};

#define SINGLE(name)                                                                \
  Kind {                                                                            \
#name, sizeof(capi_##name), 0, 1,                                                 \
        [](void* record, int) { return capi_get_##name(static_cast<capi_##name*>(record)); }, \
        [](void* record, int) { return capi_set_##name(static_cast<capi_##name*>(record)); } \
  }
#define NUMBERED(name, count)                                                            \
  Kind {                                                                                 \
#name, sizeof(capi_##name), 1, count,                                                  \
        [](void* record, int i) { return capi_get_##name(static_cast<capi_##name*>(record), i); }, \
        [](void* record, int i) { return capi_set_##name(static_cast<capi_##name*>(record), i); } \
  }

int get_cs(void* record, int line) {
  return capi_get_runtime_line_cs_reg_stat(line, static_cast<capi_line_cs_reg_stat*>(record));
}
int set_cs(void* record, int line) {
  return capi_set_runtime_line_cs_reg_stat(line, static_cast<capi_line_cs_reg_stat*>(record));
}

// What the library fills in on reading is taken out again.
int get_registration(void* record, int slot) {
  capi_line_reg_stat stat{};
  const int result =
      capi_get_runtime_line_reg_stat(slot % CAPI_SIP_LINES, &stat, slot / CAPI_SIP_LINES);
  const int filling = stat.registered & 0xFF;
  memset(&stat.reg_duration, filling, sizeof stat.reg_duration);
  memset(stat.status_text, filling, sizeof stat.status_text);
  memset(stat.reason_text, filling, sizeof stat.reason_text);
  memset(stat.detail_text, filling, sizeof stat.detail_text);
  memset(stat.magic, filling, sizeof stat.magic);
  memcpy(record, &stat, sizeof stat);
  return result;
}
int set_registration(void* record, int slot) {
  return capi_set_runtime_line_reg_stat(
      slot % CAPI_SIP_LINES, static_cast<capi_line_reg_stat*>(record), slot / CAPI_SIP_LINES);
}

int get_vendor(void* record, int) {
  return capi_get_quorble_info(CAPI_QUORBLE_VENDOR, record, CAPI_VENDOR_BYTES);
}
int set_vendor(void* record, int) {
  return capi_set_quorble_info(CAPI_QUORBLE_VENDOR, record, CAPI_VENDOR_BYTES);
}

// A text's last byte is its end; the check wants that to be like the rest, in an empty text as
// well.
void fill_end(char* text, size_t size) {
  if (text[size - 1] == '\0') text[size - 1] = text[0];
}

constexpr size_t kPhoneText = 128;
int get_phone(void* record, int line) {
  const auto text = static_cast<char*>(record);
  const int result = capi_get_runtime_line_phone_phy_status(line, text, kPhoneText);
  fill_end(text, kPhoneText);
  return result;
}
int set_phone(void* record, int line) {
  const auto text = static_cast<char*>(record);
  text[kPhoneText - 1] = '\0';
  return capi_set_runtime_line_phone_phy_status(line, text);
}

struct NamedText {
  char section[16];
  char key[48];
  size_t size;
};
constexpr NamedText kTexts[] = {
    {"voice_nat", "option_voice_nat_stun_server_address", 256},
    {"sim_info", "option_sim_info_ICCID", 32},
    {"sim_info", "option_sim_info_IMSI", 32},
    {"sim_info", "option_sim_info_IMPU", 128},
};
constexpr size_t kLongestText = 256;

int get_text(void* record, int index) {
  const NamedText& text = kTexts[index];
  char value[kLongestText] = {};
  const int result = capi_config_get(text.section, text.key, value, static_cast<int>(text.size));
  fill_end(value, text.size);
  memset(value + text.size, value[0], sizeof value - text.size);
  memcpy(record, value, sizeof value);
  return result;
}
int set_text(void* record, int index) {
  const NamedText& text = kTexts[index];
  const auto value = static_cast<char*>(record);
  value[text.size - 1] = '\0';
  return capi_config_set(text.section, text.key, 0, value);
}

constexpr Kind kKinds[] = {
    NUMBERED(voice_stack, CAPI_VOICE_STACKS),
    SINGLE(voice_basic),
    NUMBERED(voice_sip_line, CAPI_SIP_LINES),
    NUMBERED(voice_sip_line_feature, CAPI_SIP_LINES),
    SINGLE(voice_parameter),
    SINGLE(slic_parameter),
    SINGLE(voice_speed_dial),
    SINGLE(voice_speed_dial30),
    {"line_cs_reg_stat", sizeof(capi_line_cs_reg_stat), 0, CAPI_SIP_LINES, get_cs, set_cs},
    {"line_reg_stat", sizeof(capi_line_reg_stat), 0, CAPI_SIP_LINES* CAPI_VOICE_STACKS,
     get_registration, set_registration},
    {"phone_phy_status", kPhoneText, 0, CAPI_SIP_LINES, get_phone, set_phone},
    {"vendor block", CAPI_VENDOR_BYTES, 0, 1, get_vendor, set_vendor},
    {"text by name", kLongestText, 0, static_cast<int>(std::size(kTexts)), get_text, set_text},
};

#undef SINGLE
#undef NUMBERED

struct Instance {
  const Kind& kind;
  int index;
};

Instance instance(size_t record) {
  for (const Kind& kind : kKinds) {
    const auto count = static_cast<size_t>(kind.count);
    if (record < count) return {kind, kind.first + static_cast<int>(record)};
    record -= count;
  }
  return {kKinds[0], kKinds[0].first};
}

Bytes filled(uint32_t number) {
  Bytes bytes;
  memset(bytes.data, letter(number), sizeof bytes.data);
  return bytes;
}

}  // namespace

size_t record_count() {
  size_t count = 0;
  for (const Kind& kind : kKinds) count += static_cast<size_t>(kind.count);
  return count;
}

const char* record_name(size_t record) { return instance(record).kind.name; }

void set_record(size_t record, uint32_t number) {
  const auto [kind, index] = instance(record);
  Bytes bytes = filled(number);
  if (kind.set(bytes.data, index) != 0) fail("cannot set %s %d", kind.name, index);
}

bool is_whole_record(size_t record) {
  const auto [kind, index] = instance(record);
  Bytes bytes;
  return kind.get(bytes.data, index) == 0 && is_uniform({bytes.data, kind.size});
}

void set_block(int type, uint32_t number) {
  const Bytes bytes = filled(number);
  if (capi_set_shared_data(type, bytes.data) != 0) fail("cannot set shared data %d", type);
}

void set_voice_block(uint32_t number) {
  const Bytes bytes = filled(number);
  if (capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, bytes.data, CAPI_IMS_VOICE_BYTES) != 0) {
    fail("cannot set the IMS voice block");
  }
}

}  // namespace capi::soak
