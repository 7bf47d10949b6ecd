// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/info_files.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::IsEmpty;

class InfoFilesTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    write_file("/tmp/m_data", "");
  }

  const cfg_shared_record& read() {
    record_ = {};
    read_info_files(record_);
    return record_;
  }

  // The record that voice defaults of this content make.
  const cfg_shared_record& read_voice_defaults(const std::string& content) {
    write_file("/tmp/voice.cfg.default", content);
    return read();
  }

 private:
  cfg_shared_record record_{};
};

bool is_empty(const cfg_shared_record& record) {
  static constexpr cfg_shared_record kEmpty{};
  return memcmp(&record, &kEmpty, sizeof record) == 0;
}

TEST_F(InfoFilesTest, FillTheIdentityOfTheDevice) {
  write_file("/tmp/info.simcard",
             "[SIM]\nICCID=8900\nIMSI=00101\nMSISDN=1555\nMBDN=1666\n"
             "IMPI=impi@x\nIMS_DOMAIN=ims.x\nIMPU=sip:impu@x\n");
  write_file("/tmp/info.sys", "fw_verison=v2.1\nsys_uuid=u-u\ndevice_imei=0049\n");
  write_file("/tmp/info.wan", "wan_mac=02:00\nwan_ip=192.0.2.1\nwan_public_ip=198.51.100.1\n");
  write_file("/tmp/m_data",
             "m_mac6_wan_addr=0200\nm_mac6_lan_addr=0201\nm_hw_ver=hw1\nm_serial=s1\n"
             "m_model_name=ATA\nm_country_code=US\nm_imei0=imei0\nm_cellular_module=cell\n"
             "m_ui_language=en\n");
  const cfg_shared_record& record = read();
  EXPECT_STREQ(record.sim_info.ICCID, "8900");
  EXPECT_STREQ(record.sim_info.IMSI, "00101");
  EXPECT_STREQ(record.sim_info.MSISDN, "1555");
  EXPECT_STREQ(record.sim_info.MBDN, "1666");
  EXPECT_STREQ(record.sim_info.IMPI, "impi@x");
  EXPECT_STREQ(record.sim_info.IMS_DOMAIN, "ims.x");
  EXPECT_STREQ(record.sim_info.IMPU, "sip:impu@x");
  EXPECT_STREQ(record.fw_version, "v2.1");
  EXPECT_STREQ(record.sys_uuid, "u-u");
  EXPECT_STREQ(record.device_imei, "0049");
  EXPECT_STREQ(record.wan_mac, "02:00");
  EXPECT_STREQ(record.wan_ip, "192.0.2.1");
  EXPECT_STREQ(record.public_ip, "198.51.100.1");
  EXPECT_STREQ(record.hw_info.wan_mac, "0200");
  EXPECT_STREQ(record.hw_info.lan_mac, "0201");
  EXPECT_STREQ(record.hw_info.version, "hw1");
  EXPECT_STREQ(record.hw_info.serial, "s1");
  EXPECT_STREQ(record.hw_info.model, "ATA");
  EXPECT_STREQ(record.hw_info.contrycode, "US");
  EXPECT_STREQ(record.hw_info.imei0, "imei0");
  EXPECT_STREQ(record.hw_info.cellmodule, "cell");
  EXPECT_STREQ(record.hw_info.language, "en");
}

TEST_F(InfoFilesTest, TextsAreCutToTheirFields) {
  const std::string text(400, 'x');
  write_file("/tmp/info.simcard", "ICCID=" + text + "\nIMPI=" + text + "\n");
  write_file("/tmp/info.sys", "fw_verison=" + text + "\ndevice_imei=" + text + "\n");
  write_file("/tmp/info.wan", "wan_mac=" + text + "\nwan_ip=" + text + "\n");
  write_file("/tmp/m_data", "m_serial=" + text + "\n");
  const cfg_shared_record& record = read();
  EXPECT_EQ(record.sim_info.ICCID, std::string(31, 'x'));
  EXPECT_EQ(record.sim_info.IMPI, std::string(127, 'x'));
  EXPECT_EQ(record.fw_version, std::string(63, 'x'));
  EXPECT_EQ(record.device_imei, std::string(31, 'x'));
  EXPECT_EQ(record.wan_mac, std::string(19, 'x'));
  EXPECT_EQ(record.wan_ip, std::string(63, 'x'));
  EXPECT_EQ(record.hw_info.serial, std::string(31, 'x'));
  EXPECT_STREQ(record.hw_info.model, "");
}

