// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <apply.h>
#include <change.h>
#include <places.h>

#include <algorithm>

#include "answer.h"
#include "api.h"
#include "draft.h"
#include "events.h"
#include "text.h"

namespace tools::web {
namespace {

constexpr int kLongest = 3600;

const cJSON* member(const Request& request, const char* name) {
  return cJSON_GetObjectItemCaseSensitive(request.json.get(), name);
}

int seconds_of(const Request& request, const App& app) {
  const cJSON* const seconds = member(request, "seconds");
  if (seconds == nullptr) return app.confirm_seconds;
  const std::string allowed = "1 to " + std::to_string(kLongest);
  const bool is_right =
      cJSON_IsNumber(seconds) && seconds->valuedouble >= 1 && seconds->valuedouble <= kLongest;
  if (is_right) return static_cast<int>(seconds->valuedouble);
  throw Failure("\"seconds\" is " + allowed, {kUsage, "seconds", allowed});
}

bool is_dry_run(const Request& request) {
  const cJSON* const flag = member(request, "dry_run");
  if (flag == nullptr) return false;
  if (cJSON_IsBool(flag)) return cJSON_IsTrue(flag) != 0;
  throw Failure("\"dry_run\" is true or false", {kUsage, "dry_run", "true or false"});
}

// With these voice stacks' files info.simcard is written: volte, vowifi and sos.
constexpr unsigned kWithSimFile = 1U << 0 | 1U << 2 | 1U << 5;

bool is_with_sim_file(const Key* key) {
  return std::ranges::any_of(places_of(*key),
                             [](const Place& place) { return (place.types & kWithSimFile) != 0; });
}

// What it takes to set and apply these keys.
void need_locks(App& app, const std::vector<const Key*>& keys) {
  app.reader.need({CAPI_LOCK_CONF_SHM});
  if (std::ranges::any_of(keys, is_with_sim_file)) app.reader.need({CAPI_LOCK_VOP_RUN_INFO});
}

std::vector<const Key*> waiting_keys() {
  std::vector<const Key*> keys;
  const auto waiting = waiting_change();
  if (!waiting) return keys;
  for (const pending::Value& value : waiting->values) {
    const Key* const key = find_key(value.key.section, value.key.name);
    if (key != nullptr) keys.push_back(key);
  }
  return keys;
}

// Nothing of this waits for others for long.
void need_turn(App& app, const std::string& owner, const std::vector<Setting>& settings) {
  need_locks(app, keys_in(settings));
  refuse_while_busy();
  const auto waiting = waiting_change();
  if (!waiting || waiting->owner == owner) return;
  throw Failure("a change of " + waiting->owner + " waits to be kept, for " +
                    seconds_left(*waiting) + " s; nothing else can be changed until then",
                {kRefused, waiting->id});
}

// What cannot be written or posted is told with the change, which goes back all the same.
std::string apply_or_tell(const std::vector<Setting>& settings) {
  try {
    apply(keys_in(settings));
    return "";
  } catch (const Failure& failure) {
    return failure.what();
  }
}

Response make(const Request& request, App& app, const std::vector<Setting>& settings) {
  const std::string owner = owner_of(request);
  need_turn(app, owner, settings);
  std::string trouble;
  {
    Turn turn(owner, seconds_of(request, app));
    turn.make(settings, true);
    trouble = apply_or_tell(settings);
    app.last_change = {owner, turn.waiting()->id, trouble};
  }
  app.events.tell(kTopicChange);
  cJSON* const document = to_json(change_tables(Secrets::Hidden));
  cJSON* const change = cJSON_GetObjectItemCaseSensitive(document, "change");
  if (!trouble.empty()) cJSON_AddStringToObject(change, "trouble", json_text(trouble).c_str());
  return json(document, 201);
}

Response tell(App& app, const pending::Outcome& outcome) {
  app.events.tell(kTopicChange);
  return json(to_json(outcome_tables(outcome)));
}

}  // namespace

Response get_changes(const Request&, App&) { return json(to_json(change_tables(Secrets::Hidden))); }

Response get_change(const Request& request, App&) {
  const auto waiting = waiting_change();
  if (waiting && waiting->id == request.part("id")) {
    return json(to_json(change_tables(Secrets::Hidden)));
  }
  throw Failure("no change of this id waits to be kept",
                {kNotFound, std::string(request.part("id"))});
}

Response post_change(const Request& request, App& app) {
  const cfg_shared_record& record = app.reader.record();
  const std::vector<Setting> settings = read_draft(member(request, "set"), record);
  Json preview(preview_document(record, settings));
  const bool is_any =
      cJSON_GetArraySize(cJSON_GetObjectItemCaseSensitive(preview.get(), "changes")) > 0;
  if (is_dry_run(request)) return json(preview.release());
  if (!is_any) throw Failure("all of it is so already", {kRefused});
  return make(request, app, settings);
}

Response post_confirm(const Request& request, App& app) {
  refuse_while_busy();
  return tell(app, confirm_change(std::string(request.part("id")), owner_of(request)));
}

Response post_cancel(const Request& request, App& app) {
  app.reader.record();
  need_locks(app, waiting_keys());
  refuse_while_busy();
  return tell(app, cancel_change(std::string(request.part("id")), owner_of(request)));
}

}  // namespace tools::web
