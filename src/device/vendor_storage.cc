// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Vendor storage: two opaque blocks, one of them kept in a file as well, and three facts to read.
#include "device/vendor_storage.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "capi/device.h"
#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"
#include "record/directory.h"
#include "record/segment_text.h"
#include "record/whole_write.h"

namespace capi {
namespace {

constexpr size_t kVoicePathSize = 128;

// False where there is no record, and so no directory.
bool get_voice_path(char (&path)[kVoicePathSize]) {
  char dir[kDirSize];
  if (!get_runtime_dir(RuntimeDir::Nv, dir)) return false;
  make_path(path, dir, "info.ims_voice");
  return true;
}

void log_file_failure(const char* func, const char* what, const char* path) {
  CAPI_LOG_AS(func, kLogWarning, "%s file %s, reason=[%s]\n", what, path, strerror(errno));
}

int read_voice_file(void* buf) {
  static constexpr char kFunc[] = "capi_get_quorble_info";
  char path[kVoicePathSize];
  if (!get_voice_path(path)) return -1;
  const CriticalSection section(kVopRunInfoLock);
  if (access(path, R_OK) != 0) return -1;
  File file = open_file(path, "rb");
  if (!file) {
    log_file_failure(kFunc, "Can not open", path);
    return -1;
  }
  memset(buf, 0, CAPI_IMS_VOICE_BYTES);
  errno = 0;  // a file that is too short is no error of the system
  const bool done = fread(buf, CAPI_IMS_VOICE_BYTES, 1, file.get()) == 1;
  if (!done) log_file_failure(kFunc, "Failed to read data from", path);
  if (fclose(file.release()) != 0) log_file_failure(kFunc, "Failed to close", path);
  return done ? 0 : -1;
}

int write_voice_file(const void* buf) {
  // By ReplacingStep.
  static constexpr char kFailures[][28] = {"Can not create", "Failed to write data into",
                                           "Failed to flush", "Failed to close"};
  char path[kVoicePathSize];
  if (!get_voice_path(path)) return -1;
  const CriticalSection section(kVopRunInfoLock);
  const std::span bytes(static_cast<const uint8_t*>(buf), CAPI_IMS_VOICE_BYTES);
  const Replaced result = replace_file(path, bytes, {.is_durable = true}, [&](ReplacingStep step) {
    log_file_failure("capi_set_quorble_info", kFailures[static_cast<size_t>(step)], path);
  });
  return result == Replaced::Done ? 0 : -1;
}

void copy_ims_voice(void* block) {
  with_shared_record([&](const cfg_shared_record& record) {
    memcpy(block, record.ims_voice, sizeof record.ims_voice);
    return 0;
  });
}

int set_ims_voice(const void* buf, int len) {
  with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    const RecordChange change(record, CAPI_TOPIC_DEVICE);
    write_whole(change->ims_voice, buf, sizeof change->ims_voice);
    return 0;
  });
  return len == CAPI_IMS_VOICE_BYTES ? write_voice_file(buf) : -1;
}

// The number in a text of the LTE network information, whose terminator may be missing.
template <size_t N>
int32_t number_in(const char (&field)[N]) {
  char text[N + 1] = {};
  memcpy(text, field, N);
  return parse_int32(text);
}

int32_t access_technology(int32_t act) {
  if (act == 9) return 9;
  if (act == 7) return 8;
  return act > 0 ? 5 : 0;
}

uint8_t duplex(int32_t band) {
  if (band >= 33 && band <= 53) return 2;
  return band > 0 ? 1 : 0;
}

int build_serving_cell(const capi_lte_net_info& info, capi_serving_cell_info& cell) {
  if (info.mcc[0] == '\0') return -1;
  cell.access_technology = access_technology(number_in(info.act));
  cell.duplex = duplex(number_in(info.band));
  copy_text(cell.mcc, bounded(info.mcc));
  copy_text(cell.mnc, bounded(info.mnc));
  copy_text(cell.cellid, bounded(info.cellid));
  copy_text(cell.enbid, bounded(info.enbid));
  copy_text(cell.tac, bounded(info.tac));
  return 0;
}

int get_serving_cell(char* buf, size_t size) {
  capi_serving_cell_info cell{};
  const int result = with_shared_record([&](const cfg_shared_record& record) {
    return build_serving_cell(record.lte_net_info, cell);
  });
  if (result != 0) return result;
  memcpy(buf, &cell, std::min(size, sizeof cell));
  // A short buffer ends inside a text.
  if (size > offsetof(capi_serving_cell_info, mcc)) buf[size - 1] = '\0';
  return 0;
}

int get_msisdn(char* buf, int len) {
  static constexpr Field kMsisdn = CAPI_FIELD_OF(serving_cell.msisdn);
  const int start = std::clamp(len, 0, 4);
  return get_segment_text(kMsisdn, buf + start, len - start, IfEmpty::Succeed);
}

int get_vendor_block(void* buf, int len) {
  return with_shared_record([&](const cfg_shared_record& record) {
    memcpy(buf, record.vendor, std::min(buffer_size(len), sizeof record.vendor));
    return 0;
  });
}

int set_vendor_block(const void* buf, int len) {
  return with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    const RecordChange change(record, CAPI_TOPIC_DEVICE);
    write_whole(change->vendor, buf, std::min(buffer_size(len), sizeof change->vendor));
    return 0;
  });
}

int get_item(int type, char* buf, int len) {
  static constexpr Field kUuid = CAPI_FIELD_OF(sys_uuid);
  switch (type) {
    case CAPI_QUORBLE_IMS_VOICE:
      if (len == CAPI_IMS_VOICE_BYTES) return get_ims_voice(buf);
      copy_ims_voice(buf);
      return -1;
    case CAPI_QUORBLE_MSISDN:
      return get_msisdn(buf, len);
    case CAPI_QUORBLE_SERVING_CELL:
      return get_serving_cell(buf, buffer_size(len));
    case CAPI_QUORBLE_UUID:
      return get_segment_text(kUuid, buf, len);
    default:
      return get_vendor_block(buf, len);
  }
}

}  // namespace

int get_ims_voice(void* block) {
  copy_ims_voice(block);
  return read_voice_file(block);
}

}  // namespace capi

int capi_get_quorble_info(int type, void* buf, int len) {
  using namespace capi;
  if (buf != nullptr) memset(buf, 0, buffer_size(len));
  if (type < CAPI_QUORBLE_IMS_VOICE || type > CAPI_QUORBLE_VENDOR) {
    CAPI_LOG(kLogErr, "OMG,please fix me(info_type=%d)\n", type);
    return -1;
  }
  if (buf == nullptr) return -1;
  return get_item(type, static_cast<char*>(buf), len);
}

int capi_set_quorble_info(int type, const void* buf, int len) {
  using namespace capi;
  if (type != CAPI_QUORBLE_IMS_VOICE && type != CAPI_QUORBLE_VENDOR) {
    CAPI_LOG(kLogErr, "OMG,please fix me (info_type=%d)\n", type);
    return -1;
  }
  if (buf == nullptr) return -1;
  return type == CAPI_QUORBLE_IMS_VOICE ? set_ims_voice(buf, len) : set_vendor_block(buf, len);
}