TEST_F(InfoFilesTest, SectionsMeanNothing) {
  write_file("/tmp/info.sys", "[anything]\nsys_uuid=1\n");
  EXPECT_STREQ(read().sys_uuid, "1");
}

TEST_F(InfoFilesTest, EachFileHasItsOwnKeysOnly) {
  write_file("/tmp/info.simcard", "sys_uuid=1\nwan_ip=1\nm_serial=1\niccid=1\n");
  write_file("/tmp/info.sys", "ICCID=1\nfw_version=1\nwan_ip=1\nm_serial=1\n");
  write_file("/tmp/info.wan", "ICCID=1\nsys_uuid=1\nm_serial=1\npublic_ip=1\n");
  write_file("/tmp/m_data", "ICCID=1\nsys_uuid=1\nwan_ip=1\nserial=1\n");
  EXPECT_TRUE(is_empty(read()));
}

TEST_F(InfoFilesTest, MissingAndUnreadableFilesAreSkipped) {
  EXPECT_TRUE(is_empty(read()));
  std::filesystem::create_directories("/tmp/info.sys");
  write_file("/tmp/info.wan", "wan_ip=192.0.2.1\n");
  EXPECT_STREQ(read().wan_ip, "192.0.2.1");
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(InfoFilesTest, LeaveNoDescriptorOpen) {
  write_file("/tmp/info.sys", "sys_uuid=1\n");
  const size_t before = open_descriptors();
  read();
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(InfoFilesTest, VoiceDefaultsFillTheirFields) {
  const cfg_shared_record& record = read_voice_defaults(
      "[basic_sip]\nlocal_port=5061\nrtp_port=10000\nsip_dscp=26\nrtp_dscp=46\nbind_interface=3\n"
      "dial_plan=x.T\ncountry=US\ncarrier=ACME\n"
      "[voice_switch]\nvoice_mode=2\n");
  EXPECT_EQ(record.voice_basic.local_port, 5061);
  EXPECT_EQ(record.voice_basic.rtp_port, 10000);
  EXPECT_EQ(record.voice_basic.sip_dscp, 26);
  EXPECT_EQ(record.voice_basic.rtp_dscp, 46);
  EXPECT_EQ(record.voice_basic.bind_interface, 3);
  EXPECT_STREQ(record.voice_basic.dial_plan, "x.T");
  EXPECT_STREQ(record.voice_basic.country, "US");
  EXPECT_STREQ(record.voice_basic.carrier, "ACME");
  EXPECT_EQ(record.voice_switch.mode, 2);
}

TEST_F(InfoFilesTest, VoiceDefaultsCountStacksFromZero) {
  const cfg_shared_record& record = read_voice_defaults(
      "[voice_stack0]\nenable=1\npriority=2\nT1=500\ntype=volte\ncodec=AMR\naccess=lte\n"
      "[voice_stack4]\nenable=5\n");
  EXPECT_EQ(record.voice_stack[0].enable, 1);
  EXPECT_EQ(record.voice_stack[0].priority, 2);
  EXPECT_EQ(record.voice_stack[0].t1, 500);
  EXPECT_STREQ(record.voice_stack[0].type, "volte");
  EXPECT_STREQ(record.voice_stack[0].codec, "AMR");
  EXPECT_STREQ(record.voice_stack[0].access, "lte");
  EXPECT_EQ(record.voice_stack[4].enable, 5);
}

TEST_F(InfoFilesTest, AVoiceStackWithoutANumberIsTheFirst) {
  for (const char* section : {"voice_stack", "voice_stackx", "voice_stack_3"}) {
    const auto& record = read_voice_defaults(std::string("[") + section + "]\nenable=7\n");
    EXPECT_EQ(record.voice_stack[0].enable, 7) << section;
  }
}

TEST_F(InfoFilesTest, AVoiceStackOutOfRangeIsIgnored) {
  for (const char* number : {"5", "-1", "4294967296", "99999999999999999999"}) {
    EXPECT_TRUE(
        is_empty(read_voice_defaults(std::string("[voice_stack") + number + "]\nenable=7\n")))
        << number;
  }
}

TEST_F(InfoFilesTest, VoiceDefaultsNeedTheirSection) {
  EXPECT_TRUE(is_empty(
      read_voice_defaults("local_port=1\n[basic_sip_]\nlocal_port=1\nvoice_mode=1\n"
                          "[basic_sip]\nvoice_mode=1\nenable=1\nuser_agent=x\n"
                          "[voice_switch]\nmode=1\nlocal_port=1\n[voice_stack1]\nt1=1\n")));
}

TEST_F(InfoFilesTest, TheMasterReadsThemIntoTheSegment) {
  write_file("/tmp/info.sys", "fw_verison=v2.1\n");
  write_file("/tmp/voice.cfg.default", "[voice_stack0]\nenable=1\n");
  start_master();
  EXPECT_STREQ(segment().fw_version, "v2.1");
  EXPECT_EQ(segment().voice_stack[0].enable, 1);
}

// ---- lte_net_info.data -------------------------------------------------------------------------

class LteNetInfoTest : public Adapter {
 protected:
  static void write(const std::string& content) { write_file("/tmp/lte_net_info.data", content); }

  cfg_shared_record record_{};
};

TEST_F(LteNetInfoTest, HasSevenKeys) {
  write("act=7\nmcc=001\nmnc=01\ntac=1234\nenbid=107187\ncellid=196\nband=3\n");
  EXPECT_TRUE(read_lte_net_info(record_, "/tmp"));
  const capi_lte_net_info& info = record_.lte_net_info;
  EXPECT_STREQ(info.act, "7");
  EXPECT_STREQ(info.mcc, "001");
  EXPECT_STREQ(info.mnc, "01");
  EXPECT_STREQ(info.tac, "1234");
  EXPECT_STREQ(info.enbid, "107187");
  EXPECT_STREQ(info.cellid, "196");
  EXPECT_STREQ(info.band, "3");
}

TEST_F(LteNetInfoTest, KeepsSevenCharactersAndATerminator) {
  write("act=1234567\nmcc=123456789\n");
  EXPECT_TRUE(read_lte_net_info(record_, "/tmp"));
  EXPECT_STREQ(record_.lte_net_info.act, "1234567");
  EXPECT_STREQ(record_.lte_net_info.mcc, "1234567");
  EXPECT_STREQ(record_.lte_net_info.mnc, "");
}

TEST_F(LteNetInfoTest, StartsFromAnEmptyBlock) {
  memset(&record_.lte_net_info, 'x', sizeof record_.lte_net_info);
  record_.ims_voice[483] = 7;
  record_.vendor[0] = 7;
  write("band=3\nunknown=1\n");
  EXPECT_TRUE(read_lte_net_info(record_, "/tmp"));
  cfg_shared_record expected{};
  strcpy(expected.lte_net_info.band, "3");
  expected.ims_voice[483] = 7;
  expected.vendor[0] = 7;
  EXPECT_EQ(memcmp(&record_, &expected, sizeof expected), 0);
}

TEST_F(LteNetInfoTest, LogsEachItem) {
  write("[cell]\nband=3\nunknown=1\n");
  read_lte_net_info(record_, "/tmp");
  EXPECT_THAT(captured_log(),
              testing::ElementsAre(
                  LogLine{kLogDebug, "__lte_net_info_cb", "section=cell name=band value=3"},
                  LogLine{kLogDebug, "__lte_net_info_cb", "section=cell name=unknown value=1"}));
}

TEST_F(LteNetInfoTest, AMissingFileLeavesTheBlock) {
  strcpy(record_.lte_net_info.band, "3");
  EXPECT_FALSE(read_lte_net_info(record_, "/tmp"));
  EXPECT_FALSE(read_lte_net_info(record_, "/tmp/no_such_dir"));
  std::filesystem::create_directories("/tmp/lte_net_info.data");
  EXPECT_FALSE(read_lte_net_info(record_, "/tmp"));
  EXPECT_STREQ(record_.lte_net_info.band, "3");
}

TEST_F(LteNetInfoTest, TakesTheLongestDirectory) {
  std::string dir = "/tmp/" + std::string(124, 'd') + "/" + std::string(125, 'd');
  ASSERT_EQ(dir.size(), 255u);
  write_file(dir + "/lte_net_info.data", "band=3\n");
  EXPECT_TRUE(read_lte_net_info(record_, dir.c_str()));
  EXPECT_STREQ(record_.lte_net_info.band, "3");
}

}  // namespace
}  // namespace capi::test
