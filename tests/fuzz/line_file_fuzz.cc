// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files whose lines are looked up one by one, with any content: manufacturing data, carrier
// configuration and test SIM. Nearly all inputs are files in memory.

#include <cstring>
#include <memory>

#include "capi/carrier.h"
#include "capi/device.h"
#include "capi/util.h"
#include "carrier/carrier_rows.h"
#include "foundation/line_lookup.h"
#include "fuzz/memory.h"
#include "fuzz/support.h"

namespace {

using capi::fuzz::require;

constexpr char kTestSim[] = "/quorbleconf/config/test_sim_info";
constexpr char kManufacturing[] = "/tmp/m_data";

// What a getter answers is a text.
template <typename Getter>
void ask(capi::fuzz::Asker& asker, Getter get) {
  asker.ask([=](char* buf, int size) {
    if (get(buf, size) != 0 || size == 0) return;
    require(memchr(buf, '\0', static_cast<size_t>(size)) != nullptr);
  });
}

// The first bytes serve as the key, the rest as the file.
void look_up(const uint8_t* data, size_t size) {
  if (size < 2) return;
  const size_t length = data[0] % 8 < size - 1 ? data[0] % 8 : size - 2;
  const auto* text = reinterpret_cast<const char*>(data) + 1;
  const capi::File file(fmemopen(const_cast<char*>(text) + length, size - 1 - length, "r"));
  char value[16] = {};
  if (capi::look_up_line(file.get(), {text, length}, value, sizeof value)) {
    require(memchr(value, '\0', sizeof value) != nullptr);
  }
}

void ask_test_sim() {
  char mcc[4];
  char mnc[4];
  uint32_t id = 0;
  if (capi_get_test_sim_info(mcc, mnc, &id) != 0) return;
  require(strlen(mcc) == 3 && strlen(mnc) <= 3);
  require(id >= 1 && id <= capi::carrier_rows::kMaxId);
}

constexpr char kImsi[] = "001010000000000";
constexpr char kIccid[] = "89000000000000000000";

void ask_all(capi::fuzz::Asker& asker) {
  ask_test_sim();
  asker.for_each_of(CAPI_HW_LAN_MAC + 1, [&](int fact) {
    ask(asker, [=](char* buf, int len) { return capi_get_hardware_info(fact, buf, len); });
  });
  asker.for_each_of(CAPI_CARRIER_KEYS, [&](int key) {
    ask(asker, [=](char* buf, int len) {
      return capi_get_carrier_cfg(kImsi, kIccid, static_cast<unsigned>(key), buf, len);
    });
  });
}

void try_in_memory(const uint8_t* data, size_t size) {
  const capi::fuzz::InMemory files(data, size);
  capi::fuzz::Asker asker(data, size);
  ask_all(asker);
}

// A carrier is found without a record, so its file is where the table says.
void try_with_files(const uint8_t* data, size_t size) {
  mkdir_recur("/quorbleconf/config", 0777);
  mkdir_recur("/tmp/carrier_config", 0777);
  capi::fuzz::write_file(kTestSim, data, size);
  capi::fuzz::write_file(kManufacturing, data, size);
  capi_carrier_info carrier;
  capi_get_carrier_info(kImsi, kIccid, &carrier);
  if (carrier.file != nullptr) capi::fuzz::write_file(carrier.file, data, size);
  capi::fuzz::Asker asker(data, size);
  ask_all(asker);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  capi::fuzz::ignore_log();
  look_up(data, size);
  try_in_memory(data, size);
  if (capi::fuzz::takes_real_files(data, size)) try_with_files(data, size);
  return 0;
}
