// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/carrier.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kImsi[] = "310260123456789";
constexpr char kIccid[] = "8901260000000000001";
constexpr char kFile[] = "/tmp/carrier_config/voip_TMobile_US.conf";

class CarrierSettingsTest : public Adapter {
 protected:
  static Answer value(unsigned index, int len = 300) {
    return ask(
        [&](char* buf, int size) { return capi_get_carrier_cfg(kImsi, kIccid, index, buf, size); },
        len);
  }

  static LogLine failure(const std::string& index) {
    return {kLogNotice, "capi_get_carrier_cfg",
            "Can't get carrier cfg, index " + index + " error!"};
  }
};

TEST_F(CarrierSettingsTest, EveryIndexHasItsKey) {
  std::vector<std::string> keys = {"apn_num"};
  for (const char* apn : {"apn1", "apn2", "apn3", "apn4", "apn5", "apn6"}) {
    for (const char* key :
         {"_enable", "_type", "_network_type", "_name", "_authtype", "_username", "_password"}) {
      keys.push_back(std::string(apn) + key);
    }
  }
  ASSERT_EQ(keys.size(), 43u);
  std::string content;
  for (const std::string& key : keys) content += key + "=value of " + key + "\n";
  write_file(kFile, content);
  for (unsigned index = 0; index < keys.size(); ++index) {
    EXPECT_EQ(value(index), (Answer{0, "value of " + keys[index]}));
  }
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(CarrierSettingsTest, ValuesAreCutToTheBufferAnd255Characters) {
  write_file(kFile, "apn1_name=" + std::string(600, 'n') + "\n");
  EXPECT_EQ(value(4), (Answer{0, std::string(255, 'n')}));
  EXPECT_EQ(value(4, 5), (Answer{0, "nnnn"}));
  EXPECT_EQ(value(4, 1), (Answer{0, ""}));
  EXPECT_EQ(value(4, 0), (Answer{0, ""}));
  EXPECT_EQ(value(4, -1), (Answer{0, ""}));
}

TEST_F(CarrierSettingsTest, ALineOfAnyLengthIsNoHarm) {
  write_file(kFile, std::string(100000, 'x') + "\napn_num=2\n");
  EXPECT_EQ(value(0), (Answer{0, "2"}));
}

TEST_F(CarrierSettingsTest, AMissingKeyOrFileFails) {
  EXPECT_EQ(value(0), (Answer{-1, ""}));
  write_file(kFile, "apn_num=1\n");
  EXPECT_EQ(value(1), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({failure("0"), failure("1")}));
}

TEST_F(CarrierSettingsTest, OtherIndexesAndNullFail) {
  write_file(kFile, "apn_num=1\n");
  EXPECT_EQ(value(43), (Answer{-1, ""}));
  EXPECT_EQ(value(0xffffffff), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_carrier_cfg(kImsi, kIccid, 0, nullptr, 10), -1);
  EXPECT_EQ(captured_log(), lines({failure("43"), failure("-1"), failure("0")}));
}

TEST_F(CarrierSettingsTest, WithoutACarrierThereIsNoFile) {
  write_file("/tmp/carrier_config/voip_TEST_XX.conf", "apn_num=1\n");
  char buf[10] = "untouched";
  EXPECT_EQ(capi_get_carrier_cfg("999991234567890", kIccid, 0, buf, sizeof buf - 1), -1);
  EXPECT_EQ(std::string(buf, sizeof buf), std::string(10, '\0'));
  memset(buf, '#', sizeof buf);
  EXPECT_EQ(capi_get_carrier_cfg("999991234567890", kIccid, 0, buf, 4), -1);
  EXPECT_EQ(std::string(buf, 6), std::string("\0\0\0\0##", 6));
  clear_log();
  EXPECT_EQ(capi_get_carrier_cfg("999991234567890", kIccid, 0, nullptr, 10), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_get_carrier_cfg", "Can't get carrier file!"}}));
}

TEST_F(CarrierSettingsTest, WithoutTextsTheInsertedSimIsAsked) {
  write_file("/tmp/info.simcard", "ICCID=8985235000000000001\nIMSI=454001234567890\n");
  write_file("/tmp/carrier_config/voip_Webbing.conf", "apn_num=3\n");
  start_master();
  char buf[10] = {};
  EXPECT_EQ(capi_get_carrier_cfg(nullptr, nullptr, 0, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "3");
}

}  // namespace
}  // namespace capi::test
