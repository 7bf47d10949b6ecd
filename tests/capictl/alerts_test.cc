// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tools/common/alerts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The status of an adapter as status_tables() tells it, all of it well; a test spoils some.
struct Status {
  std::string adapter_state = "published";
  std::vector<std::vector<std::string>> lines = {
      {"1", "1", "Kitchen", "1555", "On-hook", "0", "2", "0"},
      {"2", "0", "", "", "Unknown", "0", "0", "0"}};
  std::vector<std::vector<std::string>> registrations = {};
  std::string wan_address = "192.0.2.20";
  bool has_sim = true;
  std::string iccid = "8988211000000012345";
  std::string carrier = "38";
  std::string may_be_used = "yes";
  std::string calls = "sound";
  std::string received = "sound";
  std::string received_count = "179";
  std::vector<std::vector<std::string>> locks = {{"2", "CAPI_LOCK_CALL_LOG", "free", "", "", "0"}};

  std::vector<Table> tables() const;
};

std::vector<Table> Status::tables() const {
  Table adapter = Table::of_facts("adapter");
  adapter.add({"state", adapter_state});
  Table device = Table::of_facts("device");
  device.add({"WAN address", wan_address});
  Table line("lines", {{"line"},
                       {"enabled", Type::Flag},
                       {"name"},
                       {"user"},
                       {"phone"},
                       {"hook", Type::Flag, "off_hook"},
                       {"stacks", Type::Number, "registered_stacks"},
                       {"mail", Type::Flag, "voice_mail"}});
  for (const auto& row : lines) line.add(row);
  Table registration(
      "registrations",
      {{"line"}, {"stack"}, {"type"}, {"status"}, {"since", Type::Time}, {"reason"}, {"detail"}});
  for (const auto& row : registrations) registration.add(row);
  Table store("stores", {{"store"}, {"entries", Type::Number}, {"state"}});
  for (const char* type : {"0", "1", "2"}) {
    store.add({std::string("calls of type ") + type, "100", calls});
  }
  store.add({"received messages", received_count, received});
  store.add({"sent messages", "0", "sound"});
  Table lock("locks", {{"id"}, {"lock"}, {"state"}, {"holder"}, {"program"}, {"waiters"}});
  for (const auto& row : locks) lock.add(row);
  std::vector<Table> tables = {adapter, device, line, registration, store, lock};
  if (!has_sim) return tables;
  Table sim = Table::of_facts("sim");
  sim.add({"ICCID", iccid});
  sim.add({"IMSI", iccid.empty() ? "" : "001010123456789"});
  sim.add_fact({"carrier", Type::Number}, carrier);
  sim.add_fact({"may be used", Type::Flag}, may_be_used);
  tables.push_back(sim);
  return tables;
}

std::vector<std::string> texts(const std::vector<Alert>& alerts) {
  std::vector<std::string> result;
  result.reserve(alerts.size());
  for (const Alert& alert : alerts) {
    result.push_back(std::string(name_of(alert.severity)) + " " + alert.id + ": " + alert.text +
                     (alert.since.empty() ? "" : " since " + alert.since));
  }
  return result;
}

std::vector<std::string> alerts(const Status& status) {
  return texts(alerts_of(status.tables(), std::nullopt));
}

TEST(Alerts, ThereAreNoneWhenAllIsWell) { EXPECT_THAT(alerts(Status()), IsEmpty()); }

TEST(Alerts, TellWhyALineIsNotRegisteredByTheLatestNews) {
  Status status;
  status.lines[0][6] = "0";
  status.registrations = {
      {"1", "1", "volte", "Unregistered", "2026-11-22T05:10:00Z", "Server Rejected", "403"},
      {"1", "2", "voip", "Unregistered", "2026-11-22T04:10:00Z", "Network Failure", ""},
      {"2", "2", "voip", "Unregistered", "2026-11-22T06:10:00Z", "Network Failure", ""}};
  EXPECT_THAT(alerts(status), ElementsAre("critical line-1-registration: Line 1: server rejected, "
                                          "403 since 2026-11-22T05:10:00Z"));
  status.registrations = {{"1", "2", "voip", "Unregistered", "", "", ""}};
  EXPECT_THAT(alerts(status), ElementsAre("critical line-1-registration: Line 1: not registered"));
}

TEST(Alerts, ALineOfWhichNoStackHasToldIsOnlyAWarning) {
  Status status;
  status.lines[0][6] = "0";
  EXPECT_THAT(alerts(status), ElementsAre("warning line-1-registration: Line 1: no voice stack has "
                                          "registered it yet"));
}

TEST(Alerts, ALineThatIsSwitchedOffIsNone) {
  Status status;
  status.lines[0][1] = "0";
  status.lines[0][6] = "0";
  EXPECT_THAT(alerts(status), IsEmpty());
}

