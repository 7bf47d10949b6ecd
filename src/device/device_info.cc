// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Who the device is: firmware, IMEI, name.

#include <cstdio>

#include "capi/device.h"
#include "device/hardware_info.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/segment_text.h"

namespace capi {
namespace {

void read_firmware_file(char* buf, int len) {
  if (len <= 0) return;
  const File file = open_file("/etc/firmware_version", "r");
  if (!file) {
    copy_text(buf, buffer_size(len), "Unknown");
  } else if (fgets(buf, len, file.get()) == nullptr) {
    buf[0] = '\0';
  }
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_get_firmware_version(char* buf, int len) {
  static constexpr Field kVersion = CAPI_FIELD_OF(fw_version);
  if (buf == nullptr) {
    CAPI_LOG(kLogNotice, "Can't get firmware version");
    return -1;
  }
  if (get_segment_text(kVersion, buf, len) != 0) read_firmware_file(buf, len);
  return 0;
}

int capi_get_fw_build_number(char* buf, int len) {
  static constexpr Field kBuildNumber = CAPI_FIELD_OF(fw_build_number);
  return get_segment_text(__func__, "failed to get fw build number", kBuildNumber, buf, len);
}

int capi_get_device_imei(char* buf, int len) {
  static constexpr Field kImei = CAPI_FIELD_OF(device_imei);
  if (get_segment_text(kImei, buf, len) == 0) return 0;
  const int result = get_hardware_info(CAPI_HW_IMEI, buf, len);
  if (result == -1) CAPI_LOG(kLogNotice, "get device IMEI value failure!");
  return result;
}

int capi_get_device_name(char* buf, int len) {
  static constexpr Field kName = CAPI_FIELD_OF(device_name);
  return get_segment_text(__func__, "failed to get device name", kName, buf, len);
}
