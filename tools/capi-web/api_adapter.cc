// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <call_tables.h>
#include <change.h>
#include <document.h>
#include <messages.h>

#include <ctime>

#include "answer.h"
#include "api.h"
#include "log_ring.h"
#include "overview.h"
#include "text.h"

namespace tools::web {
namespace {

// What of an export fails is missing in it; the alerts tell why.
template <typename Make>
void add_if_there(cJSON* document, const char* name, Make make) {
  try {
    cJSON_AddItemToObject(document, name, make());
  } catch (const Failure&) {
    return;
  }
}

cJSON* checks_document(App& app) {
  Json document(cJSON_CreateObject());
  cJSON* const stores = cJSON_AddArrayToObject(document.get(), "stores");
  for (const Store* store : kStores) {
    const StoreLook& look = app.reader.look(*store);
    cJSON* const row = cJSON_CreateObject();
    cJSON_AddItemToArray(stores, row);
    cJSON_AddStringToObject(row, "store", store->name);
    cJSON_AddStringToObject(row, "state", look.state.c_str());
    const bool is_there = look.state != "locked" && look.state != "cannot be read";
    cJSON_AddItemToObject(
        row, "faults", is_there ? to_json(fault_table(*store, look.content)) : cJSON_CreateArray());
  }
  return document.release();
}

}  // namespace

std::vector<Alert> present_alerts(App& app) {
  try {
    const std::vector<Table> status = app.reader.status();
    try {
      return alerts_of(status, waiting_change());
    } catch (const Failure&) {  // of another user, who is told
      return alerts_of(status, std::nullopt);
    }
  } catch (const Failure& failure) {
    return alerts_without_adapter(sentence(failure.what()));
  }
}

cJSON* support_document(App& app) {
  Json document(to_json(app.reader.status()));
  cJSON_AddNumberToObject(document.get(), "version", 1);
  cJSON_AddStringToObject(document.get(), "at", time_text(time(nullptr)).c_str());
  cJSON_AddItemToObject(document.get(), "config",
                        document_of(app.reader.record(), keys_of(""), Secrets::Hidden));
  add_if_there(document.get(), "calls", [&] { return to_json(call_table(app.reader.calls())); });
  for (const std::string box : kMessageBoxes) {
    add_if_there(document.get(), (box + "_messages").c_str(), [&] {
      return to_json(message_table(meant_messages(app.reader.messages(box), {}), Order()));
    });
  }
  cJSON_AddItemToObject(document.get(), "alerts", to_json(alert_table(present_alerts(app))));
  cJSON_AddItemToObject(document.get(), "checks", checks_document(app));
  cJSON_AddItemToObject(document.get(), "log", to_json(log_table()));
  return document.release();
}

Response get_status(const Request&, App& app) { return json(to_json(app.reader.status())); }

Response get_alerts(const Request&, App& app) {
  return json(to_json(alert_table(present_alerts(app))));
}

Response get_carriers(const Request&, App& app) {
  return json(to_json(app.reader.carriers().table));
}

Response get_checks(const Request&, App& app) { return json(checks_document(app)); }

Response get_log(const Request&, App&) { return json(to_json(log_table())); }

Response get_export(const Request&, App& app) { return json(support_document(app)); }

}  // namespace tools::web
