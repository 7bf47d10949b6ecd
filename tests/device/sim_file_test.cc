// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device/sim_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "record/info_files.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kPath[] = "/tmp/sim/info.simcard";

class SimFileTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
    std::filesystem::remove_all("/tmp/sim");
    std::filesystem::create_directories("/tmp/sim");
    strcpy(segment().directory[1], "/tmp/sim");
    capi_sim_info& sim = segment().sim_info;
    strcpy(sim.ICCID, "8900");
    strcpy(sim.IMSI, "00101");
    strcpy(sim.IMPI, "impi@x");
    strcpy(sim.IMS_DOMAIN, "ims.x");
    strcpy(sim.IMPU, "sip:impu@x");
    strcpy(sim.MSISDN, "1555");
    strcpy(sim.MBDN, "1666");
  }

  static void refresh() {
    const CriticalSection section(kConfShmLock);
    refresh_sim_file(segment());
  }
};

constexpr char kContent[] =
    "[SIM]\nICCID=8900\nIMSI=00101\nIMPI=impi@x\nIMS_DOMAIN=ims.x\nIMPU=sip:impu@x\nMSISDN=1555\n"
    "MBDN=1666\n";

TEST_F(SimFileTest, HoldsTheSevenValuesInOrder) {
  refresh();
  EXPECT_EQ(read_file(kPath), kContent);
}

TEST_F(SimFileTest, ALineEndInAValueMakesNoSecondLine) {
  strcpy(segment().sim_info.IMPU, "sip:impu@x\nMSISDN=666");
  strcpy(segment().sim_info.MBDN, "1666\r\n[SIM]");
  refresh();
  EXPECT_EQ(read_file(kPath), kContent);
}

TEST_F(SimFileTest, ReplacesWhatWasThere) {
  write_file(kPath, std::string(4096, 'x'));
  refresh();
  EXPECT_EQ(read_file(kPath), kContent);
}

TEST_F(SimFileTest, EmptyValuesKeepTheirLines) {
  segment().sim_info.IMPI[0] = '\0';
  segment().sim_info.MBDN[0] = '\0';
  refresh();
  EXPECT_EQ(read_file(kPath),
            "[SIM]\nICCID=8900\nIMSI=00101\nIMPI=\nIMS_DOMAIN=ims.x\nIMPU=sip:impu@x\n"
            "MSISDN=1555\nMBDN=\n");
}

TEST_F(SimFileTest, IsDeletedWithoutAnIccidOrAnImsi) {
  for (char* value : {segment().sim_info.ICCID, segment().sim_info.IMSI}) {
    const char first = value[0];
    write_file(kPath, "old");
    value[0] = '\0';
    refresh();
    EXPECT_FALSE(exists(kPath));
    refresh();  // also where there is none
    EXPECT_FALSE(exists(kPath));
    value[0] = first;
  }
}

TEST_F(SimFileTest, ValuesWithoutTerminatorEndAtTheirWidth) {
  memset(segment().sim_info.ICCID, 'c', 32);
  memset(segment().sim_info.IMSI, 's', 32);
  memset(segment().sim_info.IMPI, 'i', 128);
  refresh();
  const std::vector<std::string> lines = read_lines(kPath);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[1], "ICCID=" + std::string(32, 'c'));
  EXPECT_EQ(lines[2], "IMSI=" + std::string(32, 's'));
  EXPECT_EQ(lines[3], "IMPI=" + std::string(128, 'i'));
}

TEST_F(SimFileTest, CannotBeWrittenWithoutItsDirectory) {
  std::filesystem::remove_all("/tmp/sim");
  refresh();
  EXPECT_FALSE(exists(kPath));
}

TEST_F(SimFileTest, WithoutADataDirectoryItIsInTmp) {
  segment().directory[1][0] = '\0';
  refresh();
  EXPECT_FALSE(exists("/info.simcard"));
  EXPECT_EQ(read_file("/tmp/info.simcard"), kContent);
  char path[kSimPathSize];
  get_sim_file_path(path);
  EXPECT_STREQ(path, "/tmp/info.simcard");
}

TEST_F(SimFileTest, WithoutADataDirectoryNothingIsDeleted) {
  write_file("/info.simcard", "a stranger's");
  write_file("/tmp/info.simcard", "what the master is going to read");
  segment() = {};  // as before the master
  refresh();
  EXPECT_EQ(read_file("/info.simcard"), "a stranger's");
  EXPECT_EQ(read_file("/tmp/info.simcard"), "what the master is going to read");
}

TEST_F(SimFileTest, APathOfMoreThan255CharactersIsNone) {
  // "/info.simcard" has 13 characters.
  const std::string dir = "/tmp/sim/" + std::string(116, 'd') + "/" + std::string(116, 'd');
  ASSERT_EQ(dir.size(), 242u);
  std::filesystem::create_directories(dir + "d");
  write_file(dir + "d/info.simcar", "a stranger's");
  strcpy(segment().directory[1], (dir + "d").c_str());
  refresh();
  segment().sim_info.IMSI[0] = '\0';
  refresh();
  EXPECT_EQ(read_file(dir + "d/info.simcar"), "a stranger's");
  EXPECT_FALSE(exists(dir + "d/info.simcard"));
  char path[kSimPathSize];
  get_sim_file_path(path);
  EXPECT_STREQ(path, "");

  strcpy(segment().sim_info.IMSI, "00101");
  std::filesystem::create_directories(dir);
  strcpy(segment().directory[1], dir.c_str());
  refresh();
  EXPECT_EQ(read_file(dir + "/info.simcard"), kContent);
}

TEST_F(SimFileTest, ReadsBackAtTheNextStart) {
  strcpy(segment().directory[1], "/tmp");
  refresh();
  cfg_shared_record record{};
  read_info_files(record);
  EXPECT_EQ(memcmp(&record.sim_info, &segment().sim_info, sizeof record.sim_info), 0);
}

TEST_F(SimFileTest, WaitsForLock10AndGivesItBack) {
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  Baton started;
  Process other([&] {
    started.pass();
    refresh();
  });
  started.await();
  EXPECT_FALSE(exists(kPath));
  EXPECT_EQ(capi_critical_section_unlock(10), 0);
  EXPECT_TRUE(other.succeeded());
  EXPECT_TRUE(exists(kPath));
  EXPECT_EQ(lock_value(10), 1);
}

}  // namespace
}  // namespace capi::test
