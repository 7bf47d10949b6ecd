// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The carriers as tests expect them: those of the golden file, which people have looked at.
#pragma once

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "support/files.h"

namespace capi::test {

inline constexpr char kGoldenCarriers[] = "tests/carrier/golden/carriers.tsv";

struct ExpectedCarrier {
  uint32_t id;
  uint32_t attribute1;
  uint32_t attribute2;
  uint32_t mnc_length;
  std::string file;
  std::string iccid_prefix;
  std::string mcc;
  std::string mnc_list;

  bool operator==(const ExpectedCarrier&) const = default;
};

// The carrier that a line of the golden file tells of.
inline ExpectedCarrier parse_carrier(const std::string& line) {
  std::istringstream in(line);
  ExpectedCarrier carrier{};
  in >> carrier.id >> carrier.attribute1 >> carrier.attribute2 >> carrier.mnc_length;
  in.ignore();
  for (std::string* text :
       {&carrier.file, &carrier.iccid_prefix, &carrier.mcc, &carrier.mnc_list}) {
    std::getline(in, *text, '\t');
  }
  return carrier;
}

inline const std::vector<ExpectedCarrier>& expected_carriers() {
  static const std::vector<ExpectedCarrier> carriers = [] {
    std::vector<ExpectedCarrier> result;
    for (const std::string& line : read_lines(source_file(kGoldenCarriers))) {
      result.push_back(parse_carrier(line));
    }
    return result;
  }();
  return carriers;
}

inline uint32_t highest_carrier_id() {
  const auto by_id = [](const ExpectedCarrier& a, const ExpectedCarrier& b) { return a.id < b.id; };
  return std::max_element(expected_carriers().begin(), expected_carriers().end(), by_id)->id;
}

inline std::vector<std::string> mncs(const ExpectedCarrier& carrier) {
  std::vector<std::string> result;
  std::istringstream list(carrier.mnc_list);
  for (std::string mnc; std::getline(list, mnc, ',');) result.push_back(mnc);
  return result;
}

}  // namespace capi::test
