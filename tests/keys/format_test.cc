// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/format.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capi-keys.h"

namespace capi::keys {
namespace {

struct FormatCase {
  int format;
  std::vector<std::string> accepted;
  std::vector<std::string> refused;
};

const std::string kLabel63(63, 'a');

const FormatCase kCases[] = {
    {CAPI_KEY_IP,
     {"0.0.0.0", "192.0.2.255", "::", "2001:db8::10", "::ffff:192.0.2.1", "2001:db8:0:1:2:3:4:5"},
     {"192.0.2", "192.0.2.256", "192.0.2.1.1", "192.0.2.01", "-1.0.2.1", "1.2.3.4x", "banana",
      "2001:db8", "2001:db8::1::2", "12345::", "fe80::1%eth0", "[::1]", "2147483648"}},
    {CAPI_KEY_HOST,
     {"a", "a.b", "sip.example.net", "xn--bcher-kva.example", "3com.example", "1.2.3.4", "::1",
      kLabel63 + ".example", "example.net."},
     {".", "a..b", ".a", "a..", "1.2.3.4.", "::1.", "-a.b", "a-.b", "a_b", "a b", "1.2.3",
      "1.2.3.4.5", "2147483648", "example.1", "sip:example.net", "host:5060",
      kLabel63 + "a.example"}},
    {CAPI_KEY_MAC,
     {"00:00:00:00:00:00", "02:00:5e:00:53:01", "FF:FF:FF:FF:FF:ff"},
     {"02005e005301", "02-00-5e-00-53-01", "02:00:5e:00:53", "02:00:5e:00:53:01:02",
      "02:00:5e:00:53:1", "02:00:5e:00:53:0g", "2:000:5e:00:53:01", "02:00:5e:00:53:-1"}},
    {CAPI_KEY_ICCID,
     {"890010123456789012", "8900101234567890123", "89001012345678901234", "000000000000000000"},
     {"89001012345678901", "890010123456789012345", "89001012345678901x", "+90010123456789012"}},
    {CAPI_KEY_IMSI,
     {"001011", "001011234567890"},
     {"00101", "0010112345678901", "00101123456789x", "-01011234567890", "+01011234567890"}},
    {CAPI_KEY_IMEI,
     {"004999010640000", "0049990106400001"},
     {"00499901064000", "00499901064000012", "00499901064000x", "+04999010640000"}},
    {CAPI_KEY_IMPI,
     {"001011234567890@ims.mnc001.mcc001.3gppnetwork.org", "a@b"},
     {"@b", "a@", "a", "a@b@c", "a@-b", "sip:a@b", "a b@c", "a@b:5060"}},
    {CAPI_KEY_URI,
     {"sip:a@b", "sips:a@b.example:5061", "sip:b.example", "sip:+15550100001@ims.example.net",
      "sip:a@[2001:db8::1]:5060;transport=tls", "sip:a@192.0.2.1?x=y", "tel:+15550100001",
      "tel:911;phone-context=example.net", "SIP:a@b", "Sips:b", "TEL:911", "sip:a@b.",
      "tel:+1-201-555-0123", "tel:(555)0100.001;phone-context=+1", "tel:*31#a;phone-context=b"},
     {"a@b", "sip:", "sip:@b", "sip:a@", "sip:a@b_c", "sip:a@[::1", "sip:a@[]", "http://b",
      "tel:", "tel:+", "tel:xyz", "tel:;x=y", "tel:-", "tel:+()", "tel:+1a", "tel:+*1",
      "SIP:", "15550100001"}},
    {CAPI_KEY_PHONE,
     {"0", "911", "+15550100001", "*67", "#31#", "007", "2147483648", "18446744073709551616"},
     {"+", "++1", "1+", "-1", "1-2", "12a", "sip:1@b", "(555)1"}},
    {CAPI_KEY_TARGET,
     {"+15550100001", "*98", "sip:a@b.example", "tel:911"},
     {"+", "a@b", "banana", "-1", "1x", "sip:"}},
    {CAPI_KEY_MSISDN,
     {"1", "15550100001", "+15550100001", "001234567890123", "+123456789012345"},
     {"+", "-1", "1234567890123456", "+1234567890123456", "1*", "12a"}},
    {CAPI_KEY_INTERFACE,
     {"lo", "eth0", "eth0.100", "wwan0-1", "a23456789012345"},
     {"a234567890123456", "a/b", "eth0:1", ".", "..", "a b"}},
    {CAPI_KEY_PATH,
     {"/", "/tmp", "a", "a/b", "/tmp//x", "/" + std::string(255, 'a')},
     {"/" + std::string(256, 'a')}},
    {CAPI_KEY_DIAL_PLAN,
     {"x.T", "[2-9]xxxxxx|1[2-9]xxxxxxxxx|911S0|x.T", "(0|1)x."},
     {"[2-9", "2-9]", "[[2]]", "(x", "x)", ")x(", "[2-9]]"}},
    {CAPI_KEY_HEX,
     {"0", "00", "1A2B3C4", "ffffffff", "7fffffff"},
     {"0x1A", "1A2B3C4D5", "100000000", "-1", "+1", "1g"}},
    {CAPI_KEY_DIGITS,
     {"0", "007", "107187", "9999999"},
     {"10000000", "2147483648", "4294967296", "-1", "+1", "12x", "0x1"}},
    {CAPI_KEY_MCC, {"001", "999"}, {"00", "0001", "-01", "+01", "01x"}},
    {CAPI_KEY_MNC, {"01", "001", "99"}, {"1", "0001", "-1", "+1", "1x"}},
    {CAPI_KEY_MODE_SET,
     {"0", "8", "0,2,4,7", "0,1,2,3,4,5,6,7,8"},
     {"9", "-1", "+1", "00", "10", "0,", ",0", "0,,1", "0 1", "0;1", "1x"}},
    {CAPI_KEY_EVS_BR,
     {"5.9", "128", "5.9-24.4", "9.6-128"},
     {"5", "5.90", "05.9", "129", "24.4-5.9", "5.9-5.9", "5.9-", "-5.9", "5.9-24.4-32", "5.9x",
      "+8"}},
    {CAPI_KEY_EVS_BW,
     {"nb", "wb", "swb", "fb", "nb-wb", "nb-swb", "nb-fb"},
     {"NB", "nb-nb", "wb-swb", "xb", "nb-", "-nb", "nb,wb", "0"}},
};

TEST(KeyFormat, EachAcceptsWhatIsRightAndNothingElse) {
  for (const auto& [format, accepted, refused] : kCases) {
    const Format& checked = format_of(format);
    for (const std::string& text : accepted) {
      EXPECT_TRUE(checked.accepts(text)) << checked.name << ": " << text;
    }
    for (const std::string& text : refused) {
      EXPECT_FALSE(checked.accepts(text)) << checked.name << ": " << text;
    }
  }
}

TEST(KeyFormat, NoneAcceptsNothingOrBlankEnds) {
  for (const FormatCase& row : kCases) {
    const Format& checked = format_of(row.format);
    const std::string example = checked.example;
    EXPECT_FALSE(checked.accepts("")) << checked.name;
    // A file's name may have blanks, but no value of a setting file: that is checked for all keys.
    if (row.format == CAPI_KEY_PATH || row.format == CAPI_KEY_DIAL_PLAN) continue;
    EXPECT_FALSE(checked.accepts(" " + example)) << checked.name;
    EXPECT_FALSE(checked.accepts(example + " ")) << checked.name;
    EXPECT_FALSE(checked.accepts(" ")) << checked.name;
  }
}

TEST(KeyFormat, EveryOneIsLookedAtHereAndAcceptsItsExample) {
  int next = CAPI_KEY_TEXT;
  for (const FormatCase& row : kCases) {
    EXPECT_EQ(row.format, ++next);
    EXPECT_TRUE(format_of(row.format).accepts(format_of(row.format).example));
  }
  EXPECT_EQ(next, CAPI_KEY_EVS_BW);
}

TEST(KeyFormat, ANumberIsWhatTheLibraryWrites) {
  const std::pair<const char*, int32_t> right[] = {{"0", 0},
                                                   {"1", 1},
                                                   {"-1", -1},
                                                   {"10", 10},
                                                   {"5060", 5060},
                                                   {"2147483647", INT32_MAX},
                                                   {"-2147483648", INT32_MIN}};
  for (const auto& [text, expected] : right) {
    int32_t number = 77;
    EXPECT_EQ(read_number(text, number), NumberSyntax::Number) << text;
    EXPECT_EQ(number, expected);
  }
  for (const char* text : {"", " 1", "1 ", "+1", "-", "--1", "-0", "00", "007", "-07", "1x", "x1",
                           "0x10", "1.0", "1e3", "yes"}) {
    int32_t number = 77;
    EXPECT_EQ(read_number(text, number), NumberSyntax::NoNumber) << text;
    EXPECT_EQ(number, 77);
  }
  for (const char* text : {"2147483648", "-2147483649", "4294967296", "18446744073709551616",
                           "99999999999999999999999999999999"}) {
    int32_t number = 77;
    EXPECT_EQ(read_number(text, number), NumberSyntax::TooLarge) << text;
    EXPECT_EQ(number, 77);
  }
}

}  // namespace
}  // namespace capi::keys
