// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl carrier.
#include <memory>

#include "carriers.h"
#include "commands.h"
#include "print.h"

namespace tools::capictl {
namespace {

struct Args {
  std::string imsi;
  std::string iccid;
};

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
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOP_RUN_INFO});
  const CarrierMatch match = match_carriers(args.imsi, args.iccid);
  print(match.table, context);
  if (match.is_known) return;
  fprintf(stderr, "capictl: no carrier fits IMSI %s; the device treats the SIM as carrier %u\n",
          match.imsi.c_str(), match.carrier);
  context.exit_code = kFinding;
}

void list(const Context& context) { print(carrier_table(), context); }

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

}  // namespace tools::capictl
