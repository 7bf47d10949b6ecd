// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Requests as they come out of the gate, and their answers.
#include "tools/capi-web/front.h"

#include <gmock/gmock.h>

#include "tools/capi-web/assets.h"
#include "tools/capi-web/guard.h"
#include "tools/capi-web/route.h"

namespace tools::web {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

constexpr char kForm[] = "application/x-www-form-urlencoded";

class Front : public testing::Test {
 protected:
  void SetUp() override {
    write_password_file("/tmp/web.password", hash_of_password("correct horse"));
    app_.password_file = "/tmp/web.password";
  }

  // Logs in and returns what a page of this login sends.
  Fields log_in() {
    const Session& session = app_.sessions.begin("::1", now_ms(), now_s());
    return {{"cookie", "capi_session=" + session.secret},
            {"x-capi-token", session.token},
            {"origin", "http://localhost:8080"},
            {"content-type", "application/json"}};
  }

  Response ask(const char* method, const char* target, const Fields& headers = {},
               const char* body = "") {
    Message message{.method = method, .target = target, .headers = headers, .body = body};
    if (find(message.headers, "host") == nullptr) {
      message.headers.emplace_back("host", "localhost:8080");
    }
    return serve(message, "::1", app_);
  }

  int status(const char* method, const char* target, const Fields& headers = {},
             const char* body = "") {
    return ask(method, target, headers, body).status;
  }

  Response log_in_with(const char* body) {
    return ask("POST", "/login", {{"origin", "http://localhost:8080"}, {"content-type", kForm}},
               body);
  }

