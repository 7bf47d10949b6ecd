// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "documents.h"

#include <alerts.h>
#include <change.h>
#include <keys.h>
#include <locks.h>
#include <status_tables.h>
#include <stores.h>
#include <value.h>

#include <algorithm>

#include "request.h"

namespace tools::mqtt {
namespace {

// Nobody waits for these documents: who cannot have one soon tries again.
constexpr int kLockPatienceMs = 100;

Json json_of(const Table& table) { return Json(to_json(table)); }

void add(cJSON* object, const char* name, Json json) {
  cJSON_AddItemToObject(object, name, json.release());
}

cJSON* value_in(const cfg_shared_record& record, const Key& key) {
  const std::string value = value_of(record, key);
  if (key.meaning.is_secret != 0) {
    cJSON* secret = cJSON_CreateObject();
    cJSON_AddBoolToObject(secret, "set", !value.empty());
    return secret;
  }
  if (key.row.kind == CAPI_CONFIG_NUMBER) return cJSON_CreateRaw(value.c_str());
  return cJSON_CreateString(json_text(value).c_str());
}

Json about(const Options& options) {
  Json json(cJSON_CreateObject());
  cJSON_AddNumberToObject(json.get(), "api", 1);
  cJSON_AddStringToObject(json.get(), "version", CAPI_VERSION);
  cJSON* features = cJSON_AddArrayToObject(json.get(), "features");
  for (size_t i = 0; i < kCommandCount; ++i) {
    cJSON_AddItemToArray(features, cJSON_CreateString(name_of(static_cast<Command>(i))));
  }
  cJSON* events = cJSON_AddArrayToObject(json.get(), "events");
  if (options.tells_calls) cJSON_AddItemToArray(events, cJSON_CreateString("calls"));
  if (options.tells_messages) cJSON_AddItemToArray(events, cJSON_CreateString("messages"));
  return json;
}

// The record's generation grows with each change anywhere: with it the document would be a new one
// each time.
Json device(const cfg_shared_record& record) {
  Json json(cJSON_CreateObject());
  add(json.get(), "device", json_of(device_table(record)));
  Json adapter = json_of(adapter_table());
  cJSON_DeleteItemFromObject(adapter.get(), "generation");
  add(json.get(), "adapter", std::move(adapter));
  return json;
}

// What is known of the SIM is kept in files under this lock, and not told while somebody holds it.
Json sim() {
  Json json(cJSON_CreateObject());
  if (!await_lock(CAPI_LOCK_VOP_RUN_INFO, kLockPatienceMs)) return nullptr;
  add(json.get(), "sim", json_of(sim_table()));
  return json;
}

Json line(const cfg_shared_record& record, int number) {
  Json json(cJSON_CreateObject());
  const Json lines = json_of(line_table(record, number));
  cJSON_AddItemToObject(json.get(), "line", cJSON_DetachItemFromArray(lines.get(), 0));
  add(json.get(), "registrations", json_of(registration_table(record, number)));
  return json;
}

Json stores() {
  Json json(cJSON_CreateObject());
  add(json.get(), "stores", json_of(store_table()));
  return json;
}

// A change whose file cannot be read is told of under "change".
std::optional<pending::Change> change_that_waits() {
  try {
    return waiting_change();
  } catch (const Failure&) {
    return std::nullopt;
  }
}

// A lock that is held is no news: nothing tells of its end.
Json alerts(const cfg_shared_record& record) {
  std::vector<Table> status = {adapter_table(), device_table(record), line_table(record),
                               registration_table(record), store_table()};
  if (!await_lock(CAPI_LOCK_VOP_RUN_INFO, kLockPatienceMs)) return nullptr;
  status.push_back(sim_table());
  Json json(cJSON_CreateObject());
  add(json.get(), "alerts", json_of(alert_table(alerts_of(status, change_that_waits()))));
  return json;
}

// The time that is left passes by itself.
Json change() {
  Json json;
  try {
    json.reset(to_json(change_tables(Secrets::Hidden)));
  } catch (const Failure& failure) {
    json.reset(cJSON_CreateObject());
    cJSON* facts = cJSON_AddObjectToObject(json.get(), "change");
    cJSON_AddTrueToObject(facts, "pending");
    cJSON_AddStringToObject(facts, "trouble", json_text(failure.what()).c_str());
  }
  cJSON_DeleteItemFromObject(cJSON_GetObjectItem(json.get(), "change"), "seconds_left");
  return json;
}

Json section(const cfg_shared_record& record, const std::string& name, uint64_t generation) {
  Json json(cJSON_CreateObject());
  cJSON_AddNumberToObject(json.get(), "generation", static_cast<double>(generation));
  cJSON* values = cJSON_AddObjectToObject(json.get(), "values");
  for (const Key& key : all_keys()) {
    if (key.section != name) continue;
    cJSON_AddItemToObject(values, key.field().c_str(), value_in(record, key));
  }
  return json;
}

std::string printed(const Json& json) {
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json.get()),
                                                          cJSON_free);
  if (!text) throw std::bad_alloc();
  return text.get();
}

