// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tools/capi-web/session.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/files.h"
#include "tools/capi-web/events.h"
#include "tools/capi-web/password.h"

namespace tools::web {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

mode_t mode_of(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 ? status.st_mode & 0777 : 0;
}

constexpr int64_t kIdleMs = 1000;

TEST(Logins, AreKnownByTheirSecretOnly) {
  Sessions sessions(kIdleMs);
  const Session one = sessions.begin("::1", 0, 7);
  const Session two = sessions.begin("::1", 0, 7);
  ASSERT_NE(sessions.find(one.secret, 1), nullptr);
  EXPECT_EQ(sessions.find(one.secret, 1)->name, one.name);
  EXPECT_EQ(sessions.find(one.name, 1), nullptr);
  EXPECT_EQ(sessions.find(one.token, 1), nullptr);
  EXPECT_EQ(sessions.find("", 1), nullptr);
  EXPECT_EQ(sessions.find(one.secret + "0", 1), nullptr);
  EXPECT_NE(one.secret, two.secret);
  EXPECT_NE(one.token, two.token);
}

TEST(Logins, EndWhenTheyAreIdle) {
  Sessions sessions(kIdleMs);
  const std::string secret = sessions.begin("::1", 0, 0).secret;
  EXPECT_NE(sessions.find(secret, 999), nullptr);
  EXPECT_NE(sessions.find(secret, 1998), nullptr) << "it was seen at 999";
  EXPECT_EQ(sessions.find(secret, 2998), nullptr);
  EXPECT_THAT(sessions.all(), SizeIs(0));
}

TEST(Logins, AreNotProlongedByWhatAPageDoesOnItsOwn) {
  Sessions sessions(kIdleMs);
  const Session session = sessions.begin("::1", 0, 0);
  EXPECT_NE(sessions.find(session.secret, 900, false), nullptr);
  EXPECT_TRUE(sessions.has(session.name, 999));
  EXPECT_FALSE(sessions.has(session.name, 1000));
}

TEST(Logins, DropTheOneThatWasSeenLongestAgoWhenThereAreTooMany) {
  Sessions sessions(kIdleMs);
  std::vector<std::string> secrets;
  for (size_t i = 0; i < Sessions::kMax; ++i) {
    secrets.push_back(sessions.begin("::1", static_cast<int64_t>(i), 0).secret);
  }
  EXPECT_NE(sessions.find(secrets[0], 20), nullptr);
  sessions.begin("::1", 21, 0);
  EXPECT_THAT(sessions.all(), SizeIs(Sessions::kMax));
  EXPECT_NE(sessions.find(secrets[0], 22), nullptr);
  EXPECT_EQ(sessions.find(secrets[1], 22), nullptr);
}

TEST(Logins, EndAtTheLogout) {
  Sessions sessions(kIdleMs);
  const Session session = sessions.begin("::1", 0, 0);
  sessions.end(session.name);
  EXPECT_EQ(sessions.find(session.secret, 0), nullptr);
}

TEST(WrongPasswords, HaveTheirAddressWaitLongerAndLonger) {
  Throttle throttle;
  std::vector<int64_t> waits;
  for (int i = 0; i < 12; ++i) {
    throttle.failed("::1", 0);
    waits.push_back(throttle.wait_ms("::1", 0));
  }
  EXPECT_THAT(waits, testing::ElementsAre(0, 0, 1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000,
                                          60000, 60000));
  EXPECT_EQ(throttle.wait_ms("::2", 0), 0);
  EXPECT_EQ(throttle.wait_ms("::1", 59'999), 1);
  EXPECT_EQ(throttle.wait_ms("::1", 60'000), 0);
}

TEST(WrongPasswords, AreForgottenAfterTheRightOneAndAfterAWhile) {
  Throttle throttle;
  for (int i = 0; i < 5; ++i) throttle.failed("::1", 0);
  throttle.succeeded("::1");
  EXPECT_EQ(throttle.wait_ms("::1", 0), 0);
  for (int i = 0; i < 5; ++i) throttle.failed("::1", 0);
  throttle.failed("::1", 600'001);
  EXPECT_EQ(throttle.wait_ms("::1", 600'001), 0);
}

TEST(WrongPasswords, OfManyAddressesNeedNoMoreMemory) {
  Throttle throttle;
  for (int i = 0; i < 3; ++i) throttle.failed("first", 0);
  for (int i = 0; i < 63; ++i) throttle.failed(std::to_string(i), 0);
  EXPECT_EQ(throttle.wait_ms("first", 0), 1000);
  throttle.failed("one more", 0);
  EXPECT_EQ(throttle.wait_ms("first", 0), 0);
}

TEST(Passwords, AreComparedWhole) {
  const std::string password(kMaxPassword, 'x');
  const std::string hash = hash_of_password(password);
  EXPECT_TRUE(is_password(password, hash));
  EXPECT_FALSE(is_password(password + "x", hash));
  EXPECT_FALSE(is_password(password.substr(1), hash));
  EXPECT_FALSE(is_password("", hash));
  EXPECT_FALSE(is_password(password + std::string(1, '\0'), hash));
  EXPECT_FALSE(is_password(std::string(1, '\0'), hash_of_password("")));
}

TEST(Passwords, HaveASaltAndAStrongHash) {
  const std::string hash = hash_of_password("correct horse");
  EXPECT_TRUE(hash.starts_with("$y$j8T$")) << hash;
  EXPECT_NE(hash, hash_of_password("correct horse"));
}

std::string failure_of(const std::string& path) {
  try {
    return read_password_file(path);
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST(PasswordFile, IsItsOwnersOnly) {
  write_password_file("/tmp/web.password", hash_of_password("correct horse"));
  EXPECT_EQ(mode_of("/tmp/web.password"), 0600u);
  EXPECT_TRUE(is_password("correct horse", read_password_file("/tmp/web.password")));
}

TEST(PasswordFile, ThatWouldNotDoIsToldOf) {
  EXPECT_EQ(failure_of("/tmp/none"),
            "there is no password; set one: capi-web password --password-file /tmp/none");
  for (const char* const content : {"", "\n", "*", "correct horse\n", "$", "$z$x$y"}) {
    capi::test::write_file("/tmp/web.password", content);
    EXPECT_THAT(failure_of("/tmp/web.password"), HasSubstr("has no hash of a password")) << content;
  }
}

TEST(Tokens, LetInWhoHasThemWhole) {
  ApiTokens tokens;
  const std::string token = tokens.make("backup", 7);
  ASSERT_NE(tokens.find(token), nullptr);
  EXPECT_EQ(tokens.find(token)->name, "token-" + tokens.all().front().id);
  EXPECT_EQ(tokens.find(token)->secret, "");
  EXPECT_EQ(tokens.find(token.substr(0, token.size() - 1)), nullptr);
  EXPECT_EQ(tokens.find(token + "0"), nullptr);
  EXPECT_EQ(tokens.find(token.substr(1)), nullptr);
  EXPECT_EQ(tokens.find("capi_" + tokens.all().front().id), nullptr);
  EXPECT_EQ(tokens.find("capi_" + tokens.all().front().id + "_"), nullptr);
  EXPECT_EQ(tokens.find(""), nullptr);
}

TEST(Tokens, OutliveTheProcessAsHashes) {
  std::string token;
  {
    ApiTokens tokens("/tmp/tokens");
    token = tokens.make("nightly backup", 7);
    tokens.make("another", 8);
  }
  EXPECT_EQ(mode_of("/tmp/tokens"), 0600u);
  EXPECT_THAT(capi::test::read_file("/tmp/tokens"), testing::Not(HasSubstr(token.substr(22))));
  ApiTokens tokens("/tmp/tokens");
  ASSERT_NE(tokens.find(token), nullptr);
  EXPECT_EQ(tokens.all().front().name, "nightly backup");
  EXPECT_EQ(tokens.all().front().made_at, 7);
  EXPECT_TRUE(tokens.revoke(tokens.all().front().id));
  EXPECT_FALSE(tokens.revoke("none"));
  EXPECT_EQ(ApiTokens("/tmp/tokens").find(token), nullptr);
  EXPECT_THAT(ApiTokens("/tmp/tokens").all(), SizeIs(1));
}

TEST(Tokens, AreNotMadeWhereTheyCannotBeKept) {
  ApiTokens tokens("/none/none/tokens");
  EXPECT_THROW(tokens.make("backup", 7), std::runtime_error);
  EXPECT_THAT(tokens.all(), SizeIs(0));
}

TEST(Tokens, StayWhereTheyCannotBeForgottenForGood) {
  ApiTokens tokens("/tmp/state/tokens");
  const std::string first = tokens.make("first", 7);
  tokens.make("second", 8);
  const std::string id = tokens.all().front().id;
  EXPECT_EQ(mode_of("/tmp/state"), 0700u) << "it was made";
  ASSERT_EQ(rename("/tmp/state", "/tmp/away"), 0);
  capi::test::write_file("/tmp/state", "no directory");
  EXPECT_THROW(tokens.revoke(id), std::runtime_error);
  EXPECT_NE(tokens.find(first), nullptr);
  EXPECT_EQ(tokens.all().front().id, id);
  ASSERT_EQ(unlink("/tmp/state"), 0);
  ASSERT_EQ(rename("/tmp/away", "/tmp/state"), 0);
  EXPECT_TRUE(tokens.revoke(id));
  EXPECT_EQ(tokens.find(first), nullptr);
  EXPECT_EQ(ApiTokens("/tmp/state/tokens").find(first), nullptr);
}

constexpr char kAll[] =
    "[\"config\",\"device\",\"lines\",\"calls\",\"messages\",\"adapter\",\"changes\"]";

TEST(Streams, AreToldOfAllAtFirstAndOfNewsThen) {
  Events events;
  Stream* const stream = events.open("me", "");
  ASSERT_NE(stream, nullptr);
  EXPECT_THAT(events.event(*stream), HasSubstr(kAll));
  EXPECT_FALSE(stream->has_news());
  events.tell(4);
  ASSERT_TRUE(stream->has_news());
  EXPECT_EQ(events.event(*stream), "id: " + events.id() +
                                       "\nevent: change\n"
                                       "data: {\"topics\":[\"lines\"],\"generation\":1}\n\n");
}

TEST(Streams, ThatDoNotReadAreToldOnceOfAllThatHasChanged) {
  Events events;
  Stream* const stream = events.open("me", events.id());
  EXPECT_FALSE(stream->has_news());
  for (int i = 0; i < 1000; ++i) events.tell(i % 2 == 0 ? 1 : 8);
  EXPECT_THAT(events.event(*stream),
              HasSubstr("{\"topics\":[\"config\",\"calls\"],\"generation\":1000}"));
  EXPECT_FALSE(stream->has_news());
}

TEST(Streams, ThatComeBackCatchUpUnlessTheyHaveMissedNothing) {
  Events events;
  events.tell(1);
  const std::string seen = events.id();
  EXPECT_FALSE(events.open("me", seen)->has_news());
  events.tell(1);
  EXPECT_TRUE(events.open("me", seen)->has_news());
  EXPECT_TRUE(Events().open("me", Events().id())->has_news()) << "another process";
}

TEST(Streams, OfOneLoginAreLimited) {
  Events events;
  for (size_t i = 0; i < Events::kMaxOfSession; ++i) EXPECT_NE(events.open("me", ""), nullptr);
  EXPECT_EQ(events.open("me", ""), nullptr);
  Stream* const other = events.open("you", "");
  ASSERT_NE(other, nullptr);
  events.close(&events.streams().front());
  EXPECT_NE(events.open("me", ""), nullptr);
  while (events.open(std::to_string(events.streams().size()), "") != nullptr) {
  }
  EXPECT_THAT(events.streams(), SizeIs(Events::kMax));
}

}  // namespace
}  // namespace tools::web
