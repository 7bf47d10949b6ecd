// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/format.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "capi-keys.h"
#include "foundation/text.h"

namespace capi::keys {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool is_dialled(char c) { return is_digit(c) || c == '*' || c == '#'; }

template <typename Is>
bool is_all(std::string_view text, size_t min, size_t max, Is is) {
  return text.size() >= min && text.size() <= max && std::all_of(text.begin(), text.end(), is);
}

std::string_view without_plus(std::string_view text) {
  return starts_with(text, "+") ? tail(text, 1) : text;
}

// Hands the pieces between separators to "is"; false as soon as that is.
template <typename Is>
bool is_each(std::string_view text, char separator, Is is) {
  for (;;) {
    const size_t end = text.find(separator);
    if (!is(head(text, end))) return false;
    if (end == std::string_view::npos) return true;
    text = tail(text, end + 1);
  }
}

bool is_anything(std::string_view) { return true; }

bool is_ip(std::string_view text) {
  char terminated[INET6_ADDRSTRLEN];
  if (text.empty() || text.size() >= sizeof terminated) return false;
  memcpy(terminated, text.data(), text.size());
  terminated[text.size()] = '\0';
  in6_addr address;
  return inet_pton(AF_INET, terminated, &address) == 1 ||
         inet_pton(AF_INET6, terminated, &address) == 1;
}

bool is_label(std::string_view text) {
  constexpr size_t kMaxLabel = 63;
  const auto is_inner = [](char c) { return is_digit(c) || is_letter(c) || c == '-'; };
  return is_all(text, 1, kMaxLabel, is_inner) && text.front() != '-' && text.back() != '-';
}

// A name whose last label is a number would be a broken address.
bool is_domain(std::string_view text) {
  constexpr size_t kMaxName = 253;
  if (text.size() > kMaxName || !is_each(text, '.', is_label)) return false;
  const size_t dot = text.rfind('.');
  return !is_all(dot == std::string_view::npos ? text : tail(text, dot + 1), 1, kMaxName, is_digit);
}

// A name may end in the dot of the root, as in RFC 3261.
bool is_host(std::string_view text) {
  return is_ip(text) || is_domain(text.ends_with('.') ? head(text, text.size() - 1) : text);
}

bool is_mac(std::string_view text) {
  constexpr size_t kLength = 17;
  if (text.size() != kLength) return false;
  return is_each(text, ':', [](std::string_view byte) { return is_all(byte, 2, 2, is_hex); });
}

bool is_iccid(std::string_view text) { return is_all(text, 18, 20, is_digit); }
bool is_imsi(std::string_view text) { return is_all(text, 6, 15, is_digit); }
bool is_imei(std::string_view text) { return is_all(text, 15, 16, is_digit); }
bool is_mcc(std::string_view text) { return is_all(text, 3, 3, is_digit); }
bool is_mnc(std::string_view text) { return is_all(text, 2, 3, is_digit); }
bool is_hex_id(std::string_view text) { return is_all(text, 1, 8, is_hex); }
bool is_decimal_id(std::string_view text) { return is_all(text, 1, 7, is_digit); }
bool is_msisdn(std::string_view text) { return is_all(without_plus(text), 1, 15, is_digit); }

bool is_phone(std::string_view text) {
  constexpr size_t kAny = 255;
  return is_all(without_plus(text), 1, kAny, is_dialled);
}

// Of a network access identifier.
bool is_user_character(char c) {
  return !is_blank_or_control(c) && strchr("\"(),:;<>@[\\]", c) == nullptr;
}

bool is_impi(std::string_view text) {
  constexpr size_t kAny = 255;
  const size_t at = text.find('@');
  return at != std::string_view::npos && is_all(head(text, at), 1, kAny, is_user_character) &&
         is_domain(tail(text, at + 1));
}

// Where the host of a URI ends: at its port, its parameters or its headers.
std::string_view host_part(std::string_view text) {
  const size_t begin = starts_with(text, "[") ? text.find(']') : 0;
  if (begin == std::string_view::npos) return {};
  return head(text, text.find_first_of(":;?", begin));
}

bool is_host_part(std::string_view text) {
  if (!starts_with(text, "[")) return is_host(text);
  return text.back() == ']' && is_ip(tail(head(text, text.size() - 1), 1));
}

bool is_sip_address(std::string_view text) {
  const size_t at = text.find('@');
  if (at == 0) return false;
  return is_host_part(host_part(at == std::string_view::npos ? text : tail(text, at + 1)));
}

// The number of a tel URI, whose digits may stand in groups; a local one may have letters.
bool is_tel_number(std::string_view text) {
  constexpr size_t kAny = 255;
  const bool is_global = starts_with(text, "+");
  const auto is_separator = [](char c) { return strchr("-.()", c) != nullptr; };
  const auto is_dialled_here = [=](char c) {
    return is_global ? is_digit(c) : is_hex(c) || is_dialled(c);
  };
  const std::string_view number = without_plus(text);
  return is_all(number, 1, kAny, [&](char c) { return is_separator(c) || is_dialled_here(c); }) &&
         std::any_of(number.begin(), number.end(), is_dialled_here);
}

// A scheme in letters of either case.
bool has_scheme(std::string_view text, std::string_view scheme) {
  return text.size() >= scheme.size() &&
         strncasecmp(text.data(), scheme.data(), scheme.size()) == 0;
}

bool is_uri(std::string_view text) {
  for (const std::string_view scheme : {"sip:", "sips:"}) {
    if (has_scheme(text, scheme)) return is_sip_address(tail(text, scheme.size()));
  }
  constexpr std::string_view kTel = "tel:";
  if (!has_scheme(text, kTel)) return false;
  text = tail(text, kTel.size());
  return is_tel_number(head(text, text.find(';')));
}

bool is_target(std::string_view text) { return is_phone(text) || is_uri(text); }

// What the kernel takes for a name.
bool is_interface(std::string_view text) {
  constexpr size_t kMaxName = 15;
  const auto is_inner = [](char c) { return c != '/' && c != ':' && !is_blank_or_control(c); };
  return is_all(text, 1, kMaxName, is_inner) && text != "." && text != "..";
}

bool is_path(std::string_view text) {
  constexpr size_t kMaxName = 255;
  const auto is_short = [](std::string_view name) { return name.size() <= kMaxName; };
  return !text.empty() && is_each(text, '/', is_short);
}

bool is_dial_plan(std::string_view text) {
  int depth = 0;
  bool in_range = false;
  for (const char c : text) {
    if (c == '[' || c == ']') {
      if (in_range == (c == '[')) return false;
      in_range = c == '[';
    }
    if (c == '(') ++depth;
    if (c == ')' && --depth < 0) return false;
  }
  return !text.empty() && depth == 0 && !in_range;
}

bool is_mode_set(std::string_view text) {
  const auto is_mode = [](std::string_view mode) {
    return mode.size() == 1 && mode[0] >= '0' && mode[0] <= '8';
  };
  return is_each(text, ',', is_mode);
}

// The place of a text in an ordered list, or -1.
template <typename List>
int place_in(const List& list, std::string_view text) {
  for (size_t i = 0; i < std::size(list); ++i) {
    if (text == list[i]) return static_cast<int>(i);
  }
  return -1;
}

bool is_evs_bit_rate(std::string_view text) {
  static constexpr char kRates[][5] = {"5.9",  "7.2", "8",  "9.6", "13.2", "16.4",
                                       "24.4", "32",  "48", "64",  "96",   "128"};
  const size_t dash = text.find('-');
  const int first = place_in(kRates, head(text, dash));
  if (dash == std::string_view::npos) return first >= 0;
  return first >= 0 && place_in(kRates, tail(text, dash + 1)) > first;
}

bool is_evs_bandwidth(std::string_view text) {
  static constexpr char kBandwidths[][7] = {"nb", "wb", "swb", "fb", "nb-wb", "nb-swb", "nb-fb"};
  return place_in(kBandwidths, text) >= 0;
}

constexpr Format kFormats[] = {
    {is_anything, "a number", "5060"},
    {is_anything, "a text", "text"},
    {is_ip, "an IP address", "192.0.2.1"},
    {is_host, "a host name or an IP address", "sip.example.net"},
    {is_mac, "a MAC address", "02:00:5e:00:53:01"},
    {is_iccid, "an ICCID", "8900101234567890123"},
    {is_imsi, "an IMSI", "001011234567890"},
    {is_imei, "an IMEI", "004999010640000"},
    {is_impi, "an IMPI", "001011234567890@ims.example.net"},
    {is_uri, "a SIP or tel URI", "sip:+15550100001@ims.example.net"},
    {is_phone, "a phone number", "+15550100001"},
    {is_target, "a phone number or a URI", "+15550100001"},
    {is_msisdn, "a number of at most 15 digits", "+15550100001"},
    {is_interface, "the name of an interface", "eth0"},
    {is_path, "a path", "/etc/ssl/certs/ca.pem"},
    {is_dial_plan, "a dial plan whose brackets close", "[2-9]xxxxxx|911"},
    {is_hex_id, "a number of up to 8 hexadecimal digits", "1A2B3C4"},
    {is_decimal_id, "a number of up to 7 decimal digits", "107187"},
    {is_mcc, "an MCC of 3 digits", "001"},
    {is_mnc, "an MNC of 2 or 3 digits", "01"},
    {is_mode_set, "a list of modes from 0 to 8", "0,2,4,7"},
    {is_evs_bit_rate, "a bit rate of EVS or two", "5.9-24.4"},
    {is_evs_bandwidth, "a bandwidth of EVS", "nb-swb"},
};
static_assert(std::size(kFormats) == CAPI_KEY_EVS_BW + 1);

}  // namespace

const Format& format_of(int format) { return kFormats[format]; }

NumberSyntax read_number(std::string_view text, int32_t& number) {
  const bool is_negative = starts_with(text, "-");
  const std::string_view digits = is_negative ? tail(text, 1) : text;
  constexpr size_t kAny = SIZE_MAX;
  if (!is_all(digits, 1, kAny, is_digit)) return NumberSyntax::NoNumber;
  if (digits[0] == '0' && (digits.size() > 1 || is_negative)) return NumberSyntax::NoNumber;
  int64_t value = 0;
  for (const char c : digits) {
    value = value * 10 + (c - '0');
    if (value > -int64_t{INT32_MIN}) return NumberSyntax::TooLarge;
  }
  if (is_negative) value = -value;
  if (value > INT32_MAX) return NumberSyntax::TooLarge;
  number = static_cast<int32_t>(value);
  return NumberSyntax::Number;
}

}  // namespace capi::keys
