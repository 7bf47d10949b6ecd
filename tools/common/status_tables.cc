// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "status_tables.h"

#include <cstring>

#include "locks.h"
#include "stores.h"
#include "text.h"

namespace tools {
namespace {

// ---- Lines -----------------------------------------------------------------------------------

bool wants(int wanted, int index) { return wanted == 0 || wanted == index + 1; }

bool was_published(const capi_line_reg_stat& stat) { return stat.magic[0] != '\0'; }

int registered_stacks(const cfg_shared_record& record, int line) {
  int count = 0;
  for (const auto& stack : record.reg_stat) {
    if (was_published(stack[line]) && stack[line].registered != 0) ++count;
  }
  return count;
}

std::string phone_status(const cfg_shared_record& record, int line) {
  const std::string status = text_of(record.phone_phy_status[line]);
  return status.empty() ? "Unknown" : status;
}

// With its texts, which only a library that is attached fills in.
capi_line_reg_stat registration(const cfg_shared_record& record, int line, int stack, Texts texts) {
  capi_line_reg_stat stat{};
  if (texts == Texts::FromLibrary && capi_live_get_line_reg_stat(line, &stat, stack) == 0)
    return stat;
  stat = record.reg_stat[stack][line];
  strcpy(stat.status_text, stat.registered != 0 ? "Registered" : "Unregistered");
  return stat;
}

// ---- The adapter -----------------------------------------------------------------------------

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

}  // namespace

Table line_table(const cfg_shared_record& record, int line) {
  Table table("lines", {{"line", Type::Number},
                        {"enabled", Type::Flag},
                        {"name"},
                        {"user"},
                        {"phone"},
                        {"hook", Type::Flag, "off_hook"},
                        {"stacks", Type::Number, "registered_stacks"},
                        {"mail", Type::Flag, "voice_mail"}});
  for (int i = 0; i < CAPI_SIP_LINES; ++i) {
    if (!wants(line, i)) continue;
    const capi_voice_sip_line& config = record.sip_line[i];
    table.add({std::to_string(i + 1), std::to_string(config.enable), text_of(config.display_name),
               text_of(config.user_name), phone_status(record, i),
               std::to_string(record.shared_phone_status[i].hook),
               std::to_string(registered_stacks(record, i)),
               std::to_string(record.shared_reg_summary[i].vm)});
  }
  return table;
}

Table registration_table(const cfg_shared_record& record, int line, Texts texts) {
  Table table("registrations", {{"line", Type::Number},
                                {"stack", Type::Number},
                                {"type"},
                                {"status"},
                                {"since", Type::Time},
                                {.title = "reason", .is_long = true},
                                {.title = "detail", .is_long = true}});
  for (int i = 0; i < CAPI_SIP_LINES; ++i) {
    for (int stack = 0; stack < CAPI_VOICE_STACKS; ++stack) {
      if (!wants(line, i) || !was_published(record.reg_stat[stack][i])) continue;
      const capi_line_reg_stat stat = registration(record, i, stack, texts);
      table.add({std::to_string(i + 1), std::to_string(stack + 1),
                 text_of(record.voice_stack[stack].type), text_of(stat.status_text),
                 time_text(stat.registered != 0 ? stat.reg_time : stat.unreg_time),
                 text_of(stat.reason_text), text_of(stat.detail_text)});
    }
  }
  return table;
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

std::vector<Table> status_tables(const Attachment& adapter, const cfg_shared_record& record) {
  return adapter.is_whole() ? all_tables(record) : tables_of(record);
}

}  // namespace tools
