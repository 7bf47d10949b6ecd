// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "carriers.h"

#include <capi.h>

#include "adapter.h"

namespace tools {
namespace {

const std::vector<Column> kRow = {{"row", Type::Number},
                                  {"id", Type::Number, "carrier"},
                                  {"file"},
                                  {"MCC"},
                                  {.title = "MNCs", .is_long = true},
                                  {"len", Type::Number, "mnc_length"},
                                  {"ICCID", Type::Text, "iccid_prefix"}};

std::vector<std::string> cells(int row, const capi_carrier_info& carrier) {
  return {std::to_string(row), std::to_string(carrier.id),         carrier.file,        carrier.mcc,
          carrier.mnc_list,    std::to_string(carrier.mnc_length), carrier.iccid_prefix};
}

// A walk over the carriers into a table.
struct Walk {
  Table table;
  int row = 0;
  // The one that won, when the walk is about a SIM.
  const capi_carrier_info* winner = nullptr;
  bool winner_was_seen = false;
};

int take_carrier(const capi_carrier_info* carrier, int, void* user) {
  Walk& walk = *static_cast<Walk*>(user);
  walk.table.add(cells(++walk.row, *carrier));
  return 0;
}

bool are_same(const capi_carrier_info& a, const capi_carrier_info& b) {
  return cells(0, a) == cells(0, b);
}

int take_match(const capi_carrier_info* carrier, int fits, void* user) {
  Walk& walk = *static_cast<Walk*>(user);
  ++walk.row;
  if ((fits & CAPI_CARRIER_FITS_IMSI) == 0) return 0;
  const bool by_iccid = (fits & CAPI_CARRIER_FITS_ICCID) != 0;
  const bool won =
      walk.winner != nullptr && !walk.winner_was_seen && are_same(*walk.winner, *carrier);
  if (won) walk.winner_was_seen = true;
  std::vector<std::string> row = cells(walk.row, *carrier);
  row.push_back(by_iccid ? "IMSI and ICCID" : "IMSI");
  row.push_back(won ? "yes" : "no");
  row.push_back(won ? (by_iccid ? "fits both" : "first that fits the IMSI") : "");
  walk.table.add(row);
  return 0;
}

std::string sim_text(int index) {
  char text[32] = {};
  capi_get_simcard_info(index, text, sizeof text - 1);
  return text;
}

}  // namespace

CarrierMatch match_carriers(const std::string& imsi_or_none, const std::string& iccid_or_none) {
  const std::string imsi =
      imsi_or_none.empty() ? sim_text(CAPI_SIM_IMSI) : imsi_or_none.substr(0, 31);
  const std::string iccid =
      iccid_or_none.empty() ? sim_text(CAPI_SIM_ICCID) : iccid_or_none.substr(0, 31);
  if (imsi.empty() || iccid.empty()) {
    throw Failure("no SIM is inserted; name an IMSI and an ICCID: capictl carrier IMSI ICCID",
                  {kNotFound});
  }
  capi_carrier_info winner{};
  const bool is_known = capi_get_carrier_info(imsi.c_str(), iccid.c_str(), &winner) == 0;
  std::vector<Column> columns = kRow;
  columns[2].is_long = true;  // there is less room
  columns.push_back({"fits by"});
  columns.push_back({"chosen", Type::Flag});
  columns.push_back({.title = "why", .is_long = true});
  Walk walk{Table("carriers", columns), 0, is_known ? &winner : nullptr};
  capi_carrier_for_each(imsi.c_str(), iccid.c_str(), take_match, &walk);
  if (is_known && !walk.winner_was_seen) {
    std::vector<std::string> row = cells(0, winner);
    row[0] = "";
    row.insert(row.end(), {"test SIM file", "yes", "no other fits"});
    walk.table.add(row);
  }
  return {std::move(walk.table), is_known, imsi, winner.id};
}

Table carrier_table() {
  Walk walk{Table("carriers", kRow)};
  capi_carrier_for_each(nullptr, nullptr, take_carrier, &walk);
  return std::move(walk.table);
}

}  // namespace tools
