// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/carrier.h"

#include <set>

#include "carrier/expected_carriers.h"
#include "support/adapter.h"
#include "support/ask.h"
#include "support/golden.h"

namespace capi::test {

namespace {

constexpr char kIccid[] = "8901000000000000001";
constexpr char kTestSimFile[] = "/quorbleconf/config/test_sim_info";

struct Found {
  int result;
  ExpectedCarrier carrier;

  bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found) {
  const ExpectedCarrier& carrier = found.carrier;
  return out << found.result << " {" << carrier.id << ", " << carrier.attribute1 << ", "
             << carrier.attribute2 << ", " << carrier.mnc_length << ", " << carrier.file << ", "
             << carrier.iccid_prefix << ", " << carrier.mcc << ", " << carrier.mnc_list << "}";
}

class CarrierTest : public Adapter {
 protected:
  static ExpectedCarrier whole(const capi_carrier_info& carrier) {
    return {carrier.id,   carrier.attribute1,   carrier.attribute2, carrier.mnc_length,
            carrier.file, carrier.iccid_prefix, carrier.mcc,        carrier.mnc_list};
  }

  static Found find(const std::string& imsi, const std::string& iccid = kIccid) {
    capi_carrier_info carrier{};
    const int result = capi_get_carrier_info(imsi.c_str(), iccid.c_str(), &carrier);
    return {result, whole(carrier)};
  }

  // The first row of this file and network.
  static Found row(const std::string& file, const std::string& mcc, const std::string& mnc = "") {
    for (const ExpectedCarrier& carrier : expected_carriers()) {
      const bool is_named = carrier.file == "/tmp/carrier_config/voip_" + file + ".conf";
      if (is_named && carrier.mcc == mcc && carrier.mnc_list.find(mnc) != std::string::npos) {
        return {0, carrier};
      }
    }
    ADD_FAILURE() << "no row has " << file << " with " << mcc << mnc;
    return {};
  }

  static Found unknown() { return {-1, expected_carriers().front()}; }

