// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "export_document.h"

#include <ctime>

#include "call_tables.h"
#include "document.h"
#include "messages.h"
#include "status_tables.h"
#include "text.h"

namespace tools {

cJSON* export_document(const Attachment& adapter, Secrets secrets) {
  const cfg_shared_record record = adapter.snapshot();
  Json document(to_json(status_tables(adapter, record)));
  cJSON_AddNumberToObject(document.get(), "version", 1);
  cJSON_AddStringToObject(document.get(), "at", time_text(time(nullptr)).c_str());
  cJSON_AddItemToObject(document.get(), "config", document_of(record, keys_of(""), secrets));
  cJSON_AddItemToObject(document.get(), "calls", to_json(call_table(read_calls())));
  for (const char* box : {"received", "sent"}) {
    cJSON_AddItemToObject(document.get(), (std::string(box) + "_messages").c_str(),
                          to_json(message_table(box, {}, {})));
  }
  return document.release();
}

}  // namespace tools
