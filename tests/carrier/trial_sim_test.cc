// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <filesystem>

#include "capi/carrier.h"
#include "carrier/expected_carriers.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kFile[] = "/quorbleconf/config/test_sim_info";

class TrialSimTest : public Adapter {
 protected:
  // "MCC/MNC/id" of a file of this content, or "<-1>".
  static std::string read(const std::string& content) {
    write_file(kFile, content);
    struct {
      char mcc[4];
      char mnc[4];
      uint32_t id;
    } sim{{'~', '~', '~', '~'}, {'~', '~', '~', '~'}, 77};
    if (capi_get_test_sim_info(sim.mcc, sim.mnc, &sim.id) != 0) {
      EXPECT_EQ(std::string(sim.mcc, 8), "~~~~~~~~");
      EXPECT_EQ(sim.id, 77u);
      return "<-1>";
    }
    EXPECT_EQ(sim.mcc[3], '\0');
    return std::string(sim.mcc) + "/" + sim.mnc + "/" + std::to_string(sim.id);
  }

  static void expect_log(const std::string& text) {
    EXPECT_EQ(captured_log(), lines({{kLogErr, "capi_get_test_sim_info", text}}));
    clear_log();
  }
};

TEST_F(TrialSimTest, ALineHoldsMccMncAndId) {
  EXPECT_EQ(read("999 99 1\n"), "999/99/1");
  const std::string highest = std::to_string(highest_carrier_id());
  EXPECT_EQ(read("999 123 " + highest), "999/123/" + highest);
  EXPECT_EQ(read(" \t999\t99   007 and more\nsecond\n"), "999/99/7");
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(TrialSimTest, WithoutAFileNothingIsSaid) {
  char mcc[4];
  char mnc[4];
  uint32_t id = 0;
  EXPECT_EQ(capi_get_test_sim_info(mcc, mnc, &id), -1);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(TrialSimTest, ALineWithFewerThanThreeFieldsIsShown) {
  EXPECT_EQ(read("999 99"), "<-1>");
  expect_log("invalid sim info format: 999 99");
  EXPECT_EQ(read("999 99 one\n999 99 1\n"), "<-1>");
  expect_log("invalid sim info format: 999 99 one\n");
  EXPECT_EQ(read("\n999 99 1\n"), "<-1>");
  expect_log("invalid sim info format: \n");
  EXPECT_EQ(read("999\n"), "<-1>");
  expect_log("invalid sim info format: 999\n");
  EXPECT_EQ(read(""), "<-1>");
  expect_log("invalid sim info format: ");
}

TEST_F(TrialSimTest, ValuesOutOfRangeAreShown) {
  const std::string above = "999 99 " + std::to_string(highest_carrier_id() + 1);
  for (const std::string line :
       {"99 99 1", "9999 99 1", "999 9 1", "999 9999 1", "999 99 0", above.c_str(), "999 99 -1",
        "999 99 4294967297", "999 99 99999999999999999999999999"}) {
    EXPECT_EQ(read(line), "<-1>");
    expect_log("invalid sim info value: " + line);
  }
}

TEST_F(TrialSimTest, AnyContentIsNoHarm) {
  EXPECT_EQ(read(std::string(100000, '9')), "<-1>");
  expect_log("invalid sim info format: " + std::string(511, '9'));
  const std::string words = std::string(300, '9') + " " + std::string(300, '9');
  EXPECT_EQ(read(words + " 1\n"), "<-1>");
  expect_log("invalid sim info format: " + words.substr(0, 511));
  EXPECT_EQ(read(std::string("999 99 1\0", 9)), "999/99/1");
  EXPECT_EQ(read(std::string("999\0 99 1\n", 10)), "<-1>");
  expect_log("invalid sim info format: 999");
}

TEST_F(TrialSimTest, ADirectoryHasNoLine) {
  std::filesystem::create_directories(kFile);
  char mcc[4];
  char mnc[4];
  uint32_t id = 0;
  EXPECT_EQ(capi_get_test_sim_info(mcc, mnc, &id), -1);
  expect_log("invalid sim info format: ");
}

TEST_F(TrialSimTest, NullFails) {
  write_file(kFile, "999 99 1\n");
  char text[4];
  uint32_t id = 0;
  EXPECT_EQ(capi_get_test_sim_info(nullptr, text, &id), -1);
  EXPECT_EQ(capi_get_test_sim_info(text, nullptr, &id), -1);
  EXPECT_EQ(capi_get_test_sim_info(text, text, nullptr), -1);
}

}  // namespace
}  // namespace capi::test