// FNV-1a; 0 is that of nothing yet.
uint64_t mark_of(const std::string& text) {
  uint64_t mark = 14695981039346656037U;
  for (const char c : text) mark = (mark ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return mark != 0 ? mark : 1;
}

}  // namespace

Documents::Documents(const Options& options)
    : options_(options),
      topics_(state_topics(all_sections())),
      states_(topics_.size()),
      generations_(options.state + "/generation") {}

Json Documents::content_of(const StateTopic& topic) const {
  switch (topic.kind) {
    case Kind::About:
      return about(options_);
    case Kind::Device:
      return device(*record_);
    case Kind::Sim:
      return sim();
    case Kind::Line:
      return line(*record_, topic.line);
    case Kind::Stores:
      return stores();
    case Kind::Alerts:
      return alerts(*record_);
    case Kind::Change:
      return change();
    case Kind::Section:
      break;
  }
  return section(*record_, topic.section, generation_);
}

// Whether it is another one than before.
bool Documents::note(size_t topic, const Json& content, int64_t now) {
  const uint64_t mark = mark_of(printed(content));
  if (mark == states_[topic].mark) return false;
  states_[topic] = {mark, now};
  return true;
}

// A content that cannot be had now may be: text() will see.
bool Documents::is_new(size_t topic, int64_t now) {
  const Json content = content_of(topics_[topic]);
  return !content || note(topic, content, now);
}

void Documents::add_section(const std::string& section, int64_t now, std::vector<size_t>& changed) {
  const auto topic = std::ranges::find(topics_, section, &StateTopic::section);
  const auto index = static_cast<size_t>(topic - topics_.begin());
  if (topic == topics_.end() || std::ranges::find(changed, index) != changed.end()) return;
  states_[index].at = now;
  changed.push_back(index);
}

// A value that several sections have in common differs in all of them.
void Documents::look_at_settings(const cfg_shared_record& before, int64_t now,
                                 std::vector<size_t>& changed) {
  for (const Difference& difference : differences(before, *record_)) {
    for (const Key& key : all_keys()) {
      if (key.offset() == difference.key->offset()) add_section(key.section, now, changed);
    }
  }
}

std::vector<size_t> Documents::look(unsigned causes, int64_t now) {
  std::vector<size_t> changed;
  const auto before = std::make_unique<cfg_shared_record>(*record_);
  if (capi_live_refresh(record_.get(), &record_generation_) < 0) {
    throw Failure("the shared record cannot be read");
  }
  if (!is_first_) look_at_settings(*before, now, changed);
  if (is_first_ || !changed.empty()) generation_ = generations_.next(now);
  for (size_t i = 0; i < topics_.size(); ++i) {
    const bool is_section = topics_[i].kind == Kind::Section;
    if (is_first_ && is_section) states_[i].at = now;
    if (!is_first_ && (is_section || (topics_[i].causes & causes) == 0)) continue;
    if (is_section || is_new(i, now)) changed.push_back(i);
  }
  is_first_ = false;
  return changed;
}

std::vector<size_t> Documents::look_at_change(int64_t now) {
  std::vector<size_t> changed;
  for (size_t i = 0; i < topics_.size(); ++i) {
    const bool tells_of_it = topics_[i].kind == Kind::Change || topics_[i].kind == Kind::Alerts;
    if (tells_of_it && is_new(i, now)) changed.push_back(i);
  }
  return changed;
}

std::string Documents::text(size_t topic, int64_t now) {
  const Json json = content_of(topics_[topic]);
  if (!json) return "";
  if (topics_[topic].kind != Kind::Section) note(topic, json, now);
  cJSON_AddStringToObject(json.get(), "at", time_text(states_[topic].at).c_str());
  return printed(json);
}

}  // namespace tools::mqtt