  App app_;
};

Fields without(Fields headers, const char* name) {
  std::erase_if(headers, [&](const auto& field) { return field.first == name; });
  return headers;
}

Fields with(const Fields& headers, const char* name, const std::string& value) {
  Fields changed = without(headers, name);
  changed.emplace_back(name, value);
  return changed;
}

std::string value(const Response& response, const char* name) {
  const std::string* found = find(response.headers, name);
  return found == nullptr ? "" : *found;
}

TEST_F(Front, EveryAnswerHasTheHeadersThatKeepABrowserSafe) {
  for (const Response& response :
       {ask("GET", "/login"), ask("GET", "/"), ask("GET", "/none"), ask("PUT", "/login"),
        ask("GET", "/%"), ask("GET", "/api/1/tokens", log_in()), refuse(400, false),
        refuse(431, true)}) {
    EXPECT_THAT(response.headers, Contains(Pair("X-Content-Type-Options", "nosniff")));
    EXPECT_THAT(response.headers, Contains(Pair("Cache-Control", "no-store")));
    EXPECT_THAT(response.headers, Contains(Pair("Referrer-Policy", "same-origin")));
    EXPECT_EQ(value(response, "Content-Security-Policy"),
              "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
              "connect-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'");
  }
}

TEST_F(Front, NoRouteButTheLoginAndTheFilesOfThePageIsForAnyone) {
  for (const Routes routes :
       {page_routes(), api_routes(), login_routes(), event_routes(), asset_routes()}) {
    for (const Route& route : routes) {
      const std::string_view path = route.path;
      const bool is_open = path == "/login" || path == "/assets/{name}";
      EXPECT_EQ(route.access == Access::Anyone || route.access == Access::Login, is_open) << path;
      EXPECT_EQ(route.method == Method::Get,
                route.access == Access::Anyone || route.access == Access::Reader)
          << path << ": a GET changes nothing, and a change is no GET";
    }
  }
}

TEST_F(Front, StrangersAreSentToTheLogin) {
  const Response page = ask("GET", "/");
  EXPECT_EQ(page.status, 303);
  EXPECT_EQ(value(page, "Location"), "/login");
  const Response call = ask("GET", "/api/1/tokens");
  EXPECT_EQ(call.status, 401);
  EXPECT_EQ(value(call, "WWW-Authenticate"), "Bearer");
  EXPECT_THAT(call.body, HasSubstr("\"code\":\"unauthorized\""));
  EXPECT_EQ(status("GET", "/api/1/tokens", {{"cookie", "capi_session="}}), 401);
  EXPECT_EQ(status("GET", "/api/1/tokens", {{"cookie", "capi_session=0"}}), 401);
  EXPECT_EQ(status("GET", "/api/1/tokens", {{"authorization", "Bearer "}}), 401);
  EXPECT_EQ(status("GET", "/api/1/tokens", {{"authorization", "Basic YTpi"}}), 401);
}

TEST_F(Front, TheLoginLeadsBackToPagesOnly) {
  for (const char* const method : {"GET", "HEAD"}) {
    EXPECT_EQ(value(ask(method, "/calls?q=a"), "Location"), "/login?next=/calls%3fq%3da");
  }
  const Fields form = {{"origin", "http://localhost:8080"}, {"content-type", kForm}};
  EXPECT_EQ(value(ask("POST", "/logout", form, "token=0"), "Location"), "/login");
}

TEST_F(Front, UnknownPathsAndMethodsAreToldApart) {
  EXPECT_EQ(status("GET", "/none"), 404);
  EXPECT_EQ(status("GET", "/login/"), 404);
  EXPECT_EQ(status("GET", "/assets/"), 404);
  EXPECT_EQ(status("GET", "/assets/none"), 404);
  const Response put = ask("PUT", "/login");
  EXPECT_EQ(put.status, 405);
  EXPECT_EQ(value(put, "Allow"), "GET, HEAD, POST");
  EXPECT_EQ(value(ask("OPTIONS", "/api/1/tokens/{id}"), "Allow"), "DELETE");
}

TEST_F(Front, PathsThatClimbLeadNowhere) {
  for (const char* const path :
       {"/../etc/passwd", "/assets/../main.cc", "/assets/..", "/./login", "/login/../login",
        "/assets/%2e%2e", "/login%00", "/assets\\..\\x"}) {
    EXPECT_THAT(status("GET", path, log_in()), testing::AnyOf(400, 404)) << path;
  }
}

TEST_F(Front, NamesOfOthersThatLeadHereAreRefused) {
  for (const char* const host : {"localhost", "LOCALHOST:1", "127.0.0.1", "127.0.0.1:8080", "[::1]",
                                 "[::1]:8080", "192.0.2.7:80"}) {
    EXPECT_EQ(status("GET", "/login", {{"host", host}}), 200) << host;
  }
  for (const char* const host :
       {"evil.example", "localhost.evil.example", "evil.example:8080", "127.0.0.1.evil.example",
        "1.2.3.evil", "[::1].evil", "[evil]", "localhost:", "localhost:80a", "localhost:123456",
        "localhost:80:80", "user@localhost", "localhost/", " ", "[", "]", "[]"}) {
    EXPECT_EQ(status("GET", "/login", {{"host", host}}), 421) << host;
  }
  app_.hosts = {"adapter.lan"};
  EXPECT_EQ(status("GET", "/login", {{"host", "Adapter.LAN:8080"}}), 200);
}

TEST_F(Front, AChangeComesFromOurOwnPageWithItsTokenAsJson) {
  const Fields page = log_in();
  EXPECT_EQ(status("POST", "/api/1/tokens", page, "{\"name\":\"a\"}"), 201);
  EXPECT_EQ(status("POST", "/api/1/tokens", without(page, "cookie"), "{\"name\":\"a\"}"), 401);
  EXPECT_EQ(status("POST", "/api/1/tokens", without(page, "x-capi-token"), "{\"name\":\"a\"}"),
            403);
  EXPECT_EQ(status("POST", "/api/1/tokens", with(page, "x-capi-token", "0"), "{\"name\":\"a\"}"),
            403);
  EXPECT_EQ(status("POST", "/api/1/tokens", without(page, "origin"), "{\"name\":\"a\"}"), 403);
  for (const char* const origin :
       {"null", "http://evil.example", "http://localhost", "http://localhost:80801",
        "ftp://localhost:8080", "localhost:8080", "http://localhost:8080.evil.example"}) {
    EXPECT_EQ(status("POST", "/api/1/tokens", with(page, "origin", origin), "{\"name\":\"a\"}"),
              403)
        << origin;
  }
  for (const char* const type : {"text/plain", kForm, "", "application/jsonp"}) {
    EXPECT_EQ(status("POST", "/api/1/tokens", with(page, "content-type", type), "{\"name\":\"a\"}"),
              415)
        << type;
  }
}

TEST_F(Front, ABrowserThatHidesTheOriginTellsTheSite) {
  const Fields page = without(log_in(), "origin");
  const auto status_from = [&](const char* site) {
    return status("POST", "/api/1/tokens", with(page, "sec-fetch-site", site), "{\"name\":\"a\"}");
  };
  EXPECT_EQ(status_from("same-origin"), 201);
  EXPECT_EQ(status_from("same-site"), 403);
  EXPECT_EQ(status_from("cross-site"), 403);
  EXPECT_EQ(status_from("none"), 403);
}

TEST_F(Front, AnotherLoginsTokenIsNone) {
  const Fields mine = log_in();
  const Fields yours = log_in();
  EXPECT_EQ(status("POST", "/api/1/tokens",
                   with(mine, "x-capi-token", *find(yours, "x-capi-token")), "{\"name\":\"a\"}"),
            403);
}

TEST_F(Front, ContentThatIsNoObjectIsRefused) {
  for (const std::string& body : {std::string(), std::string("[]"), std::string("1"),
                                  std::string("{"), std::string("{}x"), std::string("{\"name\":}"),
                                  std::string(60000, '['), std::string("{\"name\":\"a\"}\0", 13)}) {
    Message message{.method = "POST", .target = "/api/1/tokens", .headers = log_in(), .body = body};
    message.headers.emplace_back("host", "localhost:8080");
    EXPECT_EQ(serve(message, "::1", app_).status, 400) << body.substr(0, 20);
  }
}

TEST_F(Front, ContentThatIsNoUtf8IsRefused) {
  for (const char* const wrong : {"q\xff", "\xff\xfe", "\xc3", "\xc0\xaf", "\xed\xa0\x80"}) {
    const std::string body = std::string("{\"name\":\"") + wrong + "\"}";
    const Response made = ask("POST", "/api/1/tokens", log_in(), body.c_str());
    EXPECT_EQ(made.status, 400) << wrong;
    EXPECT_THAT(made.body, HasSubstr("\"code\":\"bad_request\"")) << wrong;
  }
  EXPECT_THAT(app_.tokens.all(), testing::SizeIs(0));
  EXPECT_EQ(status("POST", "/api/1/tokens", log_in(), "{\"name\":\"\xc3\xa4\"}"), 201);
}

TEST_F(Front, ATokensNameThatIsNoUtf8IsTold) {
  app_.tokens.make("old\xff", 7);
  EXPECT_THAT(ask("GET", "/api/1/tokens", log_in()).body,
              HasSubstr("\"name\":\"old\xef\xbf\xbd\""));
}

TEST_F(Front, AProgramsTokenNeedsNoOriginAndMakesNoOthers) {
  const std::string token = app_.tokens.make("backup", 7);
  const Fields program = {{"authorization", "Bearer " + token},
                          {"content-type", "application/json"}};
  EXPECT_EQ(status("GET", "/api/1/tokens", program), 200);
  EXPECT_EQ(status("POST", "/api/1/tokens", program, "{\"name\":\"a\"}"), 403);
  const std::string id = app_.tokens.all().front().id;
  EXPECT_EQ(status("DELETE", ("/api/1/tokens/" + id).c_str(), log_in()), 204);
  EXPECT_EQ(status("GET", "/api/1/tokens", program), 401);
  EXPECT_EQ(status("DELETE", ("/api/1/tokens/" + id).c_str(), log_in()), 404);
}

TEST_F(Front, ASchemesNameHasLettersOfAnySize) {
  const std::string token = app_.tokens.make("backup", 7);
  for (const char* const scheme : {"Bearer ", "bearer ", "BEARER "}) {
    EXPECT_EQ(status("GET", "/api/1/tokens", {{"authorization", scheme + token}}), 200) << scheme;
  }
  EXPECT_EQ(status("GET", "/api/1/tokens", {{"authorization", "Bearer" + token}}), 401);
}

TEST_F(Front, TokensThatComeAndGoAreNews) {
  Stream* const stream = app_.events.open("me", app_.events.id());
  ask("POST", "/api/1/tokens", log_in(), "{\"name\":\"a\"}");
  EXPECT_EQ(stream->take(), kTopicChange);
  const std::string path = "/api/1/tokens/" + app_.tokens.all().front().id;
  EXPECT_EQ(status("DELETE", path.c_str(), log_in()), 204);
  EXPECT_EQ(stream->take(), kTopicChange);
}

TEST_F(Front, TokensAreToldOnceAndListedWithoutSecret) {
  const Response made = ask("POST", "/api/1/tokens", log_in(), "{\"name\":\"nightly backup\"}");
  EXPECT_THAT(made.body, HasSubstr("\"token\":\"capi_"));
  const Response list = ask("GET", "/api/1/tokens", log_in());
  EXPECT_THAT(list.body, HasSubstr("\"name\":\"nightly backup\""));
  EXPECT_THAT(list.body, testing::Not(HasSubstr("capi_")));
}

TEST_F(Front, ATokensNameIsALineOfAFewCharacters) {
  const auto status_of = [&](const std::string& name) {
    const std::string body = "{\"name\":\"" + name + "\"}";
    return status("POST", "/api/1/tokens", log_in(), body.c_str());
  };
  std::string longest;
  for (int i = 0; i < 64; ++i) longest += "ä";
  EXPECT_EQ(status_of(longest), 201);
  EXPECT_EQ(status_of(longest + "a"), 422);
  EXPECT_EQ(status_of(std::string(65, 'a')), 422);
  for (const char* const name :
       {"", " a", "a\\nb", "a\\tb", "a\\u001b[1m", "a\\u0007", "a\\u007f", "a\\u009b1m"}) {
    EXPECT_EQ(status_of(name), 422) << name;
  }
  EXPECT_EQ(status("POST", "/api/1/tokens", log_in(), "{}"), 422);
}

TEST_F(Front, ALoginBeginsWithThePasswordAndANewSecret) {
  const Response wrong = log_in_with("password=wrong");
  EXPECT_EQ(wrong.status, 403);
  EXPECT_EQ(value(wrong, "Set-Cookie"), "");
  const Response right = log_in_with("password=correct+horse&next=/calls");
  EXPECT_EQ(right.status, 303);
  EXPECT_EQ(value(right, "Location"), "/calls");
  const std::string secret = app_.sessions.all().front().secret;
  EXPECT_EQ(value(right, "Set-Cookie"),
            "capi_session=" + secret + "; HttpOnly; SameSite=Strict; Path=/");
  const Fields again = {{"origin", "http://localhost:8080"},
                        {"content-type", kForm},
                        {"cookie", "capi_session=" + secret}};
  EXPECT_EQ(status("POST", "/login", again, "password=correct+horse"), 303);
  EXPECT_THAT(app_.sessions.all(), testing::SizeIs(1));
  EXPECT_NE(app_.sessions.all().front().secret, secret);
}

TEST_F(Front, ALoginByWayOfTlsHasACookieForTlsOnly) {
  const Fields form = {{"origin", "https://localhost:8080"}, {"content-type", kForm}};
  const Response login = ask("POST", "/login", form, "password=correct+horse");
  EXPECT_EQ(login.status, 303);
  const Session& session = app_.sessions.all().front();
  EXPECT_EQ(value(login, "Set-Cookie"),
            "capi_session=" + session.secret + "; HttpOnly; SameSite=Strict; Path=/; Secure");
  const std::string body = "token=" + session.token;
  const Response logout =
      ask("POST", "/logout", with(form, "cookie", "capi_session=" + session.secret), body.c_str());
  EXPECT_EQ(value(logout, "Set-Cookie"),
            "capi_session=; Max-Age=0; HttpOnly; SameSite=Strict; Path=/; Secure");
}

TEST_F(Front, WhatAPageAsksOnItsOwnProlongsNoLogin) {
  const Fields page = log_in();
  const Session& session = app_.sessions.all().front();
  const auto prolongs = [&](const char* target, const Fields& headers) {
    app_.sessions.find(session.secret, now_ms() - 1000);
    const int64_t before = session.seen_ms;
    EXPECT_EQ(status("GET", target, headers), 200);
    return session.seen_ms != before;
  };
  EXPECT_TRUE(prolongs("/api/1/tokens", page));
  EXPECT_FALSE(prolongs("/api/1/tokens", with(page, "x-capi-refresh", "1")));
  EXPECT_FALSE(prolongs("/api/1/events", page));
}

TEST_F(Front, ALoginLeadsToNoOtherServer) {
  for (const char* const next : {"//evil.example", "http://evil.example", "/\\evil.example",
                                 "%09//evil.example", "/%0d%0aSet-Cookie:a=b", "/%ff", "evil"}) {
    const std::string body = std::string("password=correct+horse&next=") + next;
    EXPECT_EQ(value(log_in_with(body.c_str()), "Location"), "/") << next;
  }
}

TEST_F(Front, ALoginFromAnotherSiteIsRefused) {
  const Fields evil = {{"origin", "http://evil.example"}, {"content-type", kForm}};
  EXPECT_EQ(status("POST", "/login", evil, "password=correct+horse"), 403);
  EXPECT_THAT(app_.sessions.all(), testing::SizeIs(0));
}

TEST_F(Front, AnotherPasswordEndsAllLoginsAndNoToken) {
  const Fields program = {{"authorization", "Bearer " + app_.tokens.make("backup", 7)}};
  const Fields page = log_in();
  EXPECT_EQ(status("GET", "/api/1/tokens", page), 200);
  const std::string name = app_.sessions.all().front().name;
  EXPECT_TRUE(is_open(app_, name));
  write_password_file("/tmp/web.password", hash_of_password("battery staple"));
  EXPECT_FALSE(is_open(app_, name)) << "nor goes its stream on";
  EXPECT_EQ(status("GET", "/api/1/tokens", page), 401);
  EXPECT_EQ(status("GET", "/api/1/tokens", program), 200);
  EXPECT_EQ(log_in_with("password=correct+horse").status, 403);
  EXPECT_EQ(log_in_with("password=battery+staple").status, 303);
  EXPECT_THAT(app_.sessions.all(), testing::SizeIs(1));
}

TEST_F(Front, APasswordThatIsGoneEndsAllLogins) {
  const Fields page = log_in();
  EXPECT_EQ(status("GET", "/api/1/tokens", page), 200);
  ASSERT_EQ(remove("/tmp/web.password"), 0);
  EXPECT_EQ(status("GET", "/api/1/tokens", page), 401);
}

TEST_F(Front, WrongPasswordsHaveToWaitEvenWithTheRightOne) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(log_in_with("password=wrong").status, 403);
  const Response early = log_in_with("password=correct+horse");
  EXPECT_EQ(early.status, 429);
  EXPECT_EQ(value(early, "Retry-After"), "1");
  EXPECT_THAT(app_.sessions.all(), testing::SizeIs(0));
}

