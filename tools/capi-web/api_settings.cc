// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <document.h>
#include <key_facts.h>
#include <setting_file.h>

#include <memory>

#include "answer.h"
#include "api.h"
#include "key_search.h"
#include "text.h"

namespace tools::web {
namespace {

// What is known of keys without an adapter is told without one, too.
const cfg_shared_record* record_if_any(App& app) {
  try {
    return &app.reader.record();
  } catch (const Failure& failure) {
    if (failure.why().code != kNoAdapter) throw;
    return nullptr;
  }
}

std::optional<KeyState> state_of(const Key& key, const cfg_shared_record* record,
                                 const std::vector<SourceFile>& files) {
  if (record == nullptr) return std::nullopt;
  const std::string value = value_of(*record, key);
  return KeyState{value, source_of(key, value, files)};
}

std::string printed(cJSON* json) {
  const Json owned(json);
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json), cJSON_free);
  return text ? text.get() : "null";
}

const Key& key_in_path(const Request& request) {
  const std::string label(request.part("key"));
  if (const Key* key = find_label(label)) return *key;
  throw Failure(unknown_key(label), {kNotFound, label});
}

}  // namespace

// Key by key, for a document of all of them would take a megabyte.
Response get_keys(const Request& request, App& app) {
  const cfg_shared_record* record = record_if_any(app);
  const std::vector<SourceFile> files = read_source_files(adapter_setting_files());
  Response response{.type = kJson, .body = "["};
  for (const Key* key :
       found_keys(std::string(request.parameter("section")), std::string(request.parameter("q")))) {
    if (response.body.size() > 1) response.body += ',';
    response.body += printed(key_json(*key, state_of(*key, record, files), Secrets::Hidden));
  }
  response.body += ']';
  return response;
}

Response get_key(const Request& request, App& app) {
  const Key& key = key_in_path(request);
  const std::vector<SourceFile> files = read_source_files(adapter_setting_files());
  cJSON* const document = key_json(key, state_of(key, record_if_any(app), files), Secrets::Hidden);
  add_places(document, key);
  return json(document);
}

Response get_settings(const Request& request, App& app) {
  const std::vector<const Key*> keys = keys_of(std::string(request.parameter("section")));
  return json(document_of(app.reader.record(), keys, Secrets::Hidden));
}

Response post_lint(const Request& request, App&) {
  const std::string text = text_in(request, "text");
  Table table("findings", {{"file"}, {"line", Type::Number}, {"severity"}, {"finding"}});
  for (const Finding& finding : read_settings(text).findings) {
    table.add({"text", finding.line != 0 ? std::to_string(finding.line) : "",
               finding.is_error ? "error" : "warning", finding.text});
  }
  return json(to_json(table));
}

}  // namespace tools::web
