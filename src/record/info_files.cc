// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/info_files.h"

#include <cstdlib>
#include <cstring>

#include "foundation/file.h"
#include "foundation/key_value.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/directory.h"
#include "record/field.h"
#include "record/hw_fields.h"
#include "record/sim_fields.h"

namespace capi {
namespace {

using field_rows::kKeyedFields;
using field_rows::NamedField;
using field_rows::with_stride;

constexpr NamedField kSys[] = {
    CAPI_FIELD_AS("fw_verison", fw_version),  // spelled so by the device
    CAPI_FIELD_AS("sys_uuid", sys_uuid),
    CAPI_FIELD_AS("device_imei", device_imei),
};

constexpr NamedField kWan[] = {
    CAPI_FIELD_AS("wan_mac", wan_mac),
    CAPI_FIELD_AS("wan_ip", wan_ip),
    CAPI_FIELD_AS("wan_public_ip", public_ip),
};

constexpr NamedField kManufacturing[] = {kHwWanMac,  kHwLanMac, kHwVersion,    kHwSerial,  kHwModel,
                                         kHwCountry, kHwImei,   kHwCellModule, kHwLanguage};

constexpr NamedField kDefaultBasicSip[] = {
    CAPI_FIELD(voice_basic, local_port), CAPI_FIELD(voice_basic, rtp_port),
    CAPI_FIELD(voice_basic, sip_dscp),   CAPI_FIELD(voice_basic, rtp_dscp),
    CAPI_FIELD(voice_basic, dial_plan),  CAPI_FIELD(voice_basic, bind_interface),
    CAPI_FIELD(voice_basic, country),    CAPI_FIELD(voice_basic, carrier),
};

constexpr NamedField kDefaultVoiceSwitch[] = {CAPI_FIELD_AS("voice_mode", voice_switch.mode)};

constexpr size_t kStackStride = sizeof(capi_voice_stack);
constexpr NamedField kDefaultVoiceStack[] = {
    with_stride(CAPI_FIELD(voice_stack[0], enable), kStackStride),
    with_stride(CAPI_FIELD(voice_stack[0], priority), kStackStride),
    with_stride(CAPI_FIELD_AS("T1", voice_stack[0].t1), kStackStride),
    with_stride(CAPI_FIELD(voice_stack[0], type), kStackStride),
    with_stride(CAPI_FIELD(voice_stack[0], codec), kStackStride),
    with_stride(CAPI_FIELD(voice_stack[0], access), kStackStride),
};

constexpr NamedField kLteNetInfo[] = {
    CAPI_FIELD(lte_net_info, act),   CAPI_FIELD(lte_net_info, mcc),
    CAPI_FIELD(lte_net_info, mnc),   CAPI_FIELD(lte_net_info, tac),
    CAPI_FIELD(lte_net_info, enbid), CAPI_FIELD(lte_net_info, cellid),
    CAPI_FIELD(lte_net_info, band),
};

// Stores a value under its key, if the table has it.
void apply(cfg_shared_record& record, const KeyedFields& fields, int index, const char* key,
           const char* value) {
  for (const auto& [own_key, field] : fields.rows) {
    if (key == fields.text(own_key)) return set_field(record, field, index, value);
  }
}

// A file whose sections mean nothing.
void read_flat_file(cfg_shared_record& record, const char* path, const KeyedFields& fields) {
  for_each_item(path, [&](const char*, const char* key, const char* value) {
    apply(record, fields, 0, key, value);
  });
}

// The factory defaults count stacks from 0, unlike the setting files.
void apply_voice_default(cfg_shared_record& record, std::string_view section, const char* key,
                         const char* value) {
  constexpr std::string_view kStack = "voice_stack";
  if (section == "basic_sip") {
    apply(record, kKeyedFields<kDefaultBasicSip>, 0, key, value);
  } else if (section == "voice_switch") {
    apply(record, kKeyedFields<kDefaultVoiceSwitch>, 0, key, value);
  } else if (starts_with(section, kStack)) {
    const long stack = strtol(section.data() + kStack.size(), nullptr, 10);
    if (stack < 0 || stack >= CAPI_VOICE_STACKS) return;
    apply(record, kKeyedFields<kDefaultVoiceStack>, static_cast<int>(stack), key, value);
  }
}

}  // namespace

void read_info_files(cfg_shared_record& record) {
  read_flat_file(record, "/tmp/info.simcard", kSimFields);
  read_flat_file(record, "/tmp/info.sys", kKeyedFields<kSys>);
  read_flat_file(record, "/tmp/info.wan", kKeyedFields<kWan>);
  read_flat_file(record, kManufacturingFile, kKeyedFields<kManufacturing>);
  for_each_item("/tmp/voice.cfg.default",
                [&](const char* section, const char* key, const char* value) {
                  apply_voice_default(record, section, key, value);
                });
}

bool read_lte_net_info(cfg_shared_record& record, std::string_view directory) {
  char path[kPathSize];
  make_path(path, directory, "lte_net_info.data");
  if (!open_file(path, "r+t")) return false;
  memset(&record.lte_net_info, 0, sizeof record.lte_net_info);
  return for_each_item(path, [&](const char* section, const char* key, const char* value) {
    CAPI_LOG_AS("__lte_net_info_cb", kLogDebug, "section=%s name=%s value=%s\n", section, key,
                value);
    apply(record, kKeyedFields<kLteNetInfo>, 0, key, value);
  });
}

}  // namespace capi
