// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/device.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

class DeviceInfoTest : public Adapter {};

constexpr char kFirmwareFile[] = "/etc/firmware_version";

TEST_F(DeviceInfoTest, TheFirmwareVersionIsThatOfTheSegment) {
  write_file(kFirmwareFile, "v9\n");
  start_master();
  EXPECT_EQ(ask(capi_get_firmware_version), (Answer{0, "v1.0.0"}));
  EXPECT_EQ(ask(capi_get_firmware_version, 4), (Answer{0, "v1."}));
}

TEST_F(DeviceInfoTest, TheFirmwareFileIsShownWithItsLineEnd) {
  start_master();
  segment().fw_version[0] = '\0';
  write_file(kFirmwareFile, "v9\nsecond\n");
  EXPECT_EQ(ask(capi_get_firmware_version), (Answer{0, "v9\n"}));
  EXPECT_EQ(ask(capi_get_firmware_version, 2), (Answer{0, "v"}));
  EXPECT_EQ(ask(capi_get_firmware_version, 1), (Answer{0, ""}));
  EXPECT_EQ(ask(capi_get_firmware_version, 0), (Answer{0, ""}));
  EXPECT_EQ(ask(capi_get_firmware_version, -5), (Answer{0, ""}));
  write_file(kFirmwareFile, "");
  EXPECT_EQ(ask(capi_get_firmware_version), (Answer{0, ""}));
}

TEST_F(DeviceInfoTest, WithoutAFirmwareFileTheVersionIsUnknown) {
  start_master();
  segment().fw_version[0] = '\0';
  EXPECT_EQ(ask(capi_get_firmware_version), (Answer{0, "Unknown"}));
  EXPECT_EQ(ask(capi_get_firmware_version, 3), (Answer{0, "Un"}));
  capi_uninit();
  EXPECT_EQ(ask(capi_get_firmware_version), (Answer{0, "Unknown"}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(DeviceInfoTest, OnlyANullBufferFailsForTheFirmwareVersion) {
  start_master();
  EXPECT_EQ(capi_get_firmware_version(nullptr, 64), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_firmware_version", "Can't get firmware version"}}));
}

TEST_F(DeviceInfoTest, TheBuildNumberIsThatOfTheSegment) {
  start_master();
  EXPECT_EQ(ask(capi_get_fw_build_number), (Answer{-1, ""}));
  strcpy(segment().fw_build_number, "4711");
  EXPECT_EQ(ask(capi_get_fw_build_number), (Answer{0, "4711"}));
  EXPECT_EQ(capi_get_fw_build_number(nullptr, 1), -1);
  const LogLine failure{kLogNotice, "capi_get_fw_build_number", "failed to get fw build number"};
  EXPECT_EQ(captured_log(), lines({failure, failure}));
}

TEST_F(DeviceInfoTest, TheImeiIsThatOfTheSegmentElseOfTheHardware) {
  start_master();
  EXPECT_EQ(ask(capi_get_device_imei), (Answer{0, "000000000000000"}));
  write_file("/tmp/m_data", "m_imei0=356000000000001\n");
  EXPECT_EQ(ask(capi_get_device_imei), (Answer{0, "356000000000001"}));
  strcpy(segment().device_imei, "356000000000002");
  EXPECT_EQ(ask(capi_get_device_imei), (Answer{0, "356000000000002"}));
  EXPECT_EQ(capi_get_device_imei(nullptr, 64), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_device_imei", "get device IMEI value failure!"}}));
}

TEST_F(DeviceInfoTest, TheNameIsThatOfTheSegment) {
  start_master();
  EXPECT_EQ(ask(capi_get_device_name), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_device_name", "failed to get device name"}}));
  memset(segment().device_name, 'n', sizeof segment().device_name);
  EXPECT_EQ(ask(capi_get_device_name), (Answer{0, std::string(34, 'n')}));
  EXPECT_EQ(ask(capi_get_device_name, 4), (Answer{0, "nnn"}));
}

TEST_F(DeviceInfoTest, WithoutAContextTheSegmentTellsNothing) {
  EXPECT_EQ(ask(capi_get_device_name), (Answer{-1, ""}));
  EXPECT_EQ(ask(capi_get_fw_build_number), (Answer{-1, ""}));
  EXPECT_EQ(ask(capi_get_device_imei), (Answer{0, "000000000000000"}));
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_device_name", "failed to get device name"},
                   {kLogNotice, "capi_get_fw_build_number", "failed to get fw build number"}}));
}

}  // namespace
}  // namespace capi::test
