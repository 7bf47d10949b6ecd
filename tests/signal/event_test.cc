// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/event.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "foundation/text.h"
#include "support/adapter.h"
#include "support/hostile_texts.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EventTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    std::filesystem::remove_all("/tmp/bin");
    start_master();
  }

  static void set_bin_dir(const std::string& dir) {
    memset(segment().directory[3], 0, 256);
    memcpy(segment().directory[3], dir.data(), dir.size());
  }

  // The message of the one posted signal with parameters.
  static std::string posted_message() {
    const std::vector<std::string> calls = posted();
    const std::string command = "signal json ";
    if (calls.size() != 1 || calls[0].substr(0, command.size()) != command) return "<none>";
    return calls[0].substr(command.size());
  }
};

std::string message(const std::string& name, const std::string& one, const std::string& two,
                    const std::string& three) {
  return R"({"msg":"signal","name":")" + name + R"(","attrs":{"param1":")" + one +
         R"(","param2":")" + two + R"(","param3":")" + three + R"("}})";
}

TEST_F(EventTest, ASimpleSignalCarriesItsName) {
  EXPECT_EQ(capi_fire_internal_event("vop_sig_cfg_changed"), 0);
  EXPECT_THAT(posted(), ElementsAre("signal simple vop_sig_cfg_changed"));
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogDebug, "capi_fire_internal_event",
                                  "/usr/sbin/vsdk_cmd signal simple vop_sig_cfg_changed"}));
}

TEST_F(EventTest, ASignalCarriesThreeParameters) {
  EXPECT_EQ(capi_fire_internal_event2("vop_sig_voip_sms_updated_out", "1", "77", "+15550100"), 0);
  const std::string text = message("vop_sig_voip_sms_updated_out", "1", "77", "+15550100");
  EXPECT_EQ(posted_message(), text);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogDebug, "capi_fire_internal_event2",
                                  "/usr/sbin/vsdk_cmd signal json '" + text + "'"}));
}

