// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call log: the voice application adds calls, a web front end lists and tidies them.

#include <capi.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "scenes.h"

namespace demo {
namespace {

// What the types mean is up to the programs; these agree on this.
enum Type : unsigned { kOutgoing = 0, kIncoming = 1, kMissed = 2 };

constexpr char kFile[] = "/quorbleconf/nv/voip_call_log";
constexpr char kBackup[] = "/tmp/voip_call_log.backup";
constexpr char kSignalLine[] = "signal simple vop_sig_voip_call_log_event_updated\n";
constexpr int kMissedCalls = 102;

capi_call_log_record call(const char* name, const char* number, unsigned start) {
  capi_call_log_record record{};
  record.endpt = 1;
  record.calltimestart = start;
  record.calltimeconnect = start + 6;
  record.calltimeend = start + 66;
  snprintf(record.displayname, sizeof record.displayname, "%s", name);
  snprintf(record.number, sizeof record.number, "%s", number);
  return record;
}

capi_call_log_record statistics(unsigned packets, unsigned lost) {
  capi_call_log_record record{};
  record.statistics.PacketsSent = packets;
  record.statistics.PacketsReceived = packets - lost;
  record.statistics.PacketsLost = lost;
  return record;
}

size_t signals_posted() { return show_posted_signals().size() / (sizeof kSignalLine - 1); }

void add_calls() {
  expect(access(kFile, F_OK) == 0, "the log is there since the start: %s", kFile);
  const auto outgoing = call("Anna Berg", "+4930555010", 1000);
  const auto outgoing_statistics = statistics(3000, 2);
  expect(capi_voip_add_call_log1(kOutgoing, &outgoing) == 0 &&
             capi_voip_add_call_log2(&outgoing_statistics) == 0,
         "an outgoing call: its description, then its statistics");
  const auto incoming = call("Bruno Dahl", "+4930555020", 2000);
  const auto incoming_statistics = statistics(4500, 9);
  expect(capi_voip_add_call_log2(&incoming_statistics) == 0 &&
             capi_voip_add_call_log1(kIncoming, &incoming) == 0,
         "an incoming call: its statistics, then its description");

  int added = 0;
  for (unsigned i = 0; i < kMissedCalls; ++i) {
    char number[32];
    snprintf(number, sizeof number, "+4930555%03u", 100 + i);
    auto missed = call("unknown", number, 3000 + i);
    missed.calltimeconnect = 0;
    if (capi_voip_add_call_log(kMissed, &missed) == 0) ++added;
  }
  expect(added == kMissedCalls, "%d missed calls, each in one piece", added);
  capi_call_log_entry_header missed{};
  expect(capi_voip_read_call_log_entry_header(nullptr, kMissed, &missed) == 0 &&
             missed.list.count == 100,
         "of which the log keeps the last 100");
  expect(signals_posted() == kMissedCalls + 2, "a signal was posted for each call");
}

using Calls = std::vector<capi_call_log_record>;

int collect(const capi_call_log_record* record, void* user) {
  static_cast<Calls*>(user)->push_back(*record);
  return 0;
}

// A list of the dump: 0 is all calls, 1 those of type 1, 2 those of type 0, 3 those of type 2.
Calls newest_first(unsigned list) {
  Calls calls;
  const int result = capi_voip_call_log_dump(list, collect, &calls);
  expect(result == 0, "list %u, newest first: %zu calls", list, calls.size());
  return calls;
}

Calls oldest_first() {
  Calls calls;
  const int result = capi_voip_call_log_dump_all(collect, &calls);
  expect(result == 0, "all calls, oldest first: %zu calls", calls.size());
  return calls;
}

void show_call(const capi_call_log_record& call) {
  char text[160];
  snprintf(text, sizeof text, "type %u, %s, \"%s\", %u packets sent, %u lost", call.calltype,
           call.number, call.displayname, call.statistics.PacketsSent, call.statistics.PacketsLost);
  show("call number " + std::to_string(call.sequence), text);
}

void list_calls() {
  const Calls newest = newest_first(0);
  const Calls oldest = oldest_first();
  for (size_t i = 0; i < 3 && i < oldest.size(); ++i) show_call(oldest[i]);
  const auto same = [](const auto& a, const auto& b) { return a.sequence == b.sequence; };
  expect(newest.size() == 102 &&
             std::equal(newest.begin(), newest.end(), oldest.rbegin(), oldest.rend(), same),
         "the two lists are the same, the other way round");
  const Calls outgoing = newest_first(2);
  const Calls incoming = newest_first(1);
  expect(outgoing.size() == 1 && outgoing[0].calltype == kOutgoing && incoming.size() == 1 &&
             incoming[0].calltype == kIncoming,
         "each type has a list of its own");
}

void tidy_up() {
  const Calls missed = newest_first(3);
  expect(!missed.empty() && capi_voip_delete_call_log_by_node(kMissed, missed.front().index) == 0,
         "deleted the newest missed call");
  expect(newest_first(3).size() == 99, "99 are left");
  expect(capi_voip_clean_call_log_by_type(kMissed) == 0, "deleted all missed calls");
  expect(newest_first(0).size() == 2, "two calls are left");
  expect(signals_posted() == 2, "a signal was posted for each change");

  expect(capi_voip_call_log_backup(kBackup) == 0, "backed the log up to %s", kBackup);
  const std::string log = file_content(kFile);
  while (file_content(kBackup).size() < log.size()) usleep(1000);  // cp may still be at it
  expect(file_content(kBackup) == log, "%zu bytes, the same as the log", log.size());
}

}  // namespace

void play_call_log(Stage& stage) {
  title("Calls are logged, listed, deleted and backed up");
  stage.run_process("voice application", add_calls);
  stage.run_process("web front end", [] {
    list_calls();
    tidy_up();
  });
}

}  // namespace demo
