// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The device, its network, its SIM and its carrier.
#include <filesystem>

#include "capi.h"
#include "operation.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kVoiceFile[] = "/tmp/info.ims_voice";
constexpr char kSimFile[] = "/tmp/info.simcard";
constexpr char kSimPath[] = "/quorbleconf/config/test_sim_info";
constexpr char kImsi[] = "310260123456789";
constexpr char kIccid[] = "8901260000000000001";

constexpr char kIfconfig[] =
    "#!/bin/sh\n"
    "echo 'eth0 Link encap:Ethernet  HWaddr 0A:3F:7C:01:02:03'\n"
    "echo '     inet addr:192.168.1.2  Bcast:192.168.1.255'\n";

// Files for everything that is looked up in one.
void provide_device() {
  become_master();
  write_file("/etc/firmware_version", "v3\n");
  write_file("/tmp/m_data", "m_serial=2604000123\nm_imei=123456789012345\n");
  write_file(kSimPath, "999 99 3\n");
  write_file("/tmp/carrier_config/voip_TMobile_US.conf", "apn_num=2\n");
  write_file("/usr/sbin/ifconfig", kIfconfig);
  std::filesystem::permissions("/usr/sbin/ifconfig", std::filesystem::perms(0755));
  write_file(kSimFile, std::string("ICCID=") + kIccid + "\nIMSI=" + kImsi + "\n");
  capi_config_set("runtime_info", "option_runtime_info_fw_version", 0, "");
}

// Before capi_init() the SIM's values are in its file only.
void provide_device_without_segment() {
  provide_device();
  capi_uninit();
}

void provide_sim() {
  become_master();
  write_file(kSimFile, "an older file\n");
  capi_config_set("sim_info", "option_sim_info_ICCID", 0, kIccid);
  capi_config_set("sim_info", "option_sim_info_IMSI", 0, kImsi);
}

// A SIM that is to be checked and stands in no row.
void provide_test_sim() {
  provide_device();
  write_file(kSimFile, "IMSI=999991234567890\n");
}

int set_voice_block() {
  const char block[CAPI_IMS_VOICE_BYTES] = {'+', '1'};
  return capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block);
}

int get_voice_block() {
  char block[CAPI_IMS_VOICE_BYTES];
  return capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block);
}

void provide_voice_block() {
  become_master();
  write_file(kVoiceFile, std::string(CAPI_IMS_VOICE_BYTES, 'v'));
}

int get_vendor_block() {
  char block[CAPI_VENDOR_BYTES];
  return capi_get_quorble_info(CAPI_QUORBLE_VENDOR, block, sizeof block);
}

int set_vendor_block() {
  const char block[CAPI_VENDOR_BYTES] = {};
  return capi_set_quorble_info(CAPI_QUORBLE_VENDOR, block, sizeof block);
}

// A getter of a text, into a buffer that is large enough.
template <typename Getter>
std::function<int()> text_of(Getter getter) {
  return [getter] {
    char text[256];
    return getter(text, static_cast<int>(sizeof text));
  };
}

Operation look_up(const char* name, const std::function<int()>& run,
                  const std::function<void()>& prepare = provide_device) {
  return {.name = name, .prepare = prepare, .run = run, .recover = [run] { return run() == 0; }};
}

int get_carrier() {
  capi_carrier_info carrier{};
  return capi_get_carrier_info("999991234567890", kIccid, &carrier);
}

int get_test_sim() {
  char mcc[4];
  char mnc[4];
  uint32_t id = 0;
  return capi_get_test_sim_info(mcc, mnc, &id);
}

int count_processes() { return capi_get_runtime_process_num("no_such_process") == -1 ? -1 : 0; }

}  // namespace

Operations device_operations() {
  return {
      look_up("get the firmware version", text_of(capi_get_firmware_version)),
      look_up("get the IMEI", text_of(capi_get_device_imei)),
      look_up("get the serial number",
              text_of([](char* buf, int len) { return capi_get_hardware_info(2, buf, len); })),
      look_up("get the WAN address",
              text_of([](char* buf, int len) { return capi_get_interface_ip("eth0", buf, len); })),
      look_up("get the MAC without a segment",
              text_of([](char* buf, int len) { return capi_get_interface_mac("eth0", buf, len); }),
              provide_device_without_segment),
      look_up("count processes", count_processes),
      look_up("get a SIM value from the segment",
              text_of([](char* buf, int len) { return capi_get_simcard_info(1, buf, len); })),
      look_up("get a SIM value from the file",
              text_of([](char* buf, int len) { return capi_get_simcard_info(1, buf, len); }),
              provide_device_without_segment),
      {.name = "write the SIM file",
       .prepare = provide_sim,
       .run = capi_cfg_update_simcard_file,
       .files = {kSimFile},
       .recover = [] { return capi_cfg_update_simcard_file() == 0; }},
      {.name = "set the IMS voice block",
       .prepare = provide_voice_block,
       .run = set_voice_block,
       .files = {kVoiceFile},
       .recover = [] { return set_voice_block() == 0 && get_voice_block() == 0; }},
      look_up("get the IMS voice block", get_voice_block, provide_voice_block),
      look_up("set the vendor block", set_vendor_block),
      look_up("get the vendor block", get_vendor_block),
      look_up("get the carrier of a test SIM", get_carrier),
      look_up("get a carrier's value", text_of([](char* buf, int len) {
                return capi_get_carrier_cfg(kImsi, kIccid, 0, buf, len);
              })),
      look_up("get the test SIM", get_test_sim),
      look_up("check the SIM", capi_check_simcard, provide_test_sim),
  };
}

}  // namespace capi::test
