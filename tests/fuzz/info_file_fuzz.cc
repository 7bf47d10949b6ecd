// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files from which the shared record is filled, and a record of any bytes, as other processes
// may leave it: asked through the public calls, and written into the files of the SIM and of vendor
// storage.
//
// Nearly all inputs are files in memory; what writes files is tried with a share of them.

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "capi.h"
#include "fuzz/memory.h"
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

void ask_vendor_storage(capi::fuzz::Asker& asker) {
  asker.for_each_of(CAPI_QUORBLE_VENDOR - CAPI_QUORBLE_MSISDN + 1, [&](int i) {
    const int type = CAPI_QUORBLE_MSISDN + i;
    asker.ask([=](char* buf, int len) { return capi_get_quorble_info(type, buf, len); });
  });
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

void ask_about_sim(capi::fuzz::Asker& asker) {
  asker.for_each_of(CAPI_SIM_MBDN + 1, [&](int index) {
    asker.ask([=](char* buf, int len) { return capi_get_simcard_info(index, buf, len); });
  });
  asker.for_each_of(CAPI_HW_LAN_MAC + 1, [&](int fact) {
    asker.ask([=](char* buf, int len) { return capi_get_hardware_info(fact, buf, len); });
  });
  capi_carrier_info carrier;
  capi_get_carrier_info(nullptr, nullptr, &carrier);
  capi_check_simcard();
}

void ask_all(capi::fuzz::Asker& asker) {
  ask_vendor_storage(asker);
  ask_about_sim(asker);
}

// Directories aside, which say where the files are.
void overwrite(cfg_shared_record& record, const uint8_t* data, size_t size) {
  char directory[sizeof record.directory];
  memcpy(directory, record.directory, sizeof directory);
  auto* bytes = reinterpret_cast<uint8_t*>(&record);
  size = std::min(size, sizeof record);
  memcpy(bytes, data, size);
  for (; size > 0 && size < sizeof record; size *= 2) {
    memcpy(bytes + size, bytes, std::min(size, sizeof record - size));
  }
  memcpy(record.directory, directory, sizeof directory);
}

int read_files(cfg_shared_record& record) {
  capi::read_info_files(record);
  capi::read_lte_net_info(record, "/tmp");
  return 0;
}

// Changes the shared record, whatever the lock is in a search.
template <typename Body>
void change_record(Body body) {
  const int result = capi::with_shared_record(
      [=](const cfg_shared_record& record) CAPI_REQUIRES(capi::kConfShmLock) {
        const capi::RecordChange change(record, capi::kRecordTopics);
        return body(*change);
      });
  require(result == 0);
}

// Begins with a record that has nothing in it.
void fill_record_from_files() {
  change_record([](cfg_shared_record& record) {
    constexpr uint8_t kNothing = 0;
    overwrite(record, &kNothing, sizeof kNothing);
    return read_files(record);
  });
}

void fill_record_with(const uint8_t* data, size_t size) {
  change_record([=](cfg_shared_record& record) {
    overwrite(record, data, size);
    return 0;
  });
}

void try_in_memory(const uint8_t* data, size_t size) {
  const capi::fuzz::InMemory files(data, size);
  capi::fuzz::Asker asker(data, size);
  fill_record_from_files();
  ask_all(asker);
  fill_record_with(data, size);
  ask_all(asker);
}

void try_with_files(const uint8_t* data, size_t size) {
  for (const char* path : {"/tmp/info.simcard", "/tmp/info.sys", "/tmp/info.wan", "/tmp/m_data",
                           "/tmp/voice.cfg.default", "/tmp/lte_net_info.data", kVoiceFile}) {
    write_file(path, data, size);
  }
  capi::fuzz::Asker asker(data, size);
  fill_record_from_files();
  ask_all(asker);
  store_vendor_blocks(data, size);
  fill_record_with(data, size);
  capi_cfg_update_simcard_file();
  ask_all(asker);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  start();
  try_in_memory(data, size);
  if (capi::fuzz::takes_real_files(data, size)) try_with_files(data, size);
  return 0;
}
