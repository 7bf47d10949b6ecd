// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl status.
#include "commands.h"
#include "lines.h"
#include "locks.h"
#include "stores.h"

namespace capictl {
namespace {

// What a getter of an index tells; "" when it does not.
template <typename Getter>
std::string text_from(Getter getter, int index) {
  char text[256] = {};
  return getter(index, text, static_cast<int>(sizeof text)) == 0 ? text : "";
}

std::string firmware() {
  char text[64] = {};
  capi_get_firmware_version(text, sizeof text);
  std::string version = text;
  return version.erase(version.find_last_not_of("\r\n") + 1);
}

Table adapter_table() {
  capi_presence presence{};
  capi_get_presence(&presence);
  Table table = Table::of_facts("adapter");
  table.add({"state", presence.state == CAPI_PRESENCE_PUBLISHED ? "published" : "not published"});
  table.add_fact({"since", Type::Time}, time_text(presence.published_at));
  table.add_fact({"generation", Type::Number}, std::to_string(presence.generation));
  table.add_fact({"replaced", Type::Number}, std::to_string(presence.replaced));
  return table;
}

Table device_table(const cfg_shared_record& record) {
  Table table = Table::of_facts("device");
  table.add({"model", text_from(capi_get_hardware_info, CAPI_HW_MODEL_NAME)});
  table.add({"hardware", text_from(capi_get_hardware_info, CAPI_HW_VERSION)});
  table.add({"serial number", text_from(capi_get_hardware_info, CAPI_HW_SERIAL)});
  table.add({"firmware", firmware()});
  table.add({"IMEI", text_from(capi_get_hardware_info, CAPI_HW_IMEI)});
  table.add({"WAN MAC", text_from(capi_get_hardware_info, CAPI_HW_WAN_MAC)});
  table.add({"WAN address", text_of(record.wan_ip)});
  table.add({"data directory", text_of(record.directory[1])});
  return table;
}

Table sim_table() {
  Table table = Table::of_facts("sim");
  table.add({"ICCID", text_from(capi_get_simcard_info, CAPI_SIM_ICCID)});
  table.add({"IMSI", text_from(capi_get_simcard_info, CAPI_SIM_IMSI)});
  table.add({"number", text_from(capi_get_simcard_info, CAPI_SIM_MSISDN)});
  capi_carrier_info carrier{};
  const bool is_known = capi_get_carrier_info(nullptr, nullptr, &carrier) == 0;
  table.add_fact({"carrier", Type::Number}, is_known ? std::to_string(carrier.id) : "unknown");
  table.add({"carrier file", is_known ? carrier.file : ""});
  table.add_fact({"may be used", Type::Flag}, capi_check_simcard() == 0 ? "yes" : "no");
  return table;
}

// What the record tells without the library, while lock 0 is held.
std::vector<Table> tables_of(const cfg_shared_record& record) {
  Table adapter = Table::of_facts("adapter");
  adapter.add({"state", "locked"});
  return {adapter, line_table(record), registration_table(record), lock_table()};
}

std::vector<Table> all_tables(const cfg_shared_record& record) {
  std::vector<Table> tables = {adapter_table(), device_table(record)};
  // What is known of the SIM is kept in files under this lock.
  if (await_lock(CAPI_LOCK_VOP_RUN_INFO, Patience::Short)) tables.push_back(sim_table());
  tables.push_back(line_table(record));
  tables.push_back(registration_table(record));
  tables.push_back(store_table());
  tables.push_back(lock_table());
  return tables;
}

void show(const Context& context) {
  const Attachment adapter(context, Need::Record);
  const cfg_shared_record record = adapter.snapshot();
  print(status_tables(adapter, record), context);
}

}  // namespace

std::vector<Table> status_tables(const Attachment& adapter, const cfg_shared_record& record) {
  return adapter.is_whole() ? all_tables(record) : tables_of(record);
}

void add_status(CLI::App& app, Context& context) {
  CLI::App* command =
      app.add_subcommand("status", "Show adapter, device, SIM, lines, stores and locks");
  command->footer(
      "Under \"adapter\" stand the time when the settings were published, the generation\n"
      "of the record, which grows with each change, and how often another record took\n"
      "the place of this process's one. While somebody holds a lock for longer than a second, it "
      "is told "
      "who, and what needs that lock is left out.\n\nExample:\n  capictl status --json");
  command->callback([&context] { show(context); });
}

}  // namespace capictl
