// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl carrier.
#include <memory>

#include "commands.h"
#include "table.h"

namespace capictl {
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

struct Args {
  std::string imsi;
  std::string iccid;
};

std::string sim_text(int index) {
  char text[32] = {};
  capi_get_simcard_info(index, text, sizeof text - 1);
  return text;
}

// A command that is misspelt would be an IMSI, too.
void refuse_others_than_digits(const std::string& text) {
  if (text.find_first_not_of("0123456789") == std::string::npos) return;
  throw Failure(
      "\"" + text + "\" is no IMSI or ICCID, which have digits only" + guess(text, {"list"}),
      {kUsage, text});
}

void explain(Context& context, const Args& args) {
  refuse_others_than_digits(args.imsi);
  refuse_others_than_digits(args.iccid);
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOP_RUN_INFO});
  const std::string imsi = args.imsi.empty() ? sim_text(CAPI_SIM_IMSI) : args.imsi.substr(0, 31);
  const std::string iccid =
      args.iccid.empty() ? sim_text(CAPI_SIM_ICCID) : args.iccid.substr(0, 31);
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
  print(walk.table, context);
  if (is_known) return;
  fprintf(stderr, "capictl: no carrier fits IMSI %s; the device treats the SIM as carrier %u\n",
          imsi.c_str(), winner.id);
  context.exit_code = kFinding;
}

void list(const Context& context) {
  Walk walk{Table("carriers", kRow)};
  capi_carrier_for_each(nullptr, nullptr, take_carrier, &walk);
  print(walk.table, context);
}

}  // namespace

void add_carrier(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("carrier", "Tell whose SIM it is, and why");
  const auto args = std::make_shared<Args>();
  command->add_option("IMSI", args->imsi, "Instead of that of the inserted SIM");
  command->add_option("ICCID", args->iccid, "Instead of that of the inserted SIM");
  command->footer(
      "Prints every row of the carrier table that fits, and which was chosen. Exit code 1\n"
      "when there is none.\n\nExamples:\n  capictl carrier\n"
      "  capictl carrier 454001234567890 8985235000000000001");
  CLI::App* all = command->add_subcommand("list", "Print all carriers in the order of trying");
  all->footer("Needs no adapter.\n\nExample:\n  capictl carrier list");
  all->callback([&context] { list(context); });
  command->callback([command, args, &context] {
    if (command->get_subcommands().empty()) explain(context, *args);
  });
}

}  // namespace capictl
