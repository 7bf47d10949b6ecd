// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tools/capi-web/message.h"

#include <gmock/gmock.h>

#include "tools/capi-web/decode.h"

namespace tools::web {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using namespace std::string_literals;

// The status that refuses these bytes, in whatever pieces they come; 0 for none.
int refusal_of(const std::string& bytes) {
  Gate at_once;
  at_once.take(bytes);
  Gate bit_by_bit;
  for (const char c : bytes) bit_by_bit.take(std::string_view(&c, 1));
  EXPECT_EQ(at_once.refusal(), bit_by_bit.refusal()) << bytes;
  EXPECT_EQ(at_once.messages().size(), bit_by_bit.messages().size()) << bytes;
  return at_once.refusal();
}

std::string with_field(const std::string& field) {
  return "GET / HTTP/1.1\r\nHost: a\r\n" + field + "\r\n\r\n";
}

std::string with_first_line(const std::string& line) { return line + "\r\nHost: a\r\n\r\n"; }

TEST(Gate, HandsOnWholeRequestsByteForByte) {
  const std::string bytes =
      "POST /a?b=c HTTP/1.1\r\nHost: a\r\nX-One:  two words \r\nContent-Length: 3\r\n\r\nxyz";
  Gate gate;
  EXPECT_EQ(gate.take(bytes.substr(0, bytes.size() - 1)), "");
  EXPECT_TRUE(gate.is_waiting());
  EXPECT_EQ(gate.take("z"), bytes);
  EXPECT_FALSE(gate.is_waiting());
  ASSERT_THAT(gate.messages(), SizeIs(1));
  const Message& message = gate.messages().front();
  EXPECT_EQ(message.method, "POST");
  EXPECT_EQ(message.target, "/a?b=c");
  EXPECT_EQ(message.body, "xyz");
  EXPECT_THAT(message.headers, testing::ElementsAre(Pair("host", "a"), Pair("x-one", "two words"),
                                                    Pair("content-length", "3")));
}

TEST(Gate, PartsRequestsThatComeTogether) {
  const std::string one = "GET /1 HTTP/1.1\r\nHost: a\r\n\r\n";
  const std::string two = "POST /2 HTTP/1.1\r\nHost: a\r\nContent-Length: 1\r\n\r\nx";
  Gate gate;
  EXPECT_EQ(gate.take(one + two + "GET /3"), one + two);
  EXPECT_THAT(gate.messages(), SizeIs(2));
  EXPECT_EQ(gate.messages().back().body, "x");
  EXPECT_TRUE(gate.is_waiting());
}

TEST(Gate, RefusesTwoLengths) {
  EXPECT_EQ(refusal_of(with_field("Content-Length: 1\r\nContent-Length: 1")), 400);
  EXPECT_EQ(refusal_of(with_field("Content-Length: 1\r\nTransfer-Encoding: chunked")), 400);
  EXPECT_EQ(refusal_of(with_field("Transfer-Encoding: chunked")), 411);
}

TEST(Gate, RefusesALengthThatIsNoNumber) {
  for (const char* const length : {"+4", "-1", "0x4", "4 4", "4,4", "", "1e3", "4\t4"}) {
    EXPECT_EQ(refusal_of(with_field("Content-Length: "s + length)), 400) << length;
  }
}

TEST(Gate, RefusesABodyThatIsTooLongBeforeItComes) {
  EXPECT_EQ(refusal_of(with_field("Content-Length: 65536")), 0);
  EXPECT_EQ(refusal_of(with_field("Content-Length: 65537")), 413);
  EXPECT_EQ(refusal_of(with_field("Content-Length: 99999999999999999999999")), 413);
}

TEST(Gate, RefusesAHeadThatIsTooLong) {
  const std::string start = "GET / HTTP/1.1\r\nHost: a\r\nX: ";
  EXPECT_EQ(refusal_of(start + std::string(8192 - start.size() - 4, 'x') + "\r\n\r\n"), 0);
  EXPECT_EQ(refusal_of(start + std::string(8193 - start.size() - 4, 'x') + "\r\n\r\n"), 431);
  EXPECT_EQ(refusal_of(std::string(8193, 'x')), 431);
}

TEST(Gate, RefusesControlCharactersAtOnce) {
  for (int c = 0; c < 256; ++c) {
    const bool is_text = (c >= ' ' && c < 0x7F) || c == '\t';
    const bool may_end_a_line = c == '\r';  // the next character tells
    EXPECT_EQ(refusal_of("GET / HTTP/1.1\r\nHost: a\r\nX: a"s + static_cast<char>(c)),
              is_text || may_end_a_line ? 0 : 400)
        << c;
  }
  EXPECT_EQ(refusal_of("GET / HTTP/1.1\r\nX: a\rb"), 400);
  EXPECT_EQ(refusal_of("GET / HTTP/1.1\n"), 400);
}

TEST(Gate, RefusesWhatIsNotOneHost) {
  EXPECT_EQ(refusal_of("GET / HTTP/1.1\r\n\r\n"), 400);
  EXPECT_EQ(refusal_of("GET / HTTP/1.0\r\n\r\n"), 400);
  EXPECT_EQ(refusal_of("GET / HTTP/1.1\r\nHost:\r\n\r\n"), 400);
  EXPECT_EQ(refusal_of(with_field("host: b")), 400);
}

TEST(Gate, RefusesFieldsWithTwoMeanings) {
  EXPECT_EQ(refusal_of(with_field("X : y")), 400);
  EXPECT_EQ(refusal_of(with_field(": y")), 400);
  EXPECT_EQ(refusal_of(with_field("X")), 400);
  EXPECT_EQ(refusal_of(with_field("X: y\r\n folded")), 400);
  EXPECT_EQ(refusal_of("GET / HTTP/1.1\r\n Host: a\r\n\r\n"), 400);
  for (const char* const name : {"Cookie", "Origin", "Authorization", "X-CAPI-Token"}) {
    EXPECT_EQ(refusal_of(with_field(name + ": a\r\n"s + name + ": b")), 400) << name;
  }
  EXPECT_EQ(refusal_of(with_field("Accept: a\r\nAccept: b")), 0);
}

TEST(Gate, RefusesAFirstLineThatIsNone) {
  for (const char* const line :
       {"", " ", "GET", "GET /", "GET  / HTTP/1.1", "GET / HTTP/1.1 ", "GET x HTTP/1.1",
        "GET //x HTTP/1.1", "GET http://a/ HTTP/1.1", "GET * HTTP/1.1", "GET /#x HTTP/1.1",
        "GET /a b HTTP/1.1", "GET\t/ HTTP/1.1", "G(T / HTTP/1.1", "GET / FTP/1.1"}) {
    EXPECT_THAT(refusal_of(with_first_line(line)), testing::AnyOf(400, 505)) << line;
  }
  EXPECT_EQ(refusal_of(with_first_line("GET / HTTP/2.0")), 505);
  EXPECT_EQ(refusal_of(with_first_line("BREW / HTTP/1.1")), 501);
  EXPECT_EQ(refusal_of(with_first_line("PUT / HTTP/1.1")), 0) << "the routes know of it";
}

TEST(Gate, RefusesABodyWhereNoneBelongs) {
  EXPECT_EQ(refusal_of("HEAD / HTTP/1.1\r\nHost: a\r\nContent-Length: 4\r\n\r\nGET "), 400);
  EXPECT_EQ(refusal_of("POST / HTTP/1.1\r\nHost: a\r\n\r\n"), 411);
  EXPECT_EQ(refusal_of(with_field("Expect: 100-continue")), 417);
}

TEST(Gate, TakesNothingAfterARefusal) {
  Gate gate;
  gate.take(std::string("\0", 1));
  EXPECT_EQ(gate.refusal(), 400);
  EXPECT_EQ(gate.take("GET / HTTP/1.1\r\nHost: a\r\n\r\n"), "");
  EXPECT_THAT(gate.messages(), IsEmpty());
  EXPECT_FALSE(gate.is_waiting());
}

std::string decoded(std::string_view coded, Coding coding) {
  std::string text;
  return decode(coded, coding, text) ? text : "refused";
}

TEST(Decoding, TakesWhatIsCodedAsItShouldBe) {
  EXPECT_EQ(decoded("/a%20b+c", Coding::Path), "/a b+c");
  EXPECT_EQ(decoded("a%20b+c%c3%A4", Coding::Form), "a b c\u00e4");
}

TEST(Decoding, RefusesHalfCodesAndControlCharacters) {
  for (const char* const coded : {"%", "%4", "%4g", "%g4", "%%41", "a%", "%00", "%7f", "%1b"}) {
    EXPECT_EQ(decoded(coded, Coding::Path), "refused") << coded;
    EXPECT_EQ(decoded(coded, Coding::Form), "refused") << coded;
  }
  EXPECT_EQ(decoded("%0a", Coding::Path), "refused");
  EXPECT_EQ(decoded("a%0d%0ab", Coding::Form), "a\r\nb") << "a text has lines";
}

TEST(Decoding, LetsNoCodedSlashPartAPath) {
  EXPECT_EQ(decoded("/..%2f..", Coding::Path), "refused");
  EXPECT_EQ(decoded("%2f", Coding::Form), "/");
}

TEST(Decoding, IsUndoneByEncoding) {
  std::string all;
  for (int c = ' '; c < 256; ++c) {
    if (c != 0x7F) all += static_cast<char>(c);
  }
  EXPECT_EQ(decoded(encode(all), Coding::Form), all);
}

TEST(Forms, HaveTheirFieldsInOrder) {
  Fields fields;
  ASSERT_TRUE(decode_form("a=1&b=%26&&=x&c&a=2=3", fields));
  EXPECT_THAT(fields, testing::ElementsAre(Pair("a", "1"), Pair("b", "&"), Pair("c", ""),
                                           Pair("a", "2=3")));
  EXPECT_FALSE(decode_form("a=%", fields));
  EXPECT_FALSE(decode_form("%=a", fields));
}

TEST(Cookies, AreFoundByTheirWholeName) {
  EXPECT_EQ(cookie("a=1; capi_session=x; b=2", "capi_session"), "x");
  EXPECT_EQ(cookie("capi_session=x", "capi_session"), "x");
  EXPECT_EQ(cookie("my_capi_session=x; capi_sessions=y", "capi_session"), "");
  EXPECT_EQ(cookie("", "capi_session"), "");
}

TEST(Secrets, AreAlikeWhereEveryCharacterIs) {
  EXPECT_TRUE(is_same_secret("abc", "abc"));
  EXPECT_FALSE(is_same_secret("abc", "abd"));
  EXPECT_FALSE(is_same_secret("abc", "abcd"));
  EXPECT_FALSE(is_same_secret("", "a"));
  EXPECT_NE(new_secret(32), new_secret(32));
  EXPECT_THAT(new_secret(32), SizeIs(64));
}

}  // namespace
}  // namespace tools::web
