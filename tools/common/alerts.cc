// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "alerts.h"

#include <algorithm>
#include <cstdlib>

#include "change.h"
#include "text.h"

namespace tools {
namespace {

using Alerts = std::vector<Alert>;

const Table* find_table(const std::vector<Table>& tables, const char* name) {
  const auto found = std::ranges::find(tables, name, &Table::name);
  return found == tables.end() ? nullptr : &*found;
}

// A cell of a row, by the name that it has in JSON; empty where the table has no such column.
std::string cell(const Table& table, const std::vector<std::string>& row, const char* field) {
  const auto found = std::ranges::find(table.columns(), field, &Column::name);
  return found == table.columns().end() ? ""
                                        : row[static_cast<size_t>(found - table.columns().begin())];
}

// The same of a table of facts.
std::string fact(const Table& table, const char* name) {
  const auto found = std::ranges::find(table.facts(), name, &Column::name);
  return found == table.facts().end()
             ? ""
             : table.rows()[static_cast<size_t>(found - table.facts().begin())][1];
}

// ---- Lines -------------------------------------------------------------------------------------

// Where the stacks tell different reasons, that of the latest news counts. Times are texts of one
// form, which sort as the times do.
Alert unregistered(const std::string& line, const Table* registrations) {
  Alert alert{"line-" + line + "-registration", Severity::Critical, "", ""};
  std::string reason = "not registered";
  bool is_told = false;
  for (const auto& row :
       registrations != nullptr ? registrations->rows() : std::vector<std::vector<std::string>>()) {
    if (cell(*registrations, row, "line") != line) continue;
    const std::string since = cell(*registrations, row, "since");
    if (is_told && since <= alert.since) continue;
    is_told = true;
    alert.since = since;
    const std::string text = lower(cell(*registrations, row, "reason"));
    const std::string detail = cell(*registrations, row, "detail");
    reason = (text.empty() ? "not registered" : text) + (detail.empty() ? "" : ", " + detail);
  }
  // A device that has just started has not tried yet.
  if (!is_told) alert.severity = Severity::Warning;
  alert.text = "Line " + line + ": " + (is_told ? reason : "no voice stack has registered it yet");
  return alert;
}

void look_at_lines(const std::vector<Table>& status, Alerts& alerts) {
  const Table* lines = find_table(status, "lines");
  if (lines == nullptr) return;
  for (const auto& row : lines->rows()) {
    const std::string line = cell(*lines, row, "line");
    const bool is_enabled = cell(*lines, row, "enabled") != "0";
    if (is_enabled && cell(*lines, row, "registered_stacks") == "0") {
      alerts.push_back(unregistered(line, find_table(status, "registrations")));
    }
    if (cell(*lines, row, "voice_mail") != "0") {
      alerts.push_back({"line-" + line + "-voice-mail", Severity::Info,
                        "Line " + line + ": voice mail is waiting", ""});
    }
  }
}

// ---- SIM and network ---------------------------------------------------------------------------

void look_at_sim(const std::vector<Table>& status, Alerts& alerts) {
  const Table* sim = find_table(status, "sim");
  if (sim == nullptr) return;
  if (fact(*sim, "iccid").empty() && fact(*sim, "imsi").empty()) {
    alerts.push_back({"sim-missing", Severity::Critical, "There is no SIM", ""});
    return;
  }
  if (fact(*sim, "carrier") == "unknown") {
    alerts.push_back({"carrier-unknown", Severity::Warning,
                      "The SIM's carrier is unknown, so the device has no settings for it", ""});
  }
  if (fact(*sim, "may_be_used") == "no") {
    alerts.push_back(
        {"sim-not-allowed", Severity::Warning, "The SIM may not be used in this device", ""});
  }
}

void look_at_network(const std::vector<Table>& status, Alerts& alerts) {
  const Table* device = find_table(status, "device");
  if (device == nullptr || !fact(*device, "wan_address").empty()) return;
  alerts.push_back(
      {"wan-address", Severity::Warning, "The device has no address on its wide area network", ""});
}

// ---- Stores ------------------------------------------------------------------------------------

// Lists of calls are there for the last ones, and full as a rule. That messages go is news.
constexpr long kManyMessages = CAPI_SMS_MAX_MESSAGES * 9 / 10;

// The lists of calls share a file.
bool is_of_calls(const std::string& store) { return store.starts_with("calls of "); }

std::string sentence_of_state(const std::string& store, const std::string& state) {
  if (state == "unsound, but in use") {
    return "The file of the " + store +
           " is damaged. It is in use all the same, until the next start replaces it";
  }
  if (state == "unsound") return "The file of the " + store + " is damaged";
  return "The file of the " + store + " cannot be read";
}

void look_at_store(const std::string& store, const std::string& state, long entries,
                   Alerts& alerts) {
  std::string id = "store-" + store;
  std::ranges::replace(id, ' ', '-');
  if (state != "sound" && state != "locked") {
    alerts.push_back({id, Severity::Critical, sentence_of_state(store, state), ""});
  }
  if (entries >= kManyMessages && store != "call log") {
    alerts.push_back({id + "-full", Severity::Warning,
                      "There are " + std::to_string(entries) + " " + store + " of at most " +
                          std::to_string(int{CAPI_SMS_MAX_MESSAGES}) +
                          ": the oldest go when more come",
                      ""});
  }
}

void look_at_stores(const std::vector<Table>& status, Alerts& alerts) {
  const Table* stores = find_table(status, "stores");
  if (stores == nullptr) return;
  bool has_seen_calls = false;
  for (const auto& row : stores->rows()) {
    const std::string store = cell(*stores, row, "store");
    if (is_of_calls(store) && has_seen_calls) continue;
    has_seen_calls |= is_of_calls(store);
    look_at_store(is_of_calls(store) ? "call log" : store, cell(*stores, row, "state"),
                  atol(cell(*stores, row, "entries").c_str()), alerts);
  }
}

// ---- Locks -------------------------------------------------------------------------------------

// Status lacks what somebody waited for in vain, and that tells a lock that is held for long from
// one that is in use.
bool is_held_for_long(const std::vector<Table>& status, unsigned lock) {
  const Table* adapter = find_table(status, "adapter");
  const Table* stores = find_table(status, "stores");
  const bool is_whole = adapter == nullptr || fact(*adapter, "state") != "locked";
  const auto is_locked = [&](bool of_calls) {
    return stores != nullptr && std::ranges::any_of(stores->rows(), [&](const auto& row) {
             return is_of_calls(cell(*stores, row, "store")) == of_calls &&
                    cell(*stores, row, "state") == "locked";
           });
  };
  switch (lock) {
    case CAPI_LOCK_CONF_SHM:
      return !is_whole;
    case CAPI_LOCK_CALL_LOG:
      return is_locked(true);
    case CAPI_LOCK_VOICE_SMS:
      return is_locked(false);
    case CAPI_LOCK_VOP_RUN_INFO:
      return is_whole && find_table(status, "sim") == nullptr;
    default:
      return false;
  }
}

void look_at_locks(const std::vector<Table>& status, Alerts& alerts) {
  const Table* locks = find_table(status, "locks");
  if (locks == nullptr) return;
  for (const auto& row : locks->rows()) {
    const std::string id = cell(*locks, row, "id");
    const std::string state = cell(*locks, row, "state");
    if (state != "held" || !is_held_for_long(status, static_cast<unsigned>(atoi(id.c_str())))) {
      continue;
    }
    alerts.push_back({"lock-" + id, Severity::Critical,
                      "Lock " + id + " (" + cell(*locks, row, "lock") +
                          ") is held for long by process " + cell(*locks, row, "holder") + " (" +
                          cell(*locks, row, "program") + "), and others wait for it",
                      ""});
  }
}

// ---- The rest ----------------------------------------------------------------------------------

void look_at_adapter(const std::vector<Table>& status, Alerts& alerts) {
  const Table* adapter = find_table(status, "adapter");
  if (adapter == nullptr || fact(*adapter, "state") != "not published") return;
  alerts.push_back({"adapter", Severity::Critical,
                    "The adapter has started, but its settings are not published", ""});
}

void look_at_change(const std::optional<pending::Change>& waiting, Alerts& alerts) {
  if (!waiting) return;
  alerts.push_back({"change-" + waiting->id, Severity::Warning,
                    "A change of " + waiting->owner +
                        " waits to be kept, and goes back by itself at " +
                        time_text(waiting->deadline),
                    ""});
}

}  // namespace

const char* name_of(Severity severity) {
  constexpr const char* kNames[] = {"info", "warning", "critical"};
  return kNames[static_cast<size_t>(severity)];
}

std::vector<Alert> alerts_of(const std::vector<Table>& status,
                             const std::optional<pending::Change>& waiting) {
  Alerts alerts;
  look_at_adapter(status, alerts);
  look_at_lines(status, alerts);
  look_at_sim(status, alerts);
  look_at_network(status, alerts);
  look_at_stores(status, alerts);
  look_at_locks(status, alerts);
  look_at_change(waiting, alerts);
  std::ranges::stable_sort(alerts, std::ranges::greater(), &Alert::severity);
  return alerts;
}

std::vector<Alert> alerts_without_adapter(const std::string& reason) {
  return {{"adapter", Severity::Critical, reason, ""}};
}

Table alert_table(const std::vector<Alert>& alerts) {
  Table table("alerts", {{"id"}, {"severity"}, {"text"}, {"since", Type::Time}});
  for (const Alert& alert : alerts) {
    table.add({alert.id, name_of(alert.severity), alert.text, alert.since});
  }
  return table;
}

}  // namespace tools