TEST(Alerts, TellOfVoiceMail) {
  Status status;
  status.lines[1][7] = "1";
  EXPECT_THAT(alerts(status), ElementsAre("info line-2-voice-mail: Line 2: voice mail is waiting"));
}

TEST(Alerts, TellWhatIsWrongWithTheSim) {
  Status status;
  status.carrier = "unknown";
  status.may_be_used = "no";
  EXPECT_THAT(alerts(status),
              ElementsAre("warning carrier-unknown: The SIM's carrier is unknown, so the device "
                          "has no settings for it",
                          "warning sim-not-allowed: The SIM may not be used in this device"));
  status.iccid = "";
  EXPECT_THAT(alerts(status), ElementsAre("critical sim-missing: There is no SIM"));
}

TEST(Alerts, TellOfAMissingAddress) {
  Status status;
  status.wan_address = "";
  EXPECT_THAT(
      alerts(status),
      ElementsAre("warning wan-address: The device has no address on its wide area network"));
}

TEST(Alerts, TellOnceOfTheFileThatAllCallsAreIn) {
  Status status;
  status.calls = "unsound";
  EXPECT_THAT(alerts(status),
              ElementsAre("critical store-call-log: The file of the call log is damaged"));
  status.calls = "cannot be read";
  EXPECT_THAT(alerts(status),
              ElementsAre("critical store-call-log: The file of the call log cannot be read"));
}

TEST(Alerts, TellOfMessagesThatAreDamagedOrMany) {
  Status status;
  status.received = "unsound, but in use";
  status.received_count = "180";
  EXPECT_THAT(alerts(status),
              ElementsAre("critical store-received-messages: The file of the received messages is "
                          "damaged. It is in use all the same, until the next start replaces it",
                          "warning store-received-messages-full: There are 180 received messages "
                          "of at most 200: the oldest go when more come"));
}

TEST(Alerts, ALockInUseIsNoneAndOneThatIsHeldForLongNamesItsHolder) {
  Status status;
  status.locks = {{"2", "CAPI_LOCK_CALL_LOG", "held", "7", "vosip", "0"}};
  EXPECT_THAT(alerts(status), IsEmpty());
  status.calls = "locked";
  EXPECT_THAT(alerts(status), ElementsAre("critical lock-2: Lock 2 (CAPI_LOCK_CALL_LOG) is held "
                                          "for long by process 7 (vosip), and others wait for it"));
}

TEST(Alerts, KnowTheOtherLocksByWhatIsMissing) {
  Status status;
  status.locks = {{"10", "CAPI_LOCK_VOP_RUN_INFO", "held", "7", "vosip", "0"}};
  status.has_sim = false;
  EXPECT_THAT(alerts(status), ElementsAre(testing::StartsWith("critical lock-10: Lock 10 ")));
  status.locks = {{"0", "CAPI_LOCK_CONF_SHM", "held", "7", "vosip", "0"}};
  EXPECT_THAT(alerts(status), IsEmpty());
  status.adapter_state = "locked";
  EXPECT_THAT(alerts(status), ElementsAre(testing::StartsWith("critical lock-0: Lock 0 ")));
  status.adapter_state = "published";
  status.has_sim = true;
  status.received = "locked";
  status.locks = {{"18", "CAPI_LOCK_VOICE_SMS", "held", "7", "vosip", "0"}};
  EXPECT_THAT(alerts(status), ElementsAre(testing::StartsWith("critical lock-18: Lock 18 ")));
}

TEST(Alerts, TellOfAnAdapterWithoutSettings) {
  Status status;
  status.adapter_state = "not published";
  EXPECT_THAT(alerts(status), ElementsAre("critical adapter: The adapter has started, but its "
                                          "settings are not published"));
}

TEST(Alerts, TellOfAChangeThatWaits) {
  pending::Change change;
  change.id = "7c1f09ae";
  change.owner = "capictl, user 0";
  change.deadline = 1795342320;
  EXPECT_THAT(texts(alerts_of(Status().tables(), change)),
              ElementsAre("warning change-7c1f09ae: A change of capictl, user 0 waits to be kept, "
                          "and goes back by itself at 2026-11-22T10:12:00Z"));
}

TEST(Alerts, TheWorstComeFirst) {
  Status status;
  status.lines[0][7] = "1";
  status.wan_address = "";
  status.calls = "unsound";
  EXPECT_THAT(alerts(status),
              ElementsAre(testing::StartsWith("critical "), testing::StartsWith("warning "),
                          testing::StartsWith("info ")));
}

TEST(Alerts, WithoutAnAdapterThereIsThatOnly) {
  EXPECT_THAT(texts(alerts_without_adapter("no adapter is up")),
              ElementsAre("critical adapter: no adapter is up"));
}

}  // namespace
}  // namespace tools