TEST_F(EventTest, MissingParametersAreSentEmpty) {
  EXPECT_EQ(capi_fire_internal_event2("x", nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(posted_message(), message("x", "", "", ""));
}

TEST_F(EventTest, AMissingNamePostsNothing) {
  EXPECT_EQ(capi_fire_internal_event(nullptr), 0);
  EXPECT_EQ(capi_fire_internal_event2(nullptr, "1", "2", "3"), 0);
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(EventTest, TheToolOfTheBinDirectoryComesFirst) {
  install_recording_tool("/tmp/bin/vsdk_cmd");
  set_bin_dir("/tmp/bin");
  capi_fire_internal_event("x");
  EXPECT_EQ(captured_log().at(0).text, "/tmp/bin/vsdk_cmd signal simple x");
  EXPECT_THAT(posted(), ElementsAre("signal simple x"));
}

TEST_F(EventTest, WithoutAToolThereTheSystemsIsUsed) {
  set_bin_dir("/tmp/bin");
  capi_fire_internal_event("x");
  capi_fire_internal_event2("x", nullptr, nullptr, nullptr);
  for (const LogLine& line : captured_log()) {
    EXPECT_EQ(line.text.substr(0, 26), "/usr/sbin/vsdk_cmd signal ");
  }
  EXPECT_EQ(posted().size(), 2u);
}

TEST_F(EventTest, TheToolIsChosenAnewForEveryEvent) {
  set_bin_dir("/tmp/bin");
  capi_fire_internal_event("one");
  install_recording_tool("/tmp/bin/vsdk_cmd");
  capi_fire_internal_event("two");
  std::filesystem::remove("/tmp/bin/vsdk_cmd");
  capi_fire_internal_event("three");
  EXPECT_EQ(captured_log().at(0).text, "/usr/sbin/vsdk_cmd signal simple one");
  EXPECT_EQ(captured_log().at(1).text, "/tmp/bin/vsdk_cmd signal simple two");
  EXPECT_EQ(captured_log().at(2).text, "/usr/sbin/vsdk_cmd signal simple three");
}

TEST_F(EventTest, AToolPathOfMoreThan255CharactersIsNotTaken) {
  // "/vsdk_cmd" has 9 characters: behind 246 it fits, behind 247 it would lose its last.
  const std::string dir = "/tmp/bin/" + std::string(118, 'd') + "/" + std::string(118, 'd');
  ASSERT_EQ(dir.size(), 246u);
  install_recording_tool(dir + "/vsdk_cmd");
  set_bin_dir(dir);
  capi_fire_internal_event("x");
  EXPECT_EQ(captured_log().at(0).text, dir + "/vsdk_cmd signal simple x");
  install_recording_tool(dir + "d/vsdk_cm");
  install_recording_tool(dir + "d/vsdk_cmd");
  set_bin_dir(dir + "d");
  capi_fire_internal_event("x");
  EXPECT_EQ(captured_log().at(1).text, "/usr/sbin/vsdk_cmd signal simple x");
  EXPECT_EQ(posted().size(), 2u);
}

TEST_F(EventTest, BeforeInitTheSystemsToolIsUsed) {
  capi_uninit();
  capiv2_log_init(capture_log);
  EXPECT_EQ(capi_fire_internal_event("x"), 0);
  EXPECT_THAT(captured_log(), ElementsAre(LogLine{kLogDebug, "capi_fire_internal_event",
                                                  "/usr/sbin/vsdk_cmd signal simple x"}));
  EXPECT_THAT(posted(), ElementsAre("signal simple x"));
}

TEST_F(EventTest, AMissingOrFailingToolGoesUnnoticed) {
  write_file(kToolPath, "#!/bin/sh\nexit 3\n");
  EXPECT_EQ(capi_fire_internal_event("x"), 0);
  std::filesystem::remove(kToolPath);
  EXPECT_EQ(capi_fire_internal_event("x"), 0);
  EXPECT_EQ(capi_fire_internal_event2("x", "1", nullptr, nullptr), 0);
  for (const LogLine& line : captured_log()) {
    // The tool gives the segment its key, too: a second's look at that may come now.
    if (line.func == "__cfg_backend_init_shm") continue;
    EXPECT_EQ(line.level, kLogDebug);
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(EventTest, LongTextsAreCutInsideTheirQuotes) {
  const std::string name(300, 'n');
  const std::string text(400, 't');
  EXPECT_EQ(capi_fire_internal_event2(name.c_str(), text.c_str(), text.c_str(), text.c_str()), 0);
  const std::string whole = message(name, text, text, text);
  const std::string head = "/usr/sbin/vsdk_cmd signal json '";
  const std::string& command = captured_log().at(0).text;
  EXPECT_EQ(command, head + whole.substr(0, 1022 - head.size()) + "'");
  EXPECT_EQ(command.size(), 1023u);
  EXPECT_EQ(posted_message(), whole.substr(0, 1022 - head.size()));
}

TEST_F(EventTest, AMessageThatJustFitsIsWhole) {
  const std::string head = "/usr/sbin/vsdk_cmd signal json '";
  const std::string text(1022 - head.size() - message("x", "", "", "").size(), 't');
  capi_fire_internal_event2("x", text.c_str(), nullptr, nullptr);
  EXPECT_EQ(posted_message(), message("x", text, "", ""));
}

TEST_F(EventTest, ALongNameIsCutToTheCommandsBuffer) {
  const std::string name(2000, 'n');
  EXPECT_EQ(capi_fire_internal_event(name.c_str()), 0);
  EXPECT_EQ(captured_log().at(0).text,
            ("/usr/sbin/vsdk_cmd signal simple " + name).substr(0, 1023));
}

TEST_F(EventTest, TextsAreNoFormats) {
  capi_fire_internal_event2("%s%n", "%d", "100%", nullptr);
  EXPECT_EQ(posted_message(), message("%s%n", "%d", "100%", ""));
  EXPECT_EQ(captured_log().at(0).text,
            "/usr/sbin/vsdk_cmd signal json '" + message("%s%n", "%d", "100%", "") + "'");
}

TEST_F(EventTest, TheToolRunsWithNoLockHeld) {
  write_file(kToolPath,
             "#!/bin/sh\nipcs -s -i $(ipcs -s | awk '/^0x/ {print $2; exit}') "
             "| awk '$1 == 0 && $2 ~ /^[01]$/ {print $2}' >/tmp/value_of_lock_0\n");
  capi_fire_internal_event("x");
  EXPECT_EQ(read_file("/tmp/value_of_lock_0"), "1\n");
}

TEST_F(EventTest, CallStatesHaveNames) {
  const char* const names[] = {"Unknown",      "On-hook",     "Off-hook",   "Dialing",
                               "Ringing",      "Connected",   "Forwarding", "Forwarded",
                               "Transferring", "Transferred", "Holding",    "Disconnecting",
                               "Disconnected", "Connecting",  "Prompting",  "Conference"};
  for (int state = 0; state < 16; ++state) {
    EXPECT_STREQ(capi_convert_call_state_to_string(state), names[state]);
  }
  for (const int state : {16, 17, -1, INT32_MAX, INT32_MIN}) {
    EXPECT_STREQ(capi_convert_call_state_to_string(state), "Unknown");
  }
}

TEST_F(EventTest, ANameThatAShellWouldInterpretIsNotPosted) {
  for (const char* name : kRefusedUnquoted) {
    clear_log();
    EXPECT_EQ(capi_fire_internal_event(name), -1);
    EXPECT_THAT(captured_log(), ElementsAre(refused("capi_fire_internal_event", name)));
  }
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_FALSE(exists(kMarker));
}

TEST_F(EventTest, ANameThatMeansNothingToAShellIsPosted) {
  std::vector<std::string> expected;
  for (const std::string name : kTakenUnquoted) {
    EXPECT_EQ(capi_fire_internal_event(name.c_str()), 0);
    expected.push_back("signal simple" + (name.empty() ? "" : " " + name));
  }
  EXPECT_EQ(capi_fire_internal_event("two words"), 0);
  expected.emplace_back("signal simple two words");
  EXPECT_EQ(posted(), expected);
}

TEST_F(EventTest, AQuoteInAnyOfTheTextsIsNotPosted) {
  const char kText[] = "'; touch /tmp/marker; '";
  const auto refused_message = [](const std::string& text) {
    return refused("capi_fire_internal_event2", text);
  };
  EXPECT_EQ(capi_fire_internal_event2(kText, "", "", ""), -1);
  EXPECT_EQ(capi_fire_internal_event2("x", kText, "", ""), -1);
  EXPECT_EQ(capi_fire_internal_event2("x", nullptr, kText, ""), -1);
  EXPECT_EQ(capi_fire_internal_event2("x", nullptr, nullptr, kText), -1);
  EXPECT_THAT(captured_log(), ElementsAre(refused_message(message(kText, "", "", "")),
                                          refused_message(message("x", kText, "", "")),
                                          refused_message(message("x", "", kText, "")),
                                          refused_message(message("x", "", "", kText))));
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_FALSE(exists(kMarker));
}

TEST_F(EventTest, WithinItsQuotesAShellInterpretsNothing) {
  for (const std::string text : kRefusedUnquoted) {
    if (contains(text, "'")) continue;
    std::filesystem::remove("/tmp/vsdk_cmd.calls");
    EXPECT_EQ(capi_fire_internal_event2("x", text.c_str(), "\"", nullptr), 0);
    EXPECT_EQ(read_file("/tmp/vsdk_cmd.calls"),
              "signal json " + message("x", text, "\"", "") + "\n");
  }
  EXPECT_FALSE(exists(kMarker));
}

TEST_F(EventTest, ABinDirectoryThatAShellWouldInterpretIsNotUsed) {
  for (const std::string text : {"a;touch marker", "a$(touch marker)", "a`touch marker`",
                                 "a&touch marker", "a|touch marker", "a b", "a\tb", "a*"}) {
    clear_log();
    const std::string dir = "/tmp/" + text;
    install_recording_tool(dir + "/vsdk_cmd");
    set_bin_dir(dir);
    EXPECT_EQ(capi_fire_internal_event("x"), 0);
    EXPECT_THAT(captured_log(), ElementsAre(refused("capi_fire_internal_event", dir + "/vsdk_cmd"),
                                            LogLine{kLogDebug, "capi_fire_internal_event",
                                                    "/usr/sbin/vsdk_cmd signal simple x"}));
  }
  EXPECT_EQ(posted().size(), 8u);
  EXPECT_FALSE(exists("marker"));
}

// Needs a second user, whom a user namespace need not have.
class ForeignToolTest : public EventTest {
 protected:
  static constexpr uid_t kStranger = 65534;

  void SetUp() override {
    EventTest::SetUp();
    std::filesystem::remove_all("/tmp/foreign");
    install("/tmp/foreign/vsdk_cmd");
    if (!give("/tmp/foreign")) GTEST_SKIP() << "there is no other user";
    give_back("/tmp/foreign");
  }

  void TearDown() override {
    give_back(kToolPath);
    give_back("/usr/sbin");
    EventTest::TearDown();
  }

  static void install(const std::string& path) {
    write_file(path, "#!/bin/sh\ntouch /tmp/marker\n");
    std::filesystem::permissions(path, std::filesystem::perms(0755));
  }

  static bool give(const std::string& path) { return lchown(path.c_str(), kStranger, 0) == 0; }
  static void give_back(const std::string& path) { EXPECT_EQ(lchown(path.c_str(), 0, 0), 0); }

  static LogLine not_run(const std::string& path) {
    return {kLogWarning, "capi_fire_internal_event",
            "not run, others than root and the caller can change it: " + path};
  }

  // Posts with this bin directory, whose tool must not run.
  static void expect_the_systems_for(const std::string& dir) {
    clear_log();
    std::filesystem::remove("/tmp/vsdk_cmd.calls");
    set_bin_dir(dir);
    EXPECT_EQ(capi_fire_internal_event("x"), 0);
    EXPECT_THAT(captured_log(), ElementsAre(not_run(dir + "/vsdk_cmd"),
                                            LogLine{kLogDebug, "capi_fire_internal_event",
                                                    "/usr/sbin/vsdk_cmd signal simple x"}));
    EXPECT_THAT(posted(), ElementsAre("signal simple x"));
    EXPECT_FALSE(exists(kMarker));
  }
};

TEST_F(ForeignToolTest, AToolOfAnotherUserIsNotRun) {
  ASSERT_TRUE(give("/tmp/foreign/vsdk_cmd"));
  expect_the_systems_for("/tmp/foreign");
}

TEST_F(ForeignToolTest, AToolInADirectoryOfAnotherUserIsNotRun) {
  install("/tmp/foreign/bin/vsdk_cmd");
  ASSERT_TRUE(give("/tmp/foreign"));
  expect_the_systems_for("/tmp/foreign");
  expect_the_systems_for("/tmp/foreign/bin");
}

TEST_F(ForeignToolTest, AToolBehindALinkOfAnotherUserIsNotRun) {
  std::filesystem::create_directory("/tmp/foreign/of_a_file");
  std::filesystem::create_symlink("/tmp/foreign", "/tmp/foreign/of_a_directory");
  std::filesystem::create_symlink("/tmp/foreign/vsdk_cmd", "/tmp/foreign/of_a_file/vsdk_cmd");
  ASSERT_TRUE(give("/tmp/foreign/of_a_directory"));
  ASSERT_TRUE(give("/tmp/foreign/of_a_file/vsdk_cmd"));
  expect_the_systems_for("/tmp/foreign/of_a_directory");
  expect_the_systems_for("/tmp/foreign/of_a_file");
}

TEST_F(ForeignToolTest, AToolThatEverybodyMayWriteIsNotRun) {
  std::filesystem::permissions("/tmp/foreign/vsdk_cmd", std::filesystem::perms(0757));
  expect_the_systems_for("/tmp/foreign");
}

TEST_F(ForeignToolTest, ARelativeToolInADirectoryOfAnotherUserIsNotRun) {
  const auto before = std::filesystem::current_path();
  install("/tmp/foreign/bin/vsdk_cmd");
  ASSERT_TRUE(give("/tmp/foreign"));
  std::filesystem::current_path("/tmp/foreign");
  expect_the_systems_for("bin");
  std::filesystem::current_path(before);
}

TEST_F(ForeignToolTest, NothingIsRunWhereTheSystemsToolIsAnotherUsersToo) {
  ASSERT_TRUE(give(kToolPath));
  EXPECT_EQ(capi_fire_internal_event("x"), -1);
  EXPECT_EQ(capi_fire_internal_event2("x", nullptr, nullptr, nullptr), -1);
  LogLine with_texts = not_run(kToolPath);
  with_texts.func = "capi_fire_internal_event2";
  EXPECT_THAT(captured_log(), ElementsAre(not_run(kToolPath), with_texts));
  give_back(kToolPath);
  ASSERT_TRUE(give("/usr/sbin"));
  EXPECT_EQ(capi_fire_internal_event("x"), -1);
  EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(ForeignToolTest, ACallersOwnToolIsRun) {
  install_recording_tool("/tmp/foreign/vsdk_cmd");
  ASSERT_TRUE(give("/tmp/foreign") && give("/tmp/foreign/vsdk_cmd"));
  set_bin_dir("/tmp/foreign");
  in_other_process([] {
    ASSERT_EQ(setresuid(kStranger, kStranger, kStranger), 0);
    EXPECT_EQ(capi_fire_internal_event("x"), 0);
  });
  EXPECT_THAT(posted(), ElementsAre("signal simple x"));
}

}  // namespace
}  // namespace capi::test
