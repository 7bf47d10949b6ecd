// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The carriers that the device knows. The order counts: the first row that fits an IMSI wins,
// unless a later one fits the ICCID as well. A new carrier is one more row, or several with one id.
//
// An IMSI fits a row that has its MCC and, in the list, the digits behind it, of which "mnc_length"
// are the MNC. An ICCID prefix tells apart those who use another network's numbers; most rows have
// none. Ids and file names are known to other programs and stay.
//
// Leaves to carrier/carrier.cc how IMSI and ICCID are had, and to carrier_settings.cc the files.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/text.h"
#include "foundation/text_table.h"

namespace capi::carrier_rows {

template <typename Text>
struct RowOf {
  uint8_t id;
  uint8_t attribute1;
  uint8_t attribute2;
  uint8_t mnc_length;
  Text file;
  Text iccid_prefix;
  Text mcc;
  Text mnc_list;

  constexpr RowOf<TextOffset> pack(TextPool& pool) const {
    return {id,
            attribute1,
            attribute2,
            mnc_length,
            pool.add(file),
            pool.add(iccid_prefix),
            pool.add(mcc),
            pool.add(mnc_list)};
  }
};
using CarrierDraft = RowOf<std::string_view>;
using Row = RowOf<TextOffset>;

#define ROW(id, attribute1, attribute2, mnc_length, file, ...) \
  CarrierDraft { id, attribute1, attribute2, mnc_length, "/tmp/carrier_config/" file, __VA_ARGS__ }

inline constexpr CarrierDraft kDrafts[] = {
    ROW(38, 0, 0, 2, "voip_TEST_XX.conf", "", "001", "01"),
    ROW(1, 1, 0, 3, "voip_TMobile_US.conf", "", "310",
        "160,200,210,220,230,240,250,260,270,310,490,660,800"),
    ROW(1, 1, 0, 3, "voip_TMobile_US.conf", "", "311", "490,660,882"),
    ROW(1, 1, 0, 3, "voip_TMobile_US.conf", "", "312", "250"),
    ROW(2, 0, 0, 2, "voip_CMCC_CN.conf", "", "460", "00,02,04,07,08"),
    ROW(3, 0, 0, 2, "voip_CUCC_CN.conf", "", "460", "01,06,09,10"),
    ROW(4, 0, 0, 2, "voip_CTCC_CN.conf", "", "460", "03,11,12"),
    ROW(5, 1, 1, 2, "voip_APT_Taiwan.conf", "", "466", "05"),
    ROW(6, 0, 0, 2, "voip_FET_Taiwan.conf", "", "466", "01,03"),
    ROW(7, 0, 0, 2, "voip_CHT_Taiwan.conf", "", "466", "92"),
    ROW(8, 1, 1, 2, "voip_TM_Taiwan.conf", "", "466", "97"),
    ROW(9, 0, 0, 2, "voip_TSTAR_Taiwan.conf", "", "466", "89"),
    ROW(10, 0, 0, 2, "voip_VODAFONE_ES.conf", "", "214", "01,06"),
    ROW(11, 0, 0, 2, "voip_ORANGE_ES.conf", "", "214", "03,09,11"),
    ROW(12, 0, 0, 2, "voip_MOVISTAR_ES.conf", "", "214", "05,07"),
    ROW(13, 0, 0, 2, "voip_OTHER_ES.conf", "", "214",
        "02,04,08,10,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,33,34,35,36,51"),
    ROW(14, 0, 0, 2, "voip_MOVISTAR_AR.conf", "", "722", "07"),
    ROW(15, 0, 0, 3, "voip_TUENTI_AR.conf", "", "722", "010"),
    ROW(16, 0, 0, 2, "voip_VIVO_BR.conf", "", "724", "11,06,10,23"),
    ROW(17, 0, 0, 2, "voip_MOVISTAR_CL.conf", "", "730", "02,07"),
    ROW(18, 0, 0, 3, "voip_MOVISTAR_CO.conf", "", "732", "123"),
    ROW(19, 0, 0, 2, "voip_MOVISTAR_PE.conf", "", "716", "06"),
    ROW(20, 0, 0, 2, "voip_VODAFONE_DE.conf", "", "262", "02,04,09"),
    ROW(21, 0, 0, 2, "voip_TMobile_DE.conf", "", "262", "01,06"),
    ROW(22, 0, 0, 2, "voip_O2_DE.conf", "", "262", "03,07,08,11,05,77"),
    ROW(23, 0, 0, 2, "voip_KDDI_JP.conf", "", "440",
        "07,08,50,51,52,53,54,55,56,70,71,72,73,74,75,76,77,79,80,81,82,83,84,85,86,88,89"),
    ROW(27, 1, 2, 3, "voip_Verizon_US.conf", "", "310",
        "004,005,006,012,013,590,591,592,593,594,595,596,597,598,599,820,890,891,892,893,894,895,"
        "896,897,898,899,910"),
    ROW(27, 1, 2, 3, "voip_Verizon_US.conf", "", "311",
        "012,110,270,271,272,273,274,275,276,277,278,279,280,281,282,283,284,285,286,287,288,289,"
        "390,480,590"),
    ROW(27, 1, 2, 3, "voip_Verizon_US.conf", "", "312", "770"),
    ROW(24, 1, 1, 3, "voip_ATT_US.conf", "", "310",
        "170,410,560,280,030,950,016,070,080,090,380,680,980"),
    ROW(24, 1, 1, 3, "voip_ATT_US.conf", "", "311", "180,070,090,190"),
    ROW(24, 1, 1, 3, "voip_ATT_US.conf", "", "312", "090"),
    ROW(24, 1, 1, 3, "voip_ATT_US.conf", "", "313", "210"),
    ROW(25, 0, 1, 3, "voip_ATT_Cricket_US.conf", "", "310", "150"),
    ROW(26, 0, 1, 3, "voip_ATT_FirstNet_US.conf", "", "313", "100"),
    ROW(26, 0, 1, 3, "voip_ATT_FirstNet_US.conf", "", "312", "670"),
    ROW(28, 0, 0, 2, "voip_Smartone_HK.conf", "", "454", "15,06,17"),
    ROW(29, 0, 0, 2, "voip_CSL_HK.conf", "", "454", "00,02,10,18"),
    ROW(30, 0, 0, 2, "voip_Telia_LT.conf", "", "246", "01"),
    ROW(31, 0, 0, 2, "voip_Webbing.conf", "8985235", "454", "35"),
    ROW(31, 0, 0, 2, "voip_Webbing.conf", "8985235", "208", "01"),
    ROW(31, 0, 0, 2, "voip_Webbing.conf", "8985235", "240", "07"),
    ROW(31, 0, 0, 2, "voip_Webbing.conf", "8985235", "425", "01"),
    ROW(31, 0, 0, 2, "voip_Webbing.conf", "8985235", "454", "00"),
    ROW(32, 0, 0, 2, "voip_VODAFONE_NZ.conf", "", "530", "01"),
    ROW(33, 1, 2, 3, "voip_Bell_CA.conf", "", "302", "250,610,630,640,690"),
    ROW(34, 0, 0, 3, "voip_Telus_CA.conf", "", "302", "220,221,222,360,420,760,860"),
    ROW(35, 1, 2, 3, "voip_Cellcom_US.conf", "", "311", "840"),
    ROW(36, 0, 0, 3, "voip_Jio_IN.conf", "", "405",
        "874,840,854,855,856,857,858,859,860,861,862,863,864,865,866,867,868,869,870,871,872,873"),
    ROW(37, 0, 0, 3, "voip_Rogers_CA.conf", "", "302",
        "320,720,721,722,723,724,725,740,741,820,821"),
};

#undef ROW

inline constexpr auto kRows = make_text_table<kDrafts>();

// The highest id that a row has.
inline constexpr uint8_t kMaxId = [] {
  uint8_t max = 0;
  for (const auto& row : kDrafts) max = std::max(max, row.id);
  return max;
}();

// What an unknown SIM gets.
inline constexpr const Row& kTestRow = kRows[0];

// Calls "visit" with every MNC of a row until that returns true. Returns whether it did.
template <typename Visit>
bool any_mnc(const Row& row, Visit&& visit) {
  std::string_view rest = kRows.text(row.mnc_list);
  while (!rest.empty()) {
    const std::string_view mnc = head(rest, rest.find(','));
    if (visit(mnc)) return true;
    rest = tail(rest, mnc.size() + 1);
  }
  return false;
}

// Whether an IMSI, or what is made from one, belongs to a network.
inline bool begins_with_plmn(std::string_view text, std::string_view mcc, std::string_view mnc) {
  return starts_with(text, mcc) && starts_with(tail(text, mcc.size()), mnc);
}

}  // namespace capi::carrier_rows
