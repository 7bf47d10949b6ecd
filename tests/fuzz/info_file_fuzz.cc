// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files from which the shared record is filled, and a record of any bytes, as other processes
// may leave it: asked through the public calls, and written into the files of the SIM and of vendor
// storage.

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "capi.h"
#include "fuzz/support.h"
#include "record/context.h"
#include "record/info_files.h"

// The real one writes out the disks of the whole machine.
extern "C" void sync() noexcept {}

namespace {

using capi::fuzz::require;
using capi::fuzz::write_file;

constexpr char kVoiceFile[] = "/tmp/info.ims_voice";

void start() {
  if (capi::context() != nullptr) return;
  write_file("/tmp/m_data", "", 0);
  write_file("/usr/sbin/vsdk_cmd", "", 0);
  constexpr capi_callbacks kNone{};
  capi_init(&kNone, 1, [](int, const char*) {});
}

// Buffers of exactly the size that is told, so that a sanitizer sees a write behind their end.
template <typename Getter>
void ask(Getter get) {
  for (const int size : {0, 1, 5, 90, 600}) {
    const auto buf = std::make_unique<char[]>(static_cast<size_t>(size));
    get(buf.get(), size);
  }
}

void ask_vendor_storage() {
  for (int type = CAPI_QUORBLE_MSISDN; type <= CAPI_QUORBLE_VENDOR; ++type) {
    ask([=](char* buf, int len) { return capi_get_quorble_info(type, buf, len); });
  }
  const auto block = std::make_unique<char[]>(CAPI_IMS_VOICE_BYTES);
  for (const int len : {0, static_cast<int>(CAPI_IMS_VOICE_BYTES)}) {
    capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, block.get(), len);
  }
}

// What is stored is what comes back.
void store_vendor_blocks(const uint8_t* data, size_t size) {
  uint8_t block[CAPI_IMS_VOICE_BYTES] = {};
  memcpy(block, data, std::min(size, sizeof block));
  require(capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block) == 0);
  require(capi_set_quorble_info(CAPI_QUORBLE_VENDOR, block, sizeof block) == 0);
  uint8_t again[sizeof block];
  require(capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, again, sizeof again) == 0);
  require(memcmp(block, again, sizeof block) == 0);
}

void ask_about_sim() {
  for (int index = CAPI_SIM_ICCID; index <= CAPI_SIM_MBDN; ++index) {
    ask([=](char* buf, int len) { return capi_get_simcard_info(index, buf, len); });
  }
  for (int fact = CAPI_HW_MODEL_NAME; fact <= CAPI_HW_LAN_MAC; ++fact) {
    ask([=](char* buf, int len) { return capi_get_hardware_info(fact, buf, len); });
  }
  capi_carrier_info carrier;
  capi_get_carrier_info(nullptr, nullptr, &carrier);
  capi_check_simcard();
}

void ask_all() {
  ask_vendor_storage();
  ask_about_sim();
}

// Directories aside, which say where the files are.
void overwrite(cfg_shared_record& record, const uint8_t* data, size_t size) {
  char directory[sizeof record.directory];
  memcpy(directory, record.directory, sizeof directory);
  auto* bytes = reinterpret_cast<uint8_t*>(&record);
  for (size_t i = 0; size > 0 && i < sizeof record; ++i) bytes[i] = data[i % size];
  memcpy(record.directory, directory, sizeof directory);
}

int read_files(cfg_shared_record& record) {
  capi::read_info_files(record);
  capi::read_lte_net_info(record, "/tmp");
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  start();
  for (const char* path : {"/tmp/info.simcard", "/tmp/info.sys", "/tmp/info.wan", "/tmp/m_data",
                           "/tmp/voice.cfg.default", "/tmp/lte_net_info.data"}) {
    write_file(path, data, size);
  }
  write_file(kVoiceFile, data, size);
  require(capi::with_shared_record(read_files) == 0);
  ask_all();
  store_vendor_blocks(data, size);

  capi::with_shared_record([=](cfg_shared_record& record) {
    overwrite(record, data, size);
    return 0;
  });
  capi_cfg_update_simcard_file();
  ask_all();
  return 0;
}
