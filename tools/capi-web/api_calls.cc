// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <call_tables.h>

#include <algorithm>

#include "answer.h"
#include "api.h"

namespace tools::web {
namespace {

constexpr int kMost = CAPI_CALL_LOG_NODES;

Response deleted(size_t count) {
  Table facts = Table::of_facts("result");
  facts.add_fact({"deleted", Type::Number}, std::to_string(count));
  return json(to_json(facts));
}

void need_call_log(App& app) {
  app.reader.record();
  app.reader.need({CAPI_LOCK_CONF_SHM, CAPI_LOCK_CALL_LOG});
}

bool clear(const Filter& filter, const Calls& calls) {
  if (filter.is_empty()) return capi_voip_clean_all_call_log() == 0;
  if (filter.has_type_only()) {
    return capi_voip_clean_call_log_by_type(static_cast<unsigned>(filter.type)) == 0;
  }
  return std::ranges::all_of(calls, delete_if_there);
}

}  // namespace

Response get_calls(const Request& request, App& app) {
  Calls calls = meant_calls(app.reader.calls(), filter_of(request));
  Order{static_cast<size_t>(number_of(request, "limit", 1, kMost, 0))}.apply(calls);
  return json(to_json(call_table(calls)));
}

Response get_call_days(const Request& request, App& app) {
  const Calls calls = meant_calls(app.reader.calls(), filter_of(request));
  const Table days = calls_by_day(
      calls, {}, {"type", [](const capi_call_log_record& call) { return call.calltype; }});
  std::vector<std::string> unknown;
  return json(to_json(days.only({"day", "type", "calls", "seconds"}, unknown)));
}

// A node is used again: who knows the call's sequence, too, deletes no other one.
Response delete_call(const Request& request, App& app) {
  need_call_log(app);
  const uint64_t type = id_of(request, "type");
  const uint64_t node = id_of(request, "node");
  const int sequence = number_of(request, "sequence", 0, UINT16_MAX, -1);
  app.reader.forget(CAPI_TOPIC_CALLS);
  const bool is_there = std::ranges::any_of(app.reader.calls(), [&](const auto& call) {
    return call.calltype == type && call.index == node &&
           (sequence == -1 || call.sequence == sequence);
  });
  if (!is_there) throw Failure("there is no such call, or not any more", {kNotFound});
  if (capi_voip_delete_call_log_by_node(static_cast<unsigned>(type), static_cast<unsigned>(node)) !=
      0) {
    throw Failure("the call could not be deleted");
  }
  return deleted(1);
}

Response delete_calls(const Request& request, App& app) {
  need_call_log(app);
  const Filter filter = filter_of(request);
  app.reader.forget(CAPI_TOPIC_CALLS);
  const Calls calls = meant_calls(app.reader.calls(), filter);
  if (!calls.empty() && !clear(filter, calls)) throw Failure("the call log could not be cleared");
  return deleted(calls.size());
}

}  // namespace tools::web
