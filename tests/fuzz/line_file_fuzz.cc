// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files whose lines are looked up one by one, with any content: manufacturing data, carrier
// configuration and test SIM.

#include <cstring>
#include <memory>

#include "capi/carrier.h"
#include "capi/device.h"
#include "capi/util.h"
#include "carrier/carrier_rows.h"
#include "foundation/line_lookup.h"
#include "fuzz/support.h"

namespace {

using capi::fuzz::require;

constexpr char kTestSim[] = "/quorbleconf/config/test_sim_info";
constexpr char kManufacturing[] = "/tmp/m_data";

// Buffers of exactly the size that is told, so that a sanitizer sees a write behind their end.
template <typename Getter>
void ask(Getter get) {
  for (const int size : {0, 1, 2, 7, 18, 300}) {
    const auto buf = std::make_unique<char[]>(static_cast<size_t>(size));
    if (get(buf.get(), size) == 0 && size > 0) {
      require(memchr(buf.get(), '\0', static_cast<size_t>(size)) != nullptr);
    }
  }
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

// A carrier is found without a record, so its file is where the table says.
void ask_carrier(const uint8_t* data, size_t size) {
  constexpr char kImsi[] = "001010000000000";
  constexpr char kIccid[] = "89000000000000000000";
  capi_carrier_info carrier;
  capi_get_carrier_info(kImsi, kIccid, &carrier);
  if (carrier.file == nullptr) return;
  capi::fuzz::write_file(carrier.file, data, size);
  for (unsigned key : {0U, 1U, 4U, CAPI_CARRIER_KEYS - 1U}) {
    ask([=](char* buf, int len) { return capi_get_carrier_cfg(kImsi, kIccid, key, buf, len); });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  capi::fuzz::ignore_log();
  look_up(data, size);
  mkdir_recur("/quorbleconf/config", 0777);
  mkdir_recur("/tmp/carrier_config", 0777);
  capi::fuzz::write_file(kTestSim, data, size);
  capi::fuzz::write_file(kManufacturing, data, size);
  ask_test_sim();
  for (int fact = CAPI_HW_MODEL_NAME; fact <= CAPI_HW_LAN_MAC; ++fact) {
    ask([=](char* buf, int len) { return capi_get_hardware_info(fact, buf, len); });
  }
  ask_carrier(data, size);
  return 0;
}
