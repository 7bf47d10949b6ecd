// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_days.h"

#include <map>

namespace capictl {
namespace {

struct Sum {
  unsigned calls = 0;
  uint64_t seconds = 0;
};

// "2026-11-22", "" for what is no time.
std::string day_of(uint32_t seconds) {
  return is_time(seconds) ? time_text(seconds).substr(0, 10) : "";
}

// How long people talked; nothing can be said of what is no time.
uint32_t seconds_of(const capi_call_log_record& call) {
  const bool was_answered =
      is_time(call.calltimeconnect) && call.calltimeend > call.calltimeconnect;
  return was_answered ? call.calltimeend - call.calltimeconnect : 0;
}

int take_call(const capi_call_log_record* record, void* user) {
  static_cast<Calls*>(user)->push_back(*record);
  return 0;
}

}  // namespace

Calls read_calls(const Filter& filter) {
  Calls calls;
  if (capi_voip_call_log_dump(0, take_call, &calls) != 0) {
    throw Failure("the call log cannot be read. What is wrong with it: capictl calls check");
  }
  const Matcher is_meant(filter);
  std::erase_if(calls, [&](const capi_call_log_record& call) {
    return !is_meant({.time = call.calltimestart,
                      .number = text_of(call.number),
                      .type = call.calltype,
                      .line = call.endpt});
  });
  return calls;
}

Table calls_by_day(const Calls& calls, const Order& order, const CallKind& kind) {
  std::map<std::string, std::map<unsigned, Sum>> days;
  for (const capi_call_log_record& call : calls) {
    Sum& sum = days[day_of(call.calltimestart)][kind.kind_of(call)];
    ++sum.calls;
    sum.seconds += seconds_of(call);
  }
  std::vector<std::vector<std::string>> rows;
  for (auto day = days.rbegin(); day != days.rend(); ++day) {
    for (const auto& [number, sum] : day->second) {
      const std::string count = std::to_string(sum.calls);
      rows.push_back(
          {day->first, std::to_string(number), count, std::to_string(sum.seconds), count});
    }
  }
  order.apply(rows);
  Table table("calls", {{"day", Type::Time},
                        {kind.name, Type::Number},
                        {"calls", Type::Number},
                        {"seconds", Type::Number},
                        {"", Type::Bar}});
  for (auto& row : rows) table.add(std::move(row));
  return table;
}

}  // namespace capictl
