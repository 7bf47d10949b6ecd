// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_tables.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

namespace tools {
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

// Every value of a call beside its name, in the order of the file.
std::vector<std::pair<std::string, std::string>> values_of(const capi_call_log_record& call) {
  const capi_call_log_statistics& media = call.statistics;
  return {{"node", std::to_string(call.index)},
          {"sequence", std::to_string(call.sequence)},
          {"type", std::to_string(call.calltype)},
          {"line", std::to_string(call.endpt)},
          {"start", time_or_number(call.calltimestart)},
          {"connect", time_or_number(call.calltimeconnect)},
          {"end", time_or_number(call.calltimeend)},
          {"name", text_of(call.displayname)},
          {"number", text_of(call.number)},
          {"PacketsSent", std::to_string(media.PacketsSent)},
          {"PacketsReceived", std::to_string(media.PacketsReceived)},
          {"PacketsLost", std::to_string(media.PacketsLost)},
          {"PacketsDiscarded", std::to_string(media.PacketsDiscarded)},
          {"BytesReceived", std::to_string(media.BytesReceived)},
          {"BytesSent", std::to_string(media.BytesSent)},
          {"RoundTripDelay", std::to_string(media.RoundTripDelay)},
          {"PayloadType", std::to_string(media.PayloadType)},
          {"ReceiveInterarrivalJitter", std::to_string(media.ReceiveInterarrivalJitter)},
          {"MinJitter", std::to_string(media.MinJitter)},
          {"MaxJitter", std::to_string(media.MaxJitter)},
          {"Decodelatency", std::to_string(media.Decodelatency)}};
}

Type type_of(const std::string& name) {
  if (name == "name" || name == "number") return Type::Text;
  return name == "start" || name == "connect" || name == "end" ? Type::Time : Type::Number;
}

// What others send is not to run in a spreadsheet, which takes what begins so for a formula. A
// telephone number is none.
bool is_like_formula(const std::string& text) {
  return text.find_first_of("=+-@\t\r") == 0 &&
         text.find_first_not_of("+0123456789*#") != std::string::npos;
}

std::string quoted(const std::string& text) {
  std::string result = is_like_formula(text) ? "\"'" : "\"";
  for (const char c : text) result += c == '"' ? std::string("\"\"") : std::string(1, c);
  return result + "\"";
}

}  // namespace

Calls read_calls(const Filter& filter) {
  Calls calls;
  if (capi_voip_call_log_dump(0, take_call, &calls) != 0) {
    throw Failure("the call log cannot be read. What is wrong with it: capictl calls check");
  }
  return meant_calls(std::move(calls), filter);
}

// A log that was cleared counts from 0 again: what has the same node and number may be another
// call.
bool delete_if_there(const capi_call_log_record& call) {
  const bool is_there = std::ranges::any_of(read_calls(), [&](const auto& one) {
    return one.index == call.index && one.calltype == call.calltype &&
           one.sequence == call.sequence && one.calltimestart == call.calltimestart;
  });
  return !is_there || capi_voip_delete_call_log_by_node(call.calltype, call.index) == 0;
}

Calls calls_of(const std::string& content) {
  const auto image = std::make_unique<capi_call_log_image>();
  memcpy(image.get(), content.data(), std::min(content.size(), sizeof *image));
  Calls calls;
  for (unsigned node = image->header.used.tail;
       node < CAPI_CALL_LOG_NODES && calls.size() < CAPI_CALL_LOG_NODES;
       node = calls.back().all_prev) {
    calls.push_back(image->node[node]);
  }
  return calls;
}

Calls meant_calls(Calls calls, const Filter& filter) {
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

Table call_table(const Calls& calls) {
  Table table("calls", {{"node", Type::Number},
                        {"type", Type::Number},
                        {"line", Type::Number},
                        {"number"},
                        {.title = "name", .is_long = true},
                        {"start", Type::Time},
                        {"connect", Type::Time},
                        {"end", Type::Time}});
  for (const auto& call : calls) {
    table.add({std::to_string(call.index), std::to_string(call.calltype),
               std::to_string(call.endpt), text_of(call.number), text_of(call.displayname),
               time_or_number(call.calltimestart), time_or_number(call.calltimeconnect),
               time_or_number(call.calltimeend)});
  }
  return table;
}

Table call_facts(const capi_call_log_record& call) {
  Table table = Table::of_facts("call");
  for (const auto& [name, value] : values_of(call)) table.add_fact({name, type_of(name)}, value);
  return table;
}

std::string call_csv_head() {
  std::string head;
  for (const auto& [name, value] : values_of({})) head += (head.empty() ? "" : ",") + name;
  return head;
}

std::string call_csv_row(const capi_call_log_record& call) {
  std::string row;
  for (const auto& [name, value] : values_of(call)) {
    row += (row.empty() ? "" : ",") + (type_of(name) == Type::Text ? quoted(value) : value);
  }
  return row;
}

}  // namespace tools
