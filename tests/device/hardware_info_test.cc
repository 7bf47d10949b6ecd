// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/device.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kFile[] =
    "m_model_name=VB200\nm_hw_ver=V3\nm_serial=2604000123\nm_mac6_wan_addr=12:ab:cd:01:02:03\n"
    "m_mac6_lan_addr=12:ab:cd:01:02:04\nm_country_code=DE\nm_uboot_ver=1.2.3.4\n"
    "m_imei0=356000000000001\n";

class HardwareInfoTest : public Adapter {
 protected:
  static Answer info(int index, int len = 64) {
    return ask([&](char* buf, int size) { return capi_get_hardware_info(index, buf, size); }, len);
  }

  static std::vector<Answer> all_info() {
    std::vector<Answer> answers;
    for (int index = 0; index <= 11; ++index) answers.push_back(info(index));
    return answers;
  }

  // A segment that knows nothing of the hardware.
  void start_with_empty_segment() {
    start_master();
    memset(&segment().hw_info, 0, sizeof segment().hw_info);
  }
};

const std::vector<Answer> kDefaults = {{0, "QZX"},
                                       {0, "V1"},
                                       {-1, "0000000000000"},
                                       {0, "Vorna Computer Corp."},
                                       {0, "0A3F7C"},
                                       {0, "US"},
                                       {0, "ATA"},
                                       {0, "0.0.0.0"},
                                       {0, "LTE Phone Adapter"},
                                       {0, "000000000000000"},
                                       {0, "00:00:00:00:00:00"},
                                       {0, "00:00:00:00:00:00"}};

TEST_F(HardwareInfoTest, WithoutAContextTheFileTells) {
  write_file("/tmp/m_data", kFile);
  EXPECT_EQ(all_info(), (std::vector<Answer>{{0, "VB200"},
                                             {0, "V3"},
                                             {0, "2604000123"},
                                             {0, "Vorna Computer Corp."},
                                             {0, "12ABCD"},
                                             {0, "DE"},
                                             {0, "ATA"},
                                             {0, "1.2.3.4"},
                                             {0, "LTE Phone Adapter"},
                                             {0, "356000000000001"},
                                             {0, "12:ab:cd:01:02:03"},
                                             {0, "12:ab:cd:01:02:04"}}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(HardwareInfoTest, WithoutKeysInTheFileTheDefaultsHold) {
  write_file("/tmp/m_data", "m_model_name\n");
  EXPECT_EQ(all_info(), kDefaults);
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_hardware_info", "Can't get info index-2,  error!"}}));
}

TEST_F(HardwareInfoTest, WithoutAFileTheDefaultsHold) {
  unlink("/tmp/m_data");
  EXPECT_EQ(all_info(), kDefaults);
}

TEST_F(HardwareInfoTest, TheSegmentTellsModelVersionCountryAndImei) {
  write_file("/tmp/m_data", kFile);
  start_master();
  for (char* text :
       {segment().hw_info.model, segment().hw_info.version, segment().hw_info.contrycode,
        segment().hw_info.imei0, segment().hw_info.serial, segment().hw_info.wan_mac,
        segment().hw_info.lan_mac}) {
    strcpy(text, "segment");
  }
  EXPECT_EQ(info(0), (Answer{0, "segment"}));
  EXPECT_EQ(info(1), (Answer{0, "segment"}));
  EXPECT_EQ(info(5), (Answer{0, "segment"}));
  EXPECT_EQ(info(9), (Answer{0, "segment"}));
  // These never come from the segment.
  EXPECT_EQ(info(2), (Answer{0, "2604000123"}));
  EXPECT_EQ(info(4), (Answer{0, "12ABCD"}));
  EXPECT_EQ(info(10), (Answer{0, "12:ab:cd:01:02:03"}));
  EXPECT_EQ(info(11), (Answer{0, "12:ab:cd:01:02:04"}));
}

TEST_F(HardwareInfoTest, WhatTheSegmentLacksTheFileTellsButForTheCountry) {
  start_with_empty_segment();
  write_file("/tmp/m_data", kFile);
  EXPECT_EQ(info(0), (Answer{0, "VB200"}));
  EXPECT_EQ(info(1), (Answer{0, "V3"}));
  EXPECT_EQ(info(5), (Answer{0, ""}));
  EXPECT_EQ(info(9), (Answer{0, "356000000000001"}));
}

TEST_F(HardwareInfoTest, TheProductClassFileChangesNothing) {
  write_file("/quorbleconf/config/ata_product_class", "CPE\n");
  EXPECT_EQ(info(6), (Answer{0, "ATA"}));
}

TEST_F(HardwareInfoTest, AMacPrefixNeedsSevenBytes) {
  write_file("/tmp/m_data", kFile);
  EXPECT_EQ(info(4, 7), (Answer{0, "12ABCD"}));
  EXPECT_EQ(info(4, 6), (Answer{0, "0A3F7"}));
  EXPECT_EQ(info(4, 1), (Answer{0, ""}));
}

TEST_F(HardwareInfoTest, AMacPrefixNeedsAMac) {
  write_file("/tmp/m_data", "m_mac6_wan_addr=\n");
  EXPECT_EQ(info(4), (Answer{0, "0A3F7C"}));
  write_file("/tmp/m_data", "m_mac6_wan_addr=ab:c\n");
  EXPECT_EQ(info(4), (Answer{0, "ABC"}));
}

TEST_F(HardwareInfoTest, OnlyTheWanMacIsCutToTheLengthOfAMac) {
  write_file("/tmp/m_data",
             "m_mac6_wan_addr=12:ab:cd:01:02:03:04\nm_mac6_lan_addr=12:ab:cd:01:02:03:04\n");
  EXPECT_EQ(info(10), (Answer{0, "12:ab:cd:01:02:03"}));
  EXPECT_EQ(info(10, 4), (Answer{0, "12:"}));
  EXPECT_EQ(info(11), (Answer{0, "12:ab:cd:01:02:03:04"}));
}

TEST_F(HardwareInfoTest, AnswersAreCutToTheBuffer) {
  start_master();
  strcpy(segment().hw_info.model, "VB200");
  EXPECT_EQ(info(0, 3), (Answer{0, "VB"}));
  EXPECT_EQ(info(3, 6), (Answer{0, "Vorna"}));
  EXPECT_EQ(info(7, 2), (Answer{0, "0"}));
  for (int index = 0; index <= 11; ++index) {
    EXPECT_EQ(info(index, 1), (Answer{0, ""}));
    EXPECT_EQ(info(index, 0), (Answer{0, ""}));
    EXPECT_EQ(info(index, -1), (Answer{0, ""}));
  }
}

TEST_F(HardwareInfoTest, ASegmentTextMayLackItsTerminator) {
  start_master();
  memset(segment().hw_info.model, 'm', sizeof segment().hw_info.model);
  memset(segment().hw_info.contrycode, 'c', sizeof segment().hw_info.contrycode);
  EXPECT_EQ(info(0), (Answer{0, std::string(32, 'm')}));
}

TEST_F(HardwareInfoTest, OtherIndexesAndNullFail) {
  EXPECT_EQ(info(12), (Answer{-1, ""}));
  EXPECT_EQ(info(-1), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_hardware_info(0, nullptr, 64), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_get_hardware_info", "Can't get info index-12,  error!"},
                   {kLogNotice, "capi_get_hardware_info", "Can't get info index--1,  error!"},
                   {kLogNotice, "capi_get_hardware_info", "Can't get info index-0,  error!"}}));
}

}  // namespace
}  // namespace capi::test