  static void expect_cleared(const capi_carrier_info& carrier) {
    const capi_carrier_info cleared{};
    EXPECT_EQ(memcmp(&carrier, &cleared, sizeof cleared), 0);
  }
};

// A line of the golden file.
int tell_carrier(const capi_carrier_info* carrier, int /*fits*/, void* user) {
  std::ostringstream line;
  line << carrier->id << '\t' << carrier->attribute1 << '\t' << carrier->attribute2 << '\t'
       << carrier->mnc_length << '\t' << carrier->file << '\t' << carrier->iccid_prefix << '\t'
       << carrier->mcc << '\t' << carrier->mnc_list << '\n';
  *static_cast<std::string*>(user) += line.str();
  return 0;
}

TEST_F(CarrierTest, TheTableIsAsItsGoldenFile) {
  std::string table;
  EXPECT_EQ(capi_carrier_for_each(nullptr, nullptr, tell_carrier, &table), 0);
  expect_golden(table, kGoldenCarriers);
}

TEST_F(CarrierTest, EveryRowIsReached) {
  ASSERT_FALSE(expected_carriers().empty());
  for (const ExpectedCarrier& carrier : expected_carriers()) {
    const std::string imsi = carrier.mcc + mncs(carrier)[0] + "123456789";
    const std::string iccid = carrier.iccid_prefix.empty() ? kIccid : carrier.iccid_prefix + "01";
    EXPECT_EQ(find(imsi, iccid), (Found{0, carrier}));
  }
}

TEST_F(CarrierTest, EveryMncReachesItsCarrier) {
  std::set<std::string> seen;
  for (const ExpectedCarrier& carrier : expected_carriers()) {
    for (const std::string& mnc : mncs(carrier)) {
      if (seen.insert(carrier.mcc + mnc).second) {
        EXPECT_EQ(find(carrier.mcc + mnc + "123456789"), (Found{0, carrier}));
      }
    }
  }
}

TEST_F(CarrierTest, AnIccidThatFitsOutweighsAnEarlierRow) {
  EXPECT_EQ(find("454001234567890", "8985235000000000001"), row("Webbing", "454", "00"));
  EXPECT_EQ(find("454001234567890", "8985200000000000001"), row("CSL_HK", "454"));
  EXPECT_EQ(find("454001234567890", "8"), row("CSL_HK", "454"));
}

TEST_F(CarrierTest, ARowWithAnIccidPrefixIsReachedByImsiAlone) {
  EXPECT_EQ(find("208011234567890", kIccid), row("Webbing", "208"));
}

TEST_F(CarrierTest, AnMncThatAnEarlierRowLacksIsLookedForFurther) {
  EXPECT_EQ(find("460011234567890"), row("CUCC_CN", "460"));
  EXPECT_EQ(find("310260123456789"), row("TMobile_US", "310"));
  EXPECT_EQ(find("001011234567890"), row("TEST_XX", "001"));
}

TEST_F(CarrierTest, AnUnknownSimGetsTheTestCarrierAndFails) {
  EXPECT_EQ(find("999991234567890"), unknown());
  EXPECT_EQ(find("310999123456789"), unknown());
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(CarrierTest, AShortImsiMatchesAsFarAsItGoes) {
  EXPECT_EQ(find("3"), unknown());
  EXPECT_EQ(find("31"), unknown());
  EXPECT_EQ(find("310"), row("TMobile_US", "310"));     // every list has no MNC in it
  EXPECT_EQ(find("31026"), row("TMobile_US", "310"));   // a piece of "260"
  EXPECT_EQ(find("310,20"), row("TMobile_US", "310"));  // the list is searched as it stands
  EXPECT_EQ(find("311490"), row("TMobile_US", "311"));
}

TEST_F(CarrierTest, OnlyThirtyOneCharactersCount) {
  EXPECT_EQ(find("310260" + std::string(5000, '1'), std::string(5000, '8')),
            row("TMobile_US", "310"));
}

TEST_F(CarrierTest, WithoutTextsTheInsertedSimIsAsked) {
  write_file("/tmp/info.simcard", "ICCID=8985235000000000001\nIMSI=454001234567890\n");
  start_master();
  capi_carrier_info carrier{};
  EXPECT_EQ(capi_get_carrier_info(nullptr, nullptr, &carrier), 0);
  EXPECT_EQ((Found{0, whole(carrier)}), row("Webbing", "454", "00"));
  EXPECT_EQ(capi_get_carrier_info(nullptr, kIccid, &carrier), 0);
  EXPECT_EQ((Found{0, whole(carrier)}), row("CSL_HK", "454"));
  EXPECT_EQ(capi_get_carrier_info("310260123456789", nullptr, &carrier), 0);
  EXPECT_EQ((Found{0, whole(carrier)}), row("TMobile_US", "310"));
}

TEST_F(CarrierTest, WithoutSimDataTheRecordIsCleared) {
  start_master();
  capi_carrier_info carrier;
  for (const auto& [imsi, iccid] : std::vector<std::pair<const char*, const char*>>{
           {nullptr, nullptr}, {"310260123456789", nullptr}, {nullptr, kIccid}, {"", kIccid}}) {
    memset(&carrier, '~', sizeof carrier);
    EXPECT_EQ(capi_get_carrier_info(imsi, iccid, &carrier), -1);
    expect_cleared(carrier);
  }
  const LogLine failure{kLogWarning, "capi_get_carrier_info", "no imsi or iccid data"};
  EXPECT_EQ(captured_log(), lines({failure, failure, failure, failure}));
}

TEST_F(CarrierTest, ATestSimStandsForItsCarrier) {
  write_file(kTestSimFile, "999 99 1\n");
  Found expected = row("TMobile_US", "310");
  expected.carrier.mnc_length = 2;
  EXPECT_EQ(find("999991234567890"), expected);
  EXPECT_EQ(find("99999"), expected);
  EXPECT_EQ(find("310260123456789"), row("TMobile_US", "310"));  // a known SIM is not overridden
  write_file(kTestSimFile, "999 991 26\n");
  expected = row("ATT_FirstNet_US", "313");
  expected.carrier.mnc_length = 3;
  EXPECT_EQ(find("999991234567890"), expected);
}

TEST_F(CarrierTest, ATestSimOfAnotherNetworkDoesNotCount) {
  write_file(kTestSimFile, "999 98 1\n");
  EXPECT_EQ(find("999991234567890"), unknown());
  EXPECT_EQ(find("9999"), unknown());
  write_file(kTestSimFile, "998 99 1\n");
  EXPECT_EQ(find("999991234567890"), unknown());
}

TEST_F(CarrierTest, EveryTestCarrierIdHasARow) {
  for (uint32_t id = 1; id <= highest_carrier_id(); ++id) {
    write_file(kTestSimFile, "999 99 " + std::to_string(id));
    const Found found = find("999991234567890");
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.carrier.id, id);
  }
}

TEST_F(CarrierTest, ADamagedTestSimFileDoesNotCount) {
  write_file(kTestSimFile, "nonsense\n");
  EXPECT_EQ(find("999991234567890"), unknown());
  EXPECT_EQ(captured_log(),
            lines({{kLogErr, "capi_get_test_sim_info", "invalid sim info format: nonsense\n"}}));
}

TEST_F(CarrierTest, NullFails) {
  EXPECT_EQ(capi_get_carrier_info("310260123456789", kIccid, nullptr), -1);
  EXPECT_EQ(capi_get_carrier_info_ext("Verizon", nullptr), -1);
}

TEST_F(CarrierTest, APieceOfTheFileNameFindsTheFirstRow) {
  const auto find_by_name = [](const char* name) {
    capi_carrier_info carrier{};
    const int result = capi_get_carrier_info_ext(name, &carrier);
    return Found{result, whole(carrier)};
  };
  EXPECT_EQ(find_by_name("Verizon"), row("Verizon_US", "310"));
  EXPECT_EQ(find_by_name("ATT_FirstNet"), row("ATT_FirstNet_US", "313"));
  EXPECT_EQ(find_by_name("voip_Bell_CA.conf"), row("Bell_CA", "302"));
  EXPECT_EQ(find_by_name("/tmp/carrier_config/"), (Found{0, expected_carriers().front()}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(CarrierTest, WithoutAFileNameNothingIsLookedFor) {
  capi_carrier_info carrier{};
  EXPECT_EQ(capi_get_carrier_info_ext(nullptr, &carrier), -1);
  EXPECT_EQ(capi_get_carrier_info_ext("", &carrier), -1);
  const LogLine failure{kLogWarning, "capi_get_carrier_info_ext", "Invalid carrier file"};
  EXPECT_EQ(captured_log(), lines({failure, failure}));
}

TEST_F(CarrierTest, AnUnknownFileNameIsHandedToThePlaceholder) {
  start_master();
  capi_carrier_info carrier;
  memset(&carrier, '~', sizeof carrier);
  EXPECT_EQ(capi_get_carrier_info_ext("Nobody", &carrier), 0);
  expect_cleared(carrier);
  capi_uninit();
  clear_log();
  EXPECT_EQ(capi_get_carrier_info_ext("Nobody", &carrier), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogErr, "capi_cfg_backend_get_carrier_info_ext", "OMG,please fix me"}}));
}

TEST_F(CarrierTest, ThePlaceholdersComplain) {
  start_master();
  capi_carrier_info carrier{};
  EXPECT_EQ(capi_cfg_backend_get_carrier_info("310260123456789", kIccid, &carrier), -1);
  EXPECT_EQ(capi_cfg_backend_get_carrier_info_ext("Verizon", &carrier), 0);
  EXPECT_EQ(capi_cfg_backend_get_carrier_info_ext("Verizon", nullptr), -1);
  expect_cleared(carrier);
  const LogLine ext{kLogErr, "capi_cfg_backend_get_carrier_info_ext", "OMG,please fix me"};
  EXPECT_EQ(captured_log(),
            lines({{kLogErr, "capi_cfg_backend_get_carrier_info", "OMG,please fix me"}, ext, ext}));
}

// What a walk over the carriers has seen.
struct Walk {
  std::vector<uint32_t> all;
  std::vector<uint32_t> by_imsi;
  std::vector<uint32_t> by_both;
  size_t end_after = SIZE_MAX;
};

int take_carrier(const capi_carrier_info* carrier, int fits, void* user) {
  constexpr int kBoth = CAPI_CARRIER_FITS_IMSI | CAPI_CARRIER_FITS_ICCID;
  Walk& walk = *static_cast<Walk*>(user);
  walk.all.push_back(carrier->id);
  if ((fits & CAPI_CARRIER_FITS_IMSI) != 0) walk.by_imsi.push_back(carrier->id);
  if (fits == kBoth) walk.by_both.push_back(carrier->id);
  return walk.all.size() == walk.end_after ? 5 : 0;
}

TEST_F(CarrierTest, AWalkSeesEveryCarrierInTheOrderOfTrying) {
  Walk walk;
  EXPECT_EQ(capi_carrier_for_each(nullptr, nullptr, take_carrier, &walk), 0);
  std::vector<uint32_t> expected;
  for (const ExpectedCarrier& carrier : expected_carriers()) expected.push_back(carrier.id);
  EXPECT_EQ(walk.all, expected);
  EXPECT_TRUE(walk.by_imsi.empty());
}

TEST_F(CarrierTest, AWalkTellsWhichCarriersSuitASim) {
  Walk walk;
  EXPECT_EQ(capi_carrier_for_each("454001234567890", "8985235000000000001", take_carrier, &walk),
            0);
  EXPECT_EQ(walk.by_imsi, (std::vector<uint32_t>{29, 31}));
  EXPECT_EQ(walk.by_both, (std::vector<uint32_t>{31}));
}

TEST_F(CarrierTest, AWalkEndsAtTheCallbacksWish) {
  Walk walk;
  walk.end_after = 3;
  EXPECT_EQ(capi_carrier_for_each("001010000000000", nullptr, take_carrier, &walk), 5);
  EXPECT_EQ(walk.all.size(), 3u);
  EXPECT_EQ(capi_carrier_for_each("001010000000000", nullptr, nullptr, &walk), -1);
}

}  // namespace
}  // namespace capi::test
