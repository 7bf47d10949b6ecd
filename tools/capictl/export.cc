// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl export and metrics: all of the adapter for other programs.
#include <map>
#include <sstream>

#include "commands.h"
#include "export_document.h"
#include "print.h"
#include "status_tables.h"

namespace tools::capictl {
namespace {

using Labels = std::map<std::string, std::string>;

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : json_text(text)) {
    if (c == '\n') {
      result += "\\n";
    } else {
      if (c == '"' || c == '\\') result += '\\';
      result += c;
    }
  }
  return result;
}

void print_family(const char* name, const char* help) {
  printf("# HELP capi_%s %s\n# TYPE capi_%s gauge\n", name, help, name);
}

void print_sample(const char* name, const Labels& labels, uint64_t value) {
  std::string list;
  for (const auto& [label, text] : labels) {
    list += (list.empty() ? "" : ",") + label + "=\"" + escaped(text) + "\"";
  }
  printf("capi_%s%s %llu\n", name, list.empty() ? "" : ("{" + list + "}").c_str(),
         static_cast<unsigned long long>(value));
}

// A family of samples that a table has in one column, told apart by those of others.
struct Family {
  const char* table;
  const char* field;
  const char* name;
  const char* help;
  std::vector<std::string> labels;
  const char* true_value = nullptr;  // 1 for it and 0 for others, where it is no number
};

const Family kFamilies[] = {
    {"lines", "enabled", "line_enabled", "Whether the line is switched on.", {"line"}},
    {"lines",
     "registered_stacks",
     "line_registered_stacks",
     "Voice stacks on which the line is registered.",
     {"line"}},
    {"lines", "off_hook", "line_off_hook", "Whether the telephone is off the hook.", {"line"}},
    {"lines", "voice_mail", "line_voice_mail", "Whether voice mail is waiting.", {"line"}},
    {"registrations",
     "status",
     "registered",
     "Whether the line is registered on the stack.",
     {"line", "stack", "type"},
     "Registered"},
    {"stores", "entries", "store_entries", "Calls or messages in the store.", {"store"}},
    {"stores", "state", "store_sound", "Whether the store is sound.", {"store"}, "sound"},
    {"locks", "state", "lock_held", "Whether somebody holds the lock.", {"lock"}, "held"},
    {"locks", "waiters", "lock_waiters", "Processes that wait for the lock.", {"lock"}},
};

size_t position_of(const Table& table, const std::string& field) {
  const std::vector<std::string> names = table.field_names();
  return static_cast<size_t>(std::ranges::find(names, field) - names.begin());
}

void print_family(const Family& family, const Table& table) {
  print_family(family.name, family.help);
  const size_t at = position_of(table, family.field);
  for (const auto& row : table.rows()) {
    Labels labels;
    for (const std::string& label : family.labels) labels[label] = row[position_of(table, label)];
    if (family.true_value != nullptr) {
      print_sample(family.name, labels, row[at] == family.true_value ? 1 : 0);
    } else if (!row[at].empty()) {
      print_sample(family.name, labels, strtoull(row[at].c_str(), nullptr, 10));
    }
  }
}

void print_tables(const std::vector<Table>& tables) {
  for (const Family& family : kFamilies) {
    for (const Table& table : tables) {
      if (table.name() == family.table) print_family(family, table);
    }
  }
}

void print_up(bool is_up) {
  print_family("up", "Whether the adapter's settings are published.");
  print_sample("up", {}, is_up ? 1 : 0);
}

void print_adapter(const Attachment& adapter) {
  const cfg_shared_record record = adapter.snapshot();
  const std::vector<Table> tables = status_tables(adapter, record);
  for (const Table& table : tables) {
    if (table.name() != "device") continue;
    Labels labels;
    for (const auto& row : table.rows()) {
      if (row[0] == "model" || row[0] == "hardware" || row[0] == "firmware")
        labels[row[0]] = row[1];
    }
    print_family("device", "What the device is; always 1.");
    print_sample("device", labels, 1);
  }
  capi_presence presence{};
  if (adapter.is_whole() && capi_get_presence(&presence) == 0) {
    print_family("published_timestamp_seconds", "When the settings were published.");
    print_sample("published_timestamp_seconds", {}, static_cast<uint64_t>(presence.published_at));
    print_family("record_generation", "Grows with each change of the record.");
    print_sample("record_generation", {}, presence.generation);
  }
  print_tables(tables);
}

// What capi-mqtt has done since it started, as it writes it; nothing where it does not run.
constexpr char kBridgeFile[] = "/run/capi-mqtt/counters";

struct BridgeRow {
  const char* name;  // in the file
  const char* metric;
  const char* help;
  const char* status = nullptr;  // of an answer
};
constexpr BridgeRow kBridgeRows[] = {
    {"connected", "mqtt_connected", "Whether the bridge is connected to its broker."},
    {"connections", "mqtt_connections", "Connections since the bridge started."},
    {"failures", "mqtt_failures", "Connections that were lost or did not come about."},
    {"published", "mqtt_published", "Messages that the bridge published."},
    {"events", "mqtt_events", "Calls and messages among them."},
    {"answers_ok", "mqtt_answers", "Requests that were answered so.", "ok"},
    {"answers_refused", "mqtt_answers", "", "refused"},
    {"answers_failed", "mqtt_answers", "", "failed"},
    {"answers_expired", "mqtt_answers", "", "expired"},
    {"answers_busy", "mqtt_answers", "", "busy"},
};

void print_bridge() {
  std::string content;
  if (!read_file(kBridgeFile, content)) return;
  std::map<std::string, uint64_t> numbers;
  std::istringstream in(content);
  std::string name;
  for (uint64_t number = 0; in >> name >> number;) numbers[name] = number;
  for (const BridgeRow& row : kBridgeRows) {
    if (row.help[0] != '\0') print_family(row.metric, row.help);
    Labels labels;
    if (row.status != nullptr) labels["status"] = row.status;
    print_sample(row.metric, labels, numbers[row.name]);
  }
}

// That there is no adapter is a measurement, too.
void print_metrics(Context& context) {
  try {
    const Attachment adapter(context.log_sink(), Need::Record);
    print_up(true);
    print_adapter(adapter);
    print_bridge();
  } catch (const Failure& failure) {
    if (failure.why().code != kNoAdapter) throw;
    print_up(false);
    fprintf(stderr, "capictl: %s\n", printable(failure.what()).c_str());
    context.exit_code = kNoAdapter;
  }
  puts("# EOF");
}

void export_all(const Context& context) {
  const Attachment adapter(context.log_sink(), Need::Adapter,
                           {CAPI_LOCK_CALL_LOG, CAPI_LOCK_VOICE_SMS});
  print_json(Json(export_document(adapter, context.secrets())).get());
}

}  // namespace

void add_export(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("export", "Print all of the adapter as one JSON document");
  command->footer(
      "Status, settings, calls and messages. The settings are those of one moment; of a password "
      "there is only whether it is set, unless with --show-secrets.\n\nExample:\n  capictl export "
      ">adapter.json");
  command->callback([&context] { export_all(context); });

  command = app.add_subcommand("metrics", "Print measurements for a monitoring system");
  command->footer(
      "In the text form of Prometheus and OpenMetrics, for the file collector of a node exporter. "
      "Without an adapter capi_up is 0, and the exit code 5.\n\n"
      "Example:\n  capictl metrics >/run/capi.new; mv /run/capi.new /run/capi.prom");
  command->callback([&context] { print_metrics(context); });
}

}  // namespace tools::capictl