TEST_F(Front, ALogoutEndsTheLoginOfItsOwnFormOnly) {
  const Fields page = with(log_in(), "content-type", kForm);
  EXPECT_EQ(status("POST", "/logout", page, "token=0"), 403);
  EXPECT_EQ(status("POST", "/logout", page), 403);
  const std::string body = "token=" + app_.sessions.all().front().token;
  const Response response = ask("POST", "/logout", page, body.c_str());
  EXPECT_EQ(response.status, 303);
  EXPECT_EQ(value(response, "Set-Cookie"),
            "capi_session=; Max-Age=0; HttpOnly; SameSite=Strict; Path=/");
  EXPECT_THAT(app_.sessions.all(), testing::SizeIs(0));
}

TEST_F(Front, TextsOfOthersAreNoMarkup) {
  const Response page = ask("GET", "/login?next=%22%3E%3Cscript%3E");
  EXPECT_THAT(page.body, testing::Not(HasSubstr("<script>")));
}

TEST_F(Front, FilesOfThePageAreAskedForAgainOnlyWhenTheyHaveChanged) {
  for (const Asset& asset : assets()) {
    const std::string path = "/assets/" + std::string(asset.name);
    const Response first = ask("GET", path.c_str());
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.fixed, asset.content);
    EXPECT_THAT(first.headers, Contains(Pair("Cache-Control", "no-cache")));
    const Response second = ask("GET", path.c_str(), {{"if-none-match", value(first, "ETag")}});
    EXPECT_EQ(second.status, 304);
    EXPECT_EQ(second.fixed, "");
  }
}

TEST(PageFiles, TakeNoMoreThanTheyMay) {
  size_t size = 0;
  for (const Asset& asset : assets()) size += asset.content.size();
  EXPECT_LE(size, 100'000u);
}

}  // namespace
}  // namespace tools::web
