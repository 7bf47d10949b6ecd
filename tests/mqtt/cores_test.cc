// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the bridge to a broker decides without one.
#include <adapter.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <text.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "support/files.h"
#include "tools/capi-mqtt/backoff.h"
#include "tools/capi-mqtt/counters.h"
#include "tools/capi-mqtt/cursor.h"
#include "tools/capi-mqtt/generations.h"
#include "tools/capi-mqtt/options.h"
#include "tools/capi-mqtt/outbox.h"
#include "tools/capi-mqtt/request.h"
#include "tools/capi-mqtt/request_log.h"
#include "tools/capi-mqtt/topics.h"

namespace tools::mqtt {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// ---- Topics ----------------------------------------------------------------------------------

TEST(FleetTopics, HaveOneForEachSection) {
  std::vector<std::string> names;
  for (const StateTopic& topic : state_topics({"sms", "sip_line_1"})) names.push_back(topic.name);
  EXPECT_THAT(names, ElementsAre("about", "device", "sim", "line/1", "line/2", "stores", "alerts",
                                 "change", "config/sms", "config/sip_line_1"));
}

TEST(FleetTopics, AnAdapterIsOneLevel) {
  for (const char* id : {"a", "490154203237518", "flat-3_b.2", "Gerät"}) {
    EXPECT_TRUE(is_adapter_id(id)) << id;
  }
  for (const char* id :
       {"", "a/b", "+", "a#", "$SYS", "a b", "a\nb", "a\x7f", "\xff", "\xc0\xaf"}) {
    EXPECT_FALSE(is_adapter_id(id)) << id;
  }
  for (const char* id : {"a\u00a0", "\ufdcf", "\ufdf0", "\ufffd", "\U0001f4de", "\U0010fffd"}) {
    EXPECT_TRUE(is_adapter_id(id)) << id;
  }
  // Control characters, and what Unicode has no characters for.
  for (const char* id : {"a\xc2\x80", "a\xc2\x85", "a\xc2\x9f", "\ufdd0", "\ufdef", "\ufffe",
                         "\uffff", "a\U0001fffe", "\U0010ffff"}) {
    EXPECT_FALSE(is_adapter_id(id)) << id;
  }
  EXPECT_FALSE(is_adapter_id(std::string_view("a\0b", 3)));
  EXPECT_TRUE(is_adapter_id(std::string(64, 'a')));
  EXPECT_FALSE(is_adapter_id(std::string(65, 'a')));
}

TEST(FleetTopics, AnAnswerGoesToDoneOnly) {
  for (const char* topic : {"capi/1/a/done", "capi/1/a/done/x", "capi/1/controller/done/1/2"}) {
    EXPECT_TRUE(may_be_answered_to(topic)) << topic;
  }
  for (const char* topic :
       {"", "done", "capi/1/done", "capi/1//done", "capi/1/a/online", "capi/1/a/do/set",
        "x/1/a/done", "capi/2/a/done", "capi/1/a/donex", "capi/1/a/done/\xc2\x85",
        "capi/1/a/done/\uffff", "capi/1/a/done/+", "capi/1/a/done/#", "capi/1/a/b/done"}) {
    EXPECT_FALSE(may_be_answered_to(topic)) << topic;
  }
  EXPECT_FALSE(may_be_answered_to("capi/1/a/done/" + std::string(300, 'x')));
}

TEST(FleetTopics, ACommandIsWhatStandsBehindDo) {
  const Tree tree("a");
  EXPECT_EQ(tree.topic("config/sms"), "capi/1/a/config/sms");
  EXPECT_EQ(tree.command_of("capi/1/a/do/set"), "set");
  EXPECT_EQ(tree.command_of("capi/1/a/do/set/x"), "set/x");
  EXPECT_EQ(tree.command_of("capi/1/b/do/set"), "");
}

// ---- What is to be sent ----------------------------------------------------------------------

TEST(Outbox, SaysEverythingOnceAtFirst) {
  Outbox outbox(3);
  EXPECT_EQ(outbox.take(0), 0U);
  EXPECT_EQ(outbox.take(0), 1U);
  EXPECT_EQ(outbox.take(0), 2U);
  EXPECT_FALSE(outbox.take(0));
  EXPECT_FALSE(outbox.is_dirty());
  EXPECT_EQ(outbox.wait(0), -1);
}

TEST(Outbox, SendsATopicOnceASecondHoweverOftenItChanges) {
  Outbox outbox(1);
  int sent = 0;
  for (int64_t now = 0; now < 10'000; ++now) {
    outbox.mark(0);
    if (outbox.take(now)) ++sent;
  }
  EXPECT_EQ(sent, 10);
}

TEST(Outbox, TellsHowLongToWait) {
  Outbox outbox(2);
  outbox.take(100);
  EXPECT_EQ(outbox.wait(100), 0);
  outbox.take(100);
  outbox.mark(1);
  EXPECT_EQ(outbox.wait(400), 700);
  EXPECT_EQ(outbox.wait(1100), 0);
}

TEST(Outbox, HasTwentyMessagesOnTheirWayAtMost) {
  Outbox outbox(50);
  int sent = 0;
  while (outbox.take(0)) outbox.sent(++sent);
  EXPECT_EQ(sent, 20);
  EXPECT_EQ(outbox.wait(0), -1);
  outbox.acknowledged(7);
  EXPECT_EQ(outbox.take(0), 20U);
}

TEST(Outbox, SaysEverythingAgainAfterALostConnection) {
  Outbox outbox(2);
  outbox.take(0);
  outbox.take(0);
  outbox.sent(1);
  outbox.restart();
  EXPECT_EQ(outbox.in_flight(), 0U);
  EXPECT_EQ(outbox.wait(5000), 0);
  EXPECT_EQ(outbox.take(5000), 0U);
  EXPECT_EQ(outbox.take(5000), 1U);
}

TEST(Outbox, WaitsForNothingThatIsPutOff) {
  Outbox outbox(2);
  outbox.take(0);
  outbox.take(0);
  outbox.put_off(1, 2000);
  EXPECT_FALSE(outbox.is_dirty());
  EXPECT_EQ(outbox.wait(500), 1500);
  EXPECT_FALSE(outbox.take(1999));
  EXPECT_EQ(outbox.take(2000), 1U);
  EXPECT_EQ(outbox.wait(2000), -1);
}

TEST(Outbox, SaysLaterWhatTheBrokerDidNotTake) {
  Outbox outbox(2);
  outbox.sent(7, outbox.take(0).value());
  outbox.sent(8, outbox.take(0).value());
  outbox.sent(9);
  outbox.refused(7, 300'000);
  outbox.refused(9, 300'000);
  outbox.acknowledged(8);
  EXPECT_EQ(outbox.in_flight(), 0U);
  EXPECT_EQ(outbox.wait(1000), 299'000);
  EXPECT_EQ(outbox.take(300'000), 0U);
  EXPECT_FALSE(outbox.take(300'000));
}

TEST(Outbox, SaysAtOnceWhatWasPutOffOnceThereIsANewConnection) {
  Outbox outbox(1);
  outbox.take(0);
  outbox.put_off(0, 300'000);
  outbox.restart();
  EXPECT_TRUE(outbox.is_dirty());
  EXPECT_EQ(outbox.take(1), 0U);
}

TEST(Backoff, GrowsToFiveMinutes) {
  Backoff backoff([] { return 0.5; });
  std::vector<int64_t> pauses;
  for (int i = 0; i < 11; ++i) pauses.push_back(backoff.next());
  EXPECT_THAT(pauses, ElementsAre(500, 1000, 2000, 4000, 8000, 16000, 32000, 64000, 128000, 150000,
                                  150000));
  backoff.succeeded();
  EXPECT_EQ(backoff.next(), 500);
}

TEST(Backoff, MayBeAnyPartOfThat) {
  EXPECT_EQ(Backoff([] { return 0.0; }).next(), 0);
  EXPECT_EQ(Backoff([] { return 0.999; }).next(), 999);
}

// ---- Requests --------------------------------------------------------------------------------

Error refused(const std::string& command, std::string_view payload) {
  try {
    parse_request(command, payload);
  } catch (const Refusal& refusal) {
    EXPECT_EQ(refusal.status(), Status::Refused);
    return refusal.error();
  }
  ADD_FAILURE() << "taken: " << payload;
  return {};
}

TEST(FleetRequest, HasItsMembers) {
  const Request request = parse_request(
      "set", R"({"id":"a-1","expires":"2026-11-22T05:10:00Z","set":{"sip_line_1.enable":1,)"
             R"("sms.sca":"+49"},"apply":true,"if_generation":418,"confirm_within":120})");
  EXPECT_EQ(request.id, "a-1");
  EXPECT_EQ(request.expires, 1795324200);
  ASSERT_EQ(request.set.size(), 2U);
  EXPECT_EQ(request.set[0].key, "sip_line_1.enable");
  EXPECT_EQ(request.set[0].value, "1");
  EXPECT_TRUE(request.set[0].is_number);
  EXPECT_EQ(request.set[1].value, "+49");
  EXPECT_FALSE(request.set[1].is_number);
  EXPECT_TRUE(request.is_applied);
  EXPECT_EQ(request.if_generation, 418U);
  EXPECT_EQ(request.confirm_within, 120);
}

TEST(FleetRequest, IsRefusedWithWhatIsWrong) {
  const struct {
    const char* command;
    const char* payload;
    const char* code;
    const char* message;
  } rows[] = {
      {"reboot", R"({"id":"a"})", "unknown_command", "there is no command \"reboot\""},
      {"", R"({"id":"a"})", "unknown_command", "there is no command \"\""},
      {"set", "", "malformed", "the request is no JSON object"},
      {"set", "{", "malformed", "the request is no JSON object"},
      {"set", "[]", "malformed", "the request is no JSON object"},
      {"set", R"({"id":"a"} x)", "malformed", "the request is no JSON object"},
      {"set", "{\"id\":\"\xff\"}", "malformed", "the request is not in UTF-8"},
      {"set", R"({"id":"a\u0000b"})", "malformed", "the request has a NUL character"},
      {"set", R"({"id":"a","id":"b"})", "malformed", "\"id\" stands twice"},
      {"set", R"({"id":"a","set":{"x.y":1,"x.y":2}})", "malformed", "\"x.y\" stands twice"},
      {"set", R"({"set":{"x.y":1}})", "malformed", "\"id\" is missing"},
      {"set", R"({"id":"a"})", "malformed", "\"set\" is missing"},
      {"set", R"({"id":"a","set":{}})", "malformed", "\"set\" has to be an object of keys"},
      {"set", R"({"id":"a","set":{"x.y":1.5}})", "malformed", "\"set\" has to be"},
      {"set", R"({"id":"a","set":{"x.y":[1]}})", "malformed", "\"set\" has to be"},
      {"set", R"({"id":"a","set":{"x.y":null}})", "malformed", "\"set\" has to be"},
      {"set", R"({"id":"a b","set":{"x.y":1}})", "malformed", "\"id\" has to be 1 to 64"},
      {"set", R"({"id":"","set":{"x.y":1}})", "malformed", "\"id\" has to be 1 to 64"},
      {"set", R"({"id":7,"set":{"x.y":1}})", "malformed", "\"id\" has to be 1 to 64"},
      {"set", R"({"id":"a","set":{"x.y":1},"apply":1})", "malformed", "\"apply\" has to be true"},
      {"set", R"({"id":"a","set":{"x.y":1},"confirm_within":0})", "malformed", "from 1 to 86400"},
      {"set", R"({"id":"a","set":{"x.y":1},"confirm_within":1e9})", "malformed", "from 1 to 86400"},
      {"set", R"({"id":"a","set":{"x.y":1},"if_generation":-1})", "malformed", "number from 0"},
      {"set", R"({"id":"a","set":{"x.y":1},"expires":"tomorrow"})", "malformed", "a time as"},
      {"set", R"({"id":"a","set":{"x.y":1},"expires":"2026-02-30T00:00:00Z"})", "malformed",
       "a time"},
      {"set", R"({"id":"a","set":{"x.y":1},"pending":"x"})", "malformed",
       "\"pending\" is no member of it"},
      {"reset", R"({"id":"a","keys":[]})", "malformed", "\"keys\" has to be"},
      {"reset", R"({"id":"a","keys":"sms"})", "malformed", "\"keys\" has to be"},
      {"reset", R"({"id":"a","keys":[""]})", "malformed", "\"keys\" has to be"},
      {"reset", R"({"id":"a","keys":["sms.sca",""]})", "malformed", "\"keys\" has to be"},
      {"load", R"({"id":"a","document":[]})", "malformed", "\"document\" has to be"},
      {"signal", R"({"id":"a","name":"x","params":["1","2","3","4"]})", "malformed", "up to three"},
      {"confirm", R"({"id":"a","pending":""})", "malformed", "\"pending\" has to be the id"},
      {"refresh", R"({"id":"a","spread":31})", "malformed", "\"spread\" has to be seconds"},
  };
  for (const auto& row : rows) {
    const Error error = refused(row.command, row.payload);
    EXPECT_EQ(error.code, row.code) << row.payload;
    EXPECT_THAT(error.message, HasSubstr(row.message)) << row.payload;
  }
}

TEST(FleetRequest, HasALimit) {
  const std::string head = R"({"id":"a","set":{"sms.sca":")";
  const std::string tail = "\"}}";
  const std::string longest =
      head + std::string(kMaxPayload - head.size() - tail.size(), 'x') + tail;
  EXPECT_EQ(parse_request("set", longest).set.size(), 1U);
  EXPECT_EQ(refused("set", longest + " ").code, "too_large");
  const std::string deep =
      R"({"id":"a","document":)" + std::string(8, '[') + std::string(8, ']') + "}";
  EXPECT_EQ(refused("load", deep).code, "too_large");
  EXPECT_EQ(refused("load", std::string(60000, '[')).code, "too_large");
  // Brackets within a text are none.
  const std::string text = R"({"id":"a","set":{"sms.sca":"\"[[[[[[[[[[[["}})";
  EXPECT_EQ(parse_request("set", text).set[0].value, "\"[[[[[[[[[[[[");
}

TEST(FleetRequest, MayHaveTheSignsOfAnEscapeThatIsNone) {
  EXPECT_EQ(parse_request("set", R"({"id":"a","set":{"sms.sca":"\\u0000"}})").set[0].value,
            "\\u0000");
}

TEST(FleetRequest, HasAnIdHoweverWrongItIs) {
  EXPECT_EQ(id_of(R"({"id":"a","nonsense":1})"), "a");
  EXPECT_EQ(id_of(R"({"id":"a b"})"), "");
  EXPECT_EQ(id_of("{"), "");
  EXPECT_EQ(id_of(R"({})"), "");
}

TEST(FleetAnswer, IsJsonInOneLine) {
  const Answer answer{
      "a",        "set",     Status::Refused, 419, {{"refused", "no\nway", "sms.enable", "0 or 1"}},
      "7c1f09ae", 1795324200};
  EXPECT_EQ(text_of(answer, 1795324200),
            R"({"id":"a","command":"set","status":"refused","at":"2026-11-22T05:10:00Z",)"
            R"("generation":419,"errors":[{"code":"refused","message":"no\nway",)"
            R"("key":"sms.enable","allowed":"0 or 1"}],)"
            R"("pending":{"id":"7c1f09ae","deadline":"2026-11-22T05:10:00Z"}})");
  EXPECT_EQ(text_of({"", "\xff", Status::Ok}, 0).find("{\"id\":null,\"command\":"), 0U);
}

TEST(FleetAnswer, HasALimitWhateverIsInIt) {
  const std::string controls(60000, '\x01');
  const std::vector<Error> errors(30, {"refused", controls, controls, controls});
  const std::string text = text_of({"a", "set", Status::Refused, 1, errors}, 0);
  EXPECT_LE(text.size(), 32768U);
  // A character is not cut in two.
  const std::string signs = "x" + std::string(1024, ' ') + "y";
  EXPECT_THAT(text_of({"a", "set", Status::Refused, 1, {{"refused", signs}}}, 0),
              HasSubstr("x" + std::string(1023, ' ') + "...\""));
  std::string umlauts = "x";
  for (int i = 0; i < 600; ++i) umlauts += "ä";
  EXPECT_TRUE(tools::is_utf8(text_of({"a", "set", Status::Refused, 1, {{"refused", umlauts}}}, 0)));
}

TEST(FleetAnswer, IsShortenedToItsStatus) {
  const Answer answer{"a", "set", Status::Failed, 419, {{"x", "1"}, {"y", "2"}}, "7c1f09ae", 60};
  EXPECT_EQ(shortened(text_of(answer, 60)),
            R"({"id":"a","command":"set","status":"failed","at":"1970-01-01T00:01:00Z",)"
            R"("generation":419,"pending":{"id":"7c1f09ae","deadline":"1970-01-01T00:01:00Z"},)"
            R"("errors":[{"code":"too_large",)"
            R"("message":"the broker takes no answer of this length"}]})");
}

// ---- What was carried out --------------------------------------------------------------------

class FleetRequestLog : public testing::Test {
 protected:
  FleetRequestLog() { unlink(kPath); }
  static std::string content() { return read_file(kPath); }
  static void append(const std::string& text) { std::ofstream(kPath, std::ios::app) << text; }
  static constexpr char kPath[] = "/tmp/requests";
};

TEST_F(FleetRequestLog, KeepsAnswersBeyondTheProcess) {
  {
    RequestLog log(kPath);
    EXPECT_EQ(log.state_of("a"), RequestLog::State::Unknown);
    log.start("a", "set", {"capi/1/x/done", std::string("\0\xff", 2)});
    log.finish("a", R"({"id":"a","status":"ok"})");
    log.start("b", "load", {"capi/1/x/done/a b", ""});
  }
  RequestLog log(kPath);
  ASSERT_EQ(log.state_of("a"), RequestLog::State::Answered);
  EXPECT_EQ(log.answer_of(*log.find("a")), R"({"id":"a","status":"ok"})");
  EXPECT_EQ(log.find("a")->origin.correlation, std::string("\0\xff", 2));
  EXPECT_FALSE(log.find("a")->is_told);
  ASSERT_NE(log.unfinished(), nullptr);
  EXPECT_EQ(log.unfinished()->id, "b");
  EXPECT_EQ(log.unfinished()->command, "load");
  EXPECT_EQ(log.unfinished()->origin.topic, "capi/1/x/done/a b");
  log.finish("b", "{}");
  log.told("b");
  EXPECT_EQ(log.unfinished(), nullptr);
  EXPECT_TRUE(RequestLog(kPath).find("b")->is_told);
}

TEST_F(FleetRequestLog, ForgetsWhatDidNothing) {
  {
    RequestLog log(kPath);
    log.start("a", "set", {"t", ""});
    log.start("b", "set", {"t", ""});
    log.forget("a");
    EXPECT_EQ(log.state_of("a"), RequestLog::State::Unknown);
    EXPECT_EQ(RequestLog(kPath).state_of("a"), RequestLog::State::Unknown);
    log.start("a", "set", {"u", ""});
    log.finish("a", "{}");
  }
  const RequestLog log(kPath);
  EXPECT_EQ(log.answer_of(*log.find("a")), "{}");
  EXPECT_EQ(log.find("a")->origin.topic, "u");
  EXPECT_EQ(log.state_of("b"), RequestLog::State::Started);
}

TEST_F(FleetRequestLog, IsItsOwnersOnly) {
  const RequestLog log(kPath);
  struct stat status {};
  ASSERT_EQ(stat(kPath, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(FleetRequestLog, SurvivesEachStateThatAPowerCutLeavesOfItsEnd) {
  {
    RequestLog log(kPath);
    log.start("a", "set", {"t", "c"});
    log.finish("a", "{}");
    log.start("b", "set", {"t", ""});
  }
  const std::string whole = content();
  const size_t start_of_b = whole.find("start b");
  for (size_t size = start_of_b; size < whole.size(); ++size) {
    replace_file(kPath, whole.substr(0, size));
    {
      RequestLog log(kPath);
      EXPECT_EQ(log.state_of("a"), RequestLog::State::Answered) << size;
      EXPECT_EQ(log.state_of("b"), RequestLog::State::Unknown) << size;
      log.start("c", "set", {"t", ""});
    }
    EXPECT_EQ(RequestLog(kPath).state_of("c"), RequestLog::State::Started) << size;
  }
}

TEST_F(FleetRequestLog, GoesOnBehindZerosThatAPowerCutLeft) {
  { RequestLog(kPath).start("a", "set", {"t", ""}); }
  append(std::string(100, '\0') + "\n");
  { RequestLog(kPath).start("b", "set", {"t", ""}); }
  const RequestLog log(kPath);
  EXPECT_EQ(log.state_of("a"), RequestLog::State::Started);
  EXPECT_EQ(log.state_of("b"), RequestLog::State::Started);
}

TEST_F(FleetRequestLog, KnowsTheLast256) {
  RequestLog log(kPath);
  const std::string answer(500, 'x');
  for (int i = 0; i < 2000; ++i) {
    log.start(std::to_string(i), "set", {"t", ""});
    log.finish(std::to_string(i), answer + std::to_string(i));
    if (i % 2 == 0) log.told(std::to_string(i));
  }
  const RequestLog again(kPath);
  for (const RequestLog& known : {std::cref(log), std::cref(again)}) {
    EXPECT_EQ(known.entries().size(), 256U);
    EXPECT_EQ(known.state_of("1743"), RequestLog::State::Unknown);
    EXPECT_EQ(known.answer_of(*known.find("1744")), answer + "1744");
    EXPECT_EQ(known.answer_of(*known.find("1999")), answer + "1999");
    EXPECT_TRUE(known.find("1998")->is_told);
  }
  EXPECT_LT(content().size(), 700'000U);
}

TEST_F(FleetRequestLog, BeginsAnewWhereItIsTooLarge) {
  { RequestLog(kPath).start("a", "set", {"t", ""}); }
  append(std::string(17 << 20, 'x'));
  RequestLog log(kPath);
  EXPECT_EQ(log.state_of("a"), RequestLog::State::Unknown);
  EXPECT_LT(content().size(), 100U);
  log.start("b", "set", {"t", ""});
  EXPECT_EQ(RequestLog(kPath).state_of("b"), RequestLog::State::Started);
}

TEST_F(FleetRequestLog, IsNotWrittenAnewForEachRequest) {
  RequestLog log(kPath);
  const std::string answer(30000, 'x');
  const auto file = [] {
    struct stat status {};
    stat(kPath, &status);
    return status.st_ino;
  };
  int rewrites = 0;
  ino_t before = file();
  for (int i = 0; i < 600; ++i) {
    log.start(std::to_string(i), "set", {"t", ""});
    log.finish(std::to_string(i), answer);
    if (file() != before) ++rewrites;
    before = file();
  }
  EXPECT_LT(rewrites, 10);
  EXPECT_LT(content().size(), size_t{16} << 20);
}

// Files of this process may have no more bytes, as long as it lives.
class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

TEST_F(FleetRequestLog, KnowsAnAnswerForWhichThereIsNoRoomYet) {
  RequestLog log(kPath);
  log.start("a", "set", {"t", ""});
  log.start("b", "set", {"t", ""});
  {
    const FileLimit limit(content().size() + 4);
    log.finish("a", "{}");
    log.finish("b", "[]");
    EXPECT_EQ(log.unfinished(), nullptr);
    EXPECT_EQ(log.answer_of(*log.find("a")), "{}");
    log.told("a");
    EXPECT_TRUE(log.has_unwritten());
    EXPECT_THROW(log.write_unwritten(), Failure);
    EXPECT_THROW(log.start("c", "set", {"t", ""}), Failure);
    EXPECT_EQ(RequestLog(kPath).state_of("a"), RequestLog::State::Started);
  }
  log.write_unwritten();
  EXPECT_FALSE(log.has_unwritten());
  const RequestLog later(kPath);
  EXPECT_EQ(later.answer_of(*later.find("a")), "{}");
  EXPECT_TRUE(later.find("a")->is_told);
  EXPECT_EQ(later.answer_of(*later.find("b")), "[]");
  EXPECT_FALSE(later.find("b")->is_told);
}

TEST_F(FleetRequestLog, KnowsTheLaterOfTwoWhereThereWasNoRoomToForgetTheFirst) {
  {
    RequestLog log(kPath);
    log.start("a", "set", {"t", ""});
    {
      const FileLimit limit(content().size() + 4);
      log.forget("a");
    }
    EXPECT_EQ(RequestLog(kPath).state_of("a"), RequestLog::State::Started);
    log.start("a", "set", {"t", ""});
    log.finish("a", "{}");
  }
  const RequestLog log(kPath);
  EXPECT_EQ(log.entries().size(), 1U);
  EXPECT_EQ(log.unfinished(), nullptr);
  EXPECT_EQ(log.answer_of(*log.find("a")), "{}");
}

TEST_F(FleetRequestLog, IsRefusedWhereItCannotBeKept) {
  EXPECT_THROW(RequestLog("/nowhere/requests"), Failure);
}

// ---- The numbers of the settings -------------------------------------------------------------

class FleetGenerations : public testing::Test {
 protected:
  FleetGenerations() { unlink(kPath); }
  static constexpr char kPath[] = "/tmp/generation";
};

TEST_F(FleetGenerations, NeverComeAgain) {
  uint64_t last = 0;
  for (int start = 0; start < 3; ++start) {
    Generations generations(kPath);
    for (int i = 0; i < 100'000; ++i) {
      const uint64_t number = generations.next(1000 - start);  // a clock that goes back
      ASSERT_GT(number, last);
      last = number;
    }
  }
  unlink(kPath);
  EXPECT_GT(Generations(kPath).next(2000), last);
}

TEST_F(FleetGenerations, AreExactInJson) {
  EXPECT_LT(Generations(kPath).next(4'102'444'800), 1'000'000'000'000'000U);  // in 2100
}

TEST_F(FleetGenerations, PassOverAFileThatHasNone) {
  const uint64_t by_clock = Generations("/nowhere/generation").next(1000);
  for (const char* text : {"-5\n", "9007199254740992\n", "99999999999999999999999\n", "", "\n",
                           "x7", "900000000x", " 900000000"}) {
    replace_file(kPath, text);
    EXPECT_EQ(Generations(kPath).next(1000), by_clock) << text;
  }
  for (const char* text : {"900000000\n", "900000000"}) {
    replace_file(kPath, text);
    EXPECT_EQ(Generations(kPath).next(1000), 900'000'001U) << text;
  }
}

TEST_F(FleetGenerations, GoOnWhereTheyCannotBeKept) {
  Generations generations("/nowhere/generation");
  const uint64_t first = generations.next(1000);
  EXPECT_EQ(generations.next(1000), first + 1);
  EXPECT_GT(Generations("/nowhere/generation").next(1001), first + 1);
}

// ---- How far events were told ----------------------------------------------------------------

capi_call_log_record call(uint16_t sequence, uint32_t start) {
  capi_call_log_record record{};
  record.sequence = sequence;
  record.calltimestart = start;
  return record;
}

TEST(FleetCursor, IsReadAsItWasWritten) {
  Cursor cursor{981, false, true, false, 0, 0, {{7, 8}, {9, UINT64_MAX}}, {}};
  pass(cursor, call(17, 1000));
  cursor.unacknowledged = {"event/call", R"({"number":"a b","seq":981})"};
  Cursor read_back;
  ASSERT_TRUE(read(text_of(cursor), read_back));
  EXPECT_EQ(text_of(read_back), text_of(cursor));
  EXPECT_EQ(read_back.boxes[1].id, UINT64_MAX);
  EXPECT_EQ(read_back.unacknowledged.name, "event/call");
  EXPECT_EQ(read_back.unacknowledged.text, R"({"number":"a b","seq":981})");
  const std::string text = text_of(cursor);
  for (size_t size = 0; size + 1 < text.size(); ++size) {
    EXPECT_FALSE(read(text.substr(0, size), read_back)) << size;
  }
}

TEST(FleetCursor, TellsEachCallOnce) {
  const CallList list{{call(0, 10), call(1, 11), call(2, 12)}, 3};
  Cursor cursor;
  EXPECT_EQ(first_new(list, cursor), 0U);
  pass(cursor, list.calls[0]);
  EXPECT_EQ(first_new(list, cursor), 1U);
  pass(cursor, list.calls[2]);
  EXPECT_EQ(first_new(list, cursor), 3U);
}

TEST(FleetCursor, PassesOverADeletedCallAndTheEndOfTheSequences) {
  Cursor cursor;
  pass(cursor, call(65533, 10));
  EXPECT_EQ(first_new({{call(65532, 9), call(65534, 11), call(0, 12)}, 1}, cursor), 1U);
  EXPECT_EQ(first_new({{call(65532, 9)}, 65534}, cursor), 1U);
}

TEST(FleetCursor, TellsAllCallsOfALogThatWasMadeAnew) {
  Cursor cursor;
  pass(cursor, call(500, 10));
  EXPECT_EQ(first_new({{call(0, 20), call(1, 21)}, 2}, cursor), 0U);
  // The sequence has been used again, for another call.
  Cursor early;
  pass(early, call(1, 10));
  EXPECT_EQ(first_new({{call(0, 20), call(1, 21), call(2, 22)}, 3}, early), 0U);
  EXPECT_EQ(first_new({{}, 0}, early), 0U);
}

TEST(FleetCursor, EndsWithARingOfCalls) {
  const auto image = std::make_unique<capi_call_log_image>();
  image->header.used.head = 5;
  image->node[5].all_next = 6;
  image->node[6].all_next = 5;
  EXPECT_EQ(calls_in(*image).calls.size(), size_t{CAPI_CALL_LOG_NODES});
  image->header.used.head = CAPI_CALL_LOG_NO_NODE;
  EXPECT_TRUE(calls_in(*image).calls.empty());
}

TEST(FleetCursor, TellsAllMessagesOfAFileThatWasMadeAnew) {
  EXPECT_EQ(first_new_id({7, 41}, 7), 42U);
  EXPECT_EQ(first_new_id({7, 41}, 8), 0U);
  EXPECT_EQ(identity_in("short"), 0U);
}

// ---- Options ---------------------------------------------------------------------------------

Options options_in(const std::string& text) {
  Options options;
  read_options("FILE", text, options);
  return options;
}

std::string wrong(const std::string& text) {
  try {
    options_in(text);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "taken";
}

TEST(FleetOptions, StandInAFile) {
  const Options options = options_in(
      "# the broker\nhost = broker.example.net\n\n  cafile=/etc/ca.pem\r\nevents = calls\n");
  EXPECT_EQ(options.host, "broker.example.net");
  EXPECT_EQ(options.cafile, "/etc/ca.pem");
  EXPECT_EQ(options.port_to_use(), 8883);
  EXPECT_TRUE(options.tells_calls);
  EXPECT_FALSE(options.tells_messages);
  EXPECT_EQ(options_in("").port_to_use(), 1883);
  EXPECT_FALSE(options_in("events=calls,messages\nevents=off").tells_calls);
}

TEST(FleetOptions, AreRefusedWithTheirLine) {
  EXPECT_EQ(wrong("\nhots = x"), "FILE:2: there is no option \"hots\"; did you mean host?");
  EXPECT_EQ(wrong("host"), "FILE:1: it is no NAME = VALUE");
  EXPECT_EQ(wrong("host ="), "FILE:1: there is no value");
  EXPECT_EQ(wrong("port = 65536"), "FILE:1: \"65536\" is no number from 1 to 65535");
  EXPECT_EQ(wrong("port = -1"), "FILE:1: \"-1\" is no number from 1 to 65535");
  EXPECT_THAT(wrong("id = a/b"), HasSubstr("FILE:1: \"a/b\" cannot be the name of an adapter"));
  EXPECT_THAT(wrong("events = sms"), HasSubstr("\"sms\" are no events"));
}

TEST(FleetOptions, StandInTheManualPage) {
  std::string page = read_file(capi::test::source_file("tools/capi-mqtt/capi-mqtt.8"));
  std::erase(page, '\\');
  for (const OptionRow& row : all_options()) {
    EXPECT_THAT(page, HasSubstr(".BI --" + std::string(row.name) + " \" " + row.value + "\""));
  }
}

TEST(FleetOptions, OfTheExampleAreRight) {
  EXPECT_EQ(
      options_in(read_file(capi::test::source_file("tools/capi-mqtt/mqtt.conf"))).port_to_use(),
      8883);
}

TEST(FleetOptions, GoTogether) {
  EXPECT_THROW(refuse_inconsistent(options_in("cafile=a\ncert=b")), Failure);
  EXPECT_THROW(refuse_inconsistent(options_in("cert=a\nkey=b")), Failure);
  EXPECT_THROW(refuse_inconsistent(options_in("password-file=a")), Failure);
  EXPECT_NO_THROW(refuse_inconsistent(options_in("cafile=a\ncert=b\nkey=c\nuser=d")));
}

}  // namespace
}  // namespace tools::mqtt
