// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/resource.h>
#include <sys/sem.h>

#include <cstdio>
#include <set>
#include <thread>

#include "capi/carrier.h"
#include "carrier/carrier_rows.h"
#include "carrier/expected_carriers.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kFile[] = "/tmp/info.simcard";
constexpr char kTestSimFile[] = "/quorbleconf/config/test_sim_info";

class SupportedSimTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
  }

  static int check(const std::string& content) {
    write_file(kFile, content);
    return capi_check_simcard();
  }
};

std::set<std::string> supported_plmns() {
  std::set<std::string> plmns;
  for (const ExpectedCarrier& carrier : expected_carriers()) {
    for (const std::string& mnc : mncs(carrier)) plmns.insert(carrier.mcc + mnc);
  }
  return plmns;
}

// Whether a text begins with one of them, which have 5 or 6 digits.
bool is_covered(const std::string& text, const std::set<std::string>& plmns) {
  return plmns.count(text.substr(0, 5)) != 0 || plmns.count(text.substr(0, 6)) != 0;
}

// The network with the next number that is not supported.
std::string neighbour(std::string plmn, const std::set<std::string>& plmns) {
  const std::string mcc = plmn.substr(0, 3);
  const auto digits = static_cast<int>(plmn.size()) - 3;
  int mnc = std::stoi(plmn.substr(3));
  while (is_covered(plmn, plmns)) {
    char text[16];
    snprintf(text, sizeof text, "%0*d", digits, ++mnc);
    plmn = mcc + text;
  }
  return plmn;
}

TEST(CarrierRowsTest, NameEverySupportedNetwork) {
  std::vector<std::string> named;
  std::vector<std::string> expected;
  for (const carrier_rows::Row& row : carrier_rows::kRows) {
    carrier_rows::any_mnc(row, [&](std::string_view mnc) {
      named.push_back(std::string(carrier_rows::kRows.text(row.mcc)) + std::string(mnc));
      return false;
    });
  }
  for (const ExpectedCarrier& carrier : expected_carriers()) {
    for (const std::string& mnc : mncs(carrier)) expected.push_back(carrier.mcc + mnc);
  }
  EXPECT_EQ(named, expected);
}

TEST_F(SupportedSimTest, EverySupportedNetworkIsAcceptedAndItsNeighbourRefused) {
  const std::set<std::string> plmns = supported_plmns();
  ASSERT_FALSE(plmns.empty());
  for (const std::string& plmn : plmns) {
    EXPECT_EQ(check("IMSI=" + plmn + "x\n"), 0) << plmn;
    EXPECT_EQ(check("IMSI=" + plmn + "\n"), 0) << plmn;
    const std::string other = neighbour(plmn, plmns);
    EXPECT_EQ(check("IMSI=" + other + "x\n"), 1) << other;
  }
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SupportedSimTest, AFlagInTheSegmentAcceptsAnySim) {
  EXPECT_EQ(capi_check_simcard(), 1);
  EXPECT_EQ(capi_cfg_backend_check_simcard(), 1);
  reinterpret_cast<char*>(&segment())[4038] = 1;
  EXPECT_EQ(capi_check_simcard(), 0);
  EXPECT_EQ(capi_cfg_backend_check_simcard(), 0);
  capi_uninit();
  EXPECT_EQ(capi_cfg_backend_check_simcard(), 1);
}

TEST_F(SupportedSimTest, TheImpiCountsWhereTheImsiDoesNot) {
  EXPECT_EQ(check("IMSI=999990000000001\nIMPI=310260000000001@ims\n"), 0);
  EXPECT_EQ(check("IMPI=310260000000001@ims\nIMSI=999990000000001\n"), 0);
  EXPECT_EQ(check("IMSI=999990000000001\nIMPI=999990000000001@ims\n"), 1);
  EXPECT_EQ(check("IMSI=999990000000001\nIMPI=\n"), 1);
}

TEST_F(SupportedSimTest, WithoutAnImsiTheSimIsRefused) {
  EXPECT_EQ(capi_check_simcard(), 1);
  EXPECT_EQ(check(""), 1);
  EXPECT_EQ(check("IMPI=310260000000001@ims\n"), 1);
  EXPECT_EQ(check("IMSI=\nIMPI=310260000000001@ims\n"), 1);
  EXPECT_EQ(check("IMSI=\r\nIMSI=310260000000001\n"), 1);  // an empty one ends the search
  EXPECT_EQ(check("IMSI"), 1);
  EXPECT_EQ(check(" IMSI=310260000000001\n"), 1);
}

TEST_F(SupportedSimTest, TheTextBehindTheFifthCharacterCounts) {
  EXPECT_EQ(check("[SIM]\nIMSI:310260000000001\r\n"), 0);
  EXPECT_EQ(check("IMSI= 310260000000001\n"), 1);
  EXPECT_EQ(check("IMSI=31026"), 1);
  EXPECT_EQ(check("IMSI=310"), 1);
}

TEST_F(SupportedSimTest, LinesOfAnyLengthAreNoHarm) {
  EXPECT_EQ(check("IMSI=310260" + std::string(100000, '1') + "\n"), 0);
  EXPECT_EQ(check("IMSI=999990" + std::string(100000, '1') + "\n"), 1);
  EXPECT_EQ(check(std::string(511, 'x') + "IMSI=310260000000001\n"), 0);  // a line of its own
  EXPECT_EQ(check(std::string(510, 'x') + "IMSI=310260000000001\n"), 1);
}

TEST_F(SupportedSimTest, ATestSimIsAcceptedByItsImsi) {
  write_file(kTestSimFile, "999 99 1\n");
  EXPECT_EQ(check("IMSI=999990000000001\n"), 0);
  EXPECT_EQ(check("IMSI=999980000000001\n"), 1);
  EXPECT_EQ(check("IMSI=998990000000001\n"), 1);
  EXPECT_EQ(check("IMSI=9999\n"), 1);
  EXPECT_EQ(check("IMSI=998990000000001\nIMPI=999990000000001\n"), 1);
  write_file(kTestSimFile, "999 99 99\n");
  EXPECT_EQ(check("IMSI=999990000000001\n"), 1);
}

TEST_F(SupportedSimTest, TheFileIsThatOfTheDataDirectory) {
  write_file("/tmp/data/info.simcard", "IMSI=310260000000001\n");
  EXPECT_EQ(check("IMSI=999990000000001\n"), 1);
  strcpy(segment().directory[1], "/tmp/data");
  EXPECT_EQ(capi_check_simcard(), 0);
}

TEST_F(SupportedSimTest, AFileThatCannotBeOpenedIsLogged) {
  write_file(kFile, "IMSI=310260000000001\n");
  in_other_process([] {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(capi_check_simcard(), 1);
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, "capi_check_simcard",
                      "fopen file /tmp/info.simcard failed, reason=[Too many open files]"}}));
  });
}

TEST_F(SupportedSimTest, TheFileIsReadUnderLock10) {
  const int set = semget(ftok("/tmp/m_data", 'l'), 19, 0666);
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  Process other([] { EXPECT_EQ(capi_check_simcard(), 0); });
  while (semctl(set, 10, GETNCNT) == 0) std::this_thread::yield();
  write_file(kFile, "IMSI=310260000000001\n");
  capi_critical_section_unlock(10);
  EXPECT_TRUE(other.succeeded());
}

}  // namespace
}  // namespace capi::test
