// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The carriers as tests expect them, written down apart from the library's own table.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace capi::test {

struct ExpectedCarrier {
  uint32_t id;
  uint32_t attribute1;
  uint32_t attribute2;
  uint32_t mnc_length;
  std::string file;  // in "/tmp/carrier_config/"
  std::string iccid_prefix;
  std::string mcc;
  std::string mnc_list;

  bool operator==(const ExpectedCarrier&) const = default;
};

inline std::vector<std::string> mncs(const ExpectedCarrier& carrier) {
  std::vector<std::string> result;
  std::istringstream list(carrier.mnc_list);
  for (std::string mnc; std::getline(list, mnc, ',');) result.push_back(mnc);
  return result;
}

inline const std::vector<ExpectedCarrier> kExpectedCarriers = {
    {38, 0, 0, 2, "voip_TEST_XX.conf", "", "001", "01"},
    {1, 1, 0, 3, "voip_TMobile_US.conf", "", "310",
     "160,200,210,220,230,240,250,260,270,310,490,660,800"},
    {1, 1, 0, 3, "voip_TMobile_US.conf", "", "311", "490,660,882"},
    {1, 1, 0, 3, "voip_TMobile_US.conf", "", "312", "250"},
    {2, 0, 0, 2, "voip_CMCC_CN.conf", "", "460", "00,02,04,07,08"},
    {3, 0, 0, 2, "voip_CUCC_CN.conf", "", "460", "01,06,09,10"},
    {4, 0, 0, 2, "voip_CTCC_CN.conf", "", "460", "03,11,12"},
    {5, 1, 1, 2, "voip_APT_Taiwan.conf", "", "466", "05"},
    {6, 0, 0, 2, "voip_FET_Taiwan.conf", "", "466", "01,03"},
    {7, 0, 0, 2, "voip_CHT_Taiwan.conf", "", "466", "92"},
    {8, 1, 1, 2, "voip_TM_Taiwan.conf", "", "466", "97"},
    {9, 0, 0, 2, "voip_TSTAR_Taiwan.conf", "", "466", "89"},
    {10, 0, 0, 2, "voip_VODAFONE_ES.conf", "", "214", "01,06"},
    {11, 0, 0, 2, "voip_ORANGE_ES.conf", "", "214", "03,09,11"},
    {12, 0, 0, 2, "voip_MOVISTAR_ES.conf", "", "214", "05,07"},
    {13, 0, 0, 2, "voip_OTHER_ES.conf", "", "214",
     "02,04,08,10,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,33,34,35,36,51"},
    {14, 0, 0, 2, "voip_MOVISTAR_AR.conf", "", "722", "07"},
    {15, 0, 0, 3, "voip_TUENTI_AR.conf", "", "722", "010"},
    {16, 0, 0, 2, "voip_VIVO_BR.conf", "", "724", "11,06,10,23"},
    {17, 0, 0, 2, "voip_MOVISTAR_CL.conf", "", "730", "02,07"},
    {18, 0, 0, 3, "voip_MOVISTAR_CO.conf", "", "732", "123"},
    {19, 0, 0, 2, "voip_MOVISTAR_PE.conf", "", "716", "06"},
    {20, 0, 0, 2, "voip_VODAFONE_DE.conf", "", "262", "02,04,09"},
    {21, 0, 0, 2, "voip_TMobile_DE.conf", "", "262", "01,06"},
    {22, 0, 0, 2, "voip_O2_DE.conf", "", "262", "03,07,08,11,05,77"},
    {23, 0, 0, 2, "voip_KDDI_JP.conf", "", "440",
     "07,08,50,51,52,53,54,55,56,70,71,72,73,74,75,76,77,79,80,81,82,83,84,85,86,88,89"},
    {27, 1, 2, 3, "voip_Verizon_US.conf", "", "310",
     "004,005,006,012,013,590,591,592,593,594,595,596,597,598,599,820,890,891,892,893,894,895,896,"
     "897,898,899,910"},
    {27, 1, 2, 3, "voip_Verizon_US.conf", "", "311",
     "012,110,270,271,272,273,274,275,276,277,278,279,280,281,282,283,284,285,286,287,288,289,390,"
     "480,590"},
    {27, 1, 2, 3, "voip_Verizon_US.conf", "", "312", "770"},
    {24, 1, 1, 3, "voip_ATT_US.conf", "", "310",
     "170,410,560,280,030,950,016,070,080,090,380,680,980"},
    {24, 1, 1, 3, "voip_ATT_US.conf", "", "311", "180,070,090,190"},
    {24, 1, 1, 3, "voip_ATT_US.conf", "", "312", "090"},
    {24, 1, 1, 3, "voip_ATT_US.conf", "", "313", "210"},
    {25, 0, 1, 3, "voip_ATT_Cricket_US.conf", "", "310", "150"},
    {26, 0, 1, 3, "voip_ATT_FirstNet_US.conf", "", "313", "100"},
    {26, 0, 1, 3, "voip_ATT_FirstNet_US.conf", "", "312", "670"},
    {28, 0, 0, 2, "voip_Smartone_HK.conf", "", "454", "15,06,17"},
    {29, 0, 0, 2, "voip_CSL_HK.conf", "", "454", "00,02,10,18"},
    {30, 0, 0, 2, "voip_Telia_LT.conf", "", "246", "01"},
    {31, 0, 0, 2, "voip_Webbing.conf", "8985235", "454", "35"},
    {31, 0, 0, 2, "voip_Webbing.conf", "8985235", "208", "01"},
    {31, 0, 0, 2, "voip_Webbing.conf", "8985235", "240", "07"},
    {31, 0, 0, 2, "voip_Webbing.conf", "8985235", "425", "01"},
    {31, 0, 0, 2, "voip_Webbing.conf", "8985235", "454", "00"},
    {32, 0, 0, 2, "voip_VODAFONE_NZ.conf", "", "530", "01"},
    {33, 1, 2, 3, "voip_Bell_CA.conf", "", "302", "250,610,630,640,690"},
    {34, 0, 0, 3, "voip_Telus_CA.conf", "", "302", "220,221,222,360,420,760,860"},
    {35, 1, 2, 3, "voip_Cellcom_US.conf", "", "311", "840"},
    {36, 0, 0, 3, "voip_Jio_IN.conf", "", "405",
     "874,840,854,855,856,857,858,859,860,861,862,863,864,865,866,867,868,869,870,871,872,873"},
    {37, 0, 0, 3, "voip_Rogers_CA.conf", "", "302", "320,720,721,722,723,724,725,740,741,820,821"},
};

}  // namespace capi::test
