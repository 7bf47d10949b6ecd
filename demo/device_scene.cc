// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter tells who it is: its hardware, its SIM, the SIM's carrier.

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "scenes.h"

namespace demo {
namespace {

constexpr char kSimFile[] = "/tmp/data/info.simcard";
constexpr char kTestSimFile[] = "/quorbleconf/config/test_sim_info";

// The text that a getter gives for an index.
template <typename Getter>
std::string text_of(Getter getter, int index) {
  std::array<char, 256> text{};
  return getter(index, text.data(), static_cast<int>(text.size())) == 0 ? text.data() : "";
}

std::string carrier_value(unsigned index) {
  std::array<char, 256> text{};
  capi_get_carrier_cfg(nullptr, nullptr, index, text.data(), static_cast<int>(text.size()));
  return text.data();
}

void show_hardware() {
  constexpr const char* kNames[] = {
      "model", "hardware version", "serial number", "maker", "MAC prefix", "country",
      "class", "boot loader",      "description",   "IMEI",  "WAN MAC",    "LAN MAC"};
  for (int index = CAPI_HW_MODEL_NAME; index <= CAPI_HW_LAN_MAC; ++index) {
    show(kNames[index], text_of(capi_get_hardware_info, index));
  }
  char firmware[64];
  const bool told = capi_get_firmware_version(firmware, sizeof firmware) == 0;
  expect(told, "firmware %s", firmware);
  capi_serving_cell_info cell{};
  const bool served = capi_get_quorble_info(CAPI_QUORBLE_SERVING_CELL, &cell, sizeof cell) == 0;
  expect(served, "served by cell %s of eNB %s, network %s-%s", cell.cellid, cell.enbid, cell.mcc,
         cell.mnc);
}

void find_carrier() {
  show("ICCID", text_of(capi_get_simcard_info, CAPI_SIM_ICCID));
  show("IMSI", text_of(capi_get_simcard_info, CAPI_SIM_IMSI));
  capi_carrier_info carrier{};
  const bool found = capi_get_carrier_info(nullptr, nullptr, &carrier) == 0;
  expect(found && carrier.id == 38, "the inserted SIM is carrier %u", carrier.id);
  show("APN settings in", carrier.file);
  show("APNs", carrier_value(0));
  for (unsigned apn = 1; apn <= 2; ++apn) {
    const unsigned first = (apn - 1) * CAPI_CARRIER_APN_KEYS + 1;
    show("APN " + std::to_string(apn), carrier_value(first + 3) + " for " +
                                           carrier_value(first + 1) + ", password \"" +
                                           carrier_value(first + 6) + "\"");
  }
  expect(capi_cfg_update_simcard_file() == 0 && capi_check_simcard() == 0, "this SIM may be used");
}

void expect_carrier(const char* imsi, const char* iccid, int result, unsigned id,
                    const char* what) {
  capi_carrier_info carrier{};
  const int found = capi_get_carrier_info(imsi, iccid, &carrier);
  expect(found == result && carrier.id == id, "%s: carrier %u, %s", what, carrier.id, carrier.file);
}

void look_up_other_sims() {
  expect_carrier("454001234567890", "8988200000000000001", 0, 29, "IMSI 45400...");
  expect_carrier("454001234567890", "8985235000000000001", 0, 31, "with an ICCID 8985235...");
  expect_carrier("999701234567890", "8900000000000000001", -1, 38, "IMSI 99970... is unknown");
  std::ofstream(kSimFile) << "IMSI=999701234567890\n";
  expect(capi_check_simcard() == 1, "such a SIM may not be used");
  std::ofstream(kTestSimFile) << "999 70 1\n";
  expect_carrier("999701234567890", "8900000000000000001", 0, 1, "until it is a test SIM");
  expect(capi_check_simcard() == 0, "then it may");
  unlink(kTestSimFile);
  capi_cfg_update_simcard_file();
}

}  // namespace

void play_device(Stage& stage) {
  title("The adapter tells who it is");
  stage.run_process("web front end", show_hardware);
  stage.run_process("connection manager", find_carrier);
  stage.run_process("service menu", look_up_other_sims);
}

}  // namespace demo
