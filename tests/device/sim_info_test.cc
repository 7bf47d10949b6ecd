// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/sem.h>

#include <thread>

#include "capi/device.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kFile[] =
    "[SIM]\nICCID=8901260000000000001\nIMSI=310260000000001\nIMPI=a@b\nIMS_DOMAIN=b\n"
    "IMPU=sip:a@b\nMSISDN=15550001\nMBDN=15550002\n";
const std::vector<Answer> kValues = {{0, "8901260000000000001"},
                                     {0, "310260000000001"},
                                     {0, "a@b"},
                                     {0, "b"},
                                     {0, "sip:a@b"},
                                     {0, "15550001"},
                                     {0, "15550002"}};

class SimInfoTest : public Adapter {
 protected:
  static Answer info(int index, int len = 160) {
    return ask([&](char* buf, int size) { return capi_get_simcard_info(index, buf, size); }, len);
  }

  static std::vector<Answer> all_info() {
    std::vector<Answer> answers;
    for (int index = 0; index <= 6; ++index) answers.push_back(info(index));
    return answers;
  }

  static LogLine failure(int index) {
    return {kLogNotice, "capi_get_simcard_info",
            "Can't get simcard info index-" + std::to_string(index) + ",  error!"};
  }

  static std::vector<LogLine> without_lock_lines() {
    std::vector<LogLine> result;
    for (const LogLine& line : captured_log()) {
      if (line.func.find("critical_section") == std::string::npos) result.push_back(line);
    }
    return result;
  }
};

TEST_F(SimInfoTest, TheSegmentTells) {
  write_file("/tmp/info.simcard", kFile);
  start_master();
  unlink("/tmp/info.simcard");
  EXPECT_EQ(all_info(), kValues);
  EXPECT_EQ(info(1, 31).text, "310260000000001");
  EXPECT_EQ(info(1, 4), (Answer{0, "310"}));
  EXPECT_EQ(info(1, 0), (Answer{0, ""}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SimInfoTest, AnEmptySegmentFieldIsAnAnswer) {
  start_master();
  write_file("/tmp/info.simcard", kFile);
  for (int index = 0; index <= 6; ++index) EXPECT_EQ(info(index), (Answer{0, ""}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SimInfoTest, ASegmentTextMayLackItsTerminator) {
  start_master();
  memset(segment().sim_info.IMSI, '1', sizeof segment().sim_info.IMSI);
  memset(segment().sim_info.IMPI, 'i', sizeof segment().sim_info.IMPI);
  EXPECT_EQ(info(1), (Answer{0, std::string(32, '1')}));
  EXPECT_EQ(info(1, 31), (Answer{0, std::string(30, '1')}));
}

TEST_F(SimInfoTest, WithoutAContextTheFileTells) {
  write_file("/tmp/info.simcard", kFile);
  EXPECT_EQ(all_info(), kValues);
  EXPECT_EQ(info(0, 5), (Answer{0, "8901"}));
  EXPECT_EQ(without_lock_lines().size(), 0u);
}

TEST_F(SimInfoTest, AFileWithoutTheKeyFails) {
  write_file("/tmp/info.simcard", "[SIM]\nICCID=1\n");
  EXPECT_EQ(info(1), (Answer{-1, ""}));
  EXPECT_EQ(without_lock_lines(), lines({failure(1)}));
}

TEST_F(SimInfoTest, AFileThatIsMissingIsLogged) {
  EXPECT_EQ(info(1), (Answer{-1, ""}));
  EXPECT_EQ(without_lock_lines(),
            lines({{kLogWarning, "capi_get_simcard_info", "open /tmp/info.simcard failed!"},
                   failure(1)}));
}

TEST_F(SimInfoTest, OtherIndexesAndNullFail) {
  start_master();
  write_file("/tmp/info.simcard", std::string(kFile) + "=nothing\n");
  EXPECT_EQ(info(7), (Answer{-1, ""}));
  EXPECT_EQ(info(-1), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_simcard_info(1, nullptr, 32), -1);
  EXPECT_EQ(captured_log(), lines({failure(7), failure(-1), failure(1)}));
}

TEST_F(SimInfoTest, AnotherIndexIsLookedForInTheDataDirectory) {
  start_master();
  strcpy(segment().directory[1], "/tmp/data");
  EXPECT_EQ(info(7), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, "capi_get_simcard_info", "open /tmp/data/info.simcard failed!"},
                   failure(7)}));
}

TEST_F(SimInfoTest, UpdatingWritesTheFile) {
  write_file("/tmp/info.simcard", kFile);
  start_master();
  write_file("/tmp/data/info.simcard", "old");
  strcpy(segment().directory[1], "/tmp/data");
  strcpy(segment().sim_info.MSISDN, "");
  EXPECT_EQ(capi_cfg_update_simcard_file(), 0);
  EXPECT_EQ(read_file("/tmp/data/info.simcard"),
            "[SIM]\nICCID=8901260000000000001\nIMSI=310260000000001\nIMPI=a@b\nIMS_DOMAIN=b\n"
            "IMPU=sip:a@b\nMSISDN=\nMBDN=15550002\n");
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SimInfoTest, UpdatingWithoutImsiOrIccidDeletesTheFile) {
  for (const size_t field : {offsetof(capi_sim_info, IMSI), offsetof(capi_sim_info, ICCID)}) {
    write_file("/tmp/info.simcard", kFile);
    start_master();
    reinterpret_cast<char*>(&segment().sim_info)[field] = '\0';
    EXPECT_EQ(capi_cfg_update_simcard_file(), 0);
    EXPECT_FALSE(exists("/tmp/info.simcard"));
    EXPECT_EQ(capi_cfg_update_simcard_file(), 0);  // nothing left to delete
    capi_uninit();
  }
}

TEST_F(SimInfoTest, UpdatingWithoutAContextLeavesTheFile) {
  write_file("/tmp/info.simcard", kFile);
  EXPECT_EQ(capi_cfg_update_simcard_file(), 0);
  EXPECT_EQ(read_file("/tmp/info.simcard"), kFile);
}

TEST_F(SimInfoTest, TheFileIsReadUnderLock10) {
  write_file("/tmp/info.simcard", "IMSI=old\n");
  start_master();
  const int set = semget(ftok("/tmp/m_data", 'l'), 19, 0666);
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  Process other([] {
    capi_uninit();
    EXPECT_EQ(info(1), (Answer{0, "new"}));
  });
  while (semctl(set, 10, GETNCNT) == 0) std::this_thread::yield();
  EXPECT_EQ(lock_value(0), 1);
  write_file("/tmp/info.simcard", "IMSI=new\n");
  capi_critical_section_unlock(10);
  EXPECT_TRUE(other.succeeded());
}

TEST_F(SimInfoTest, UpdatingWaitsForLock10) {
  write_file("/tmp/info.simcard", kFile);
  start_master();
  const int set = semget(ftok("/tmp/m_data", 'l'), 19, 0666);
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  write_file("/tmp/info.simcard", "mine");
  Process other([] { EXPECT_EQ(capi_cfg_update_simcard_file(), 0); });
  while (semctl(set, 10, GETNCNT) == 0) std::this_thread::yield();
  EXPECT_EQ(read_file("/tmp/info.simcard"), "mine");
  capi_critical_section_unlock(10);
  EXPECT_TRUE(other.succeeded());
  EXPECT_EQ(read_file("/tmp/info.simcard"), kFile);
}

}  // namespace
}  // namespace capi::test
