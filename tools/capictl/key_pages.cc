// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The reference of the keys, docs/keys.md.
#include "key_pages.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "places.h"
#include "stack_files.h"
#include "value.h"

namespace tools::capictl {
namespace {

// What people look for, and the keys that belong to it: patterns of "section.field". A key may
// belong to several.
struct Topic {
  const char* name;
  std::vector<const char*> patterns;
};
const Topic kTopics[] = {
    {"Lines and their users", {"sip_line*", "sip_feature*"}},
    {"Servers and registration",
     {"sip_server*", "sip_registration*", "*.pcscf_addr", "*.sos_pcscf"}},
    {"Ports", {"*_port"}},
    {"Addresses",
     {"*_ip", "*_addr", "*_address", "*_pcscf", "*.dns_server", "*.*_domain",
      "sip_server*.registrar", "sip_server*.*proxy"}},
    {"Interfaces", {"*if_name*", "*.bind_interface"}},
    {"Timers and intervals",
     {"*_interval", "*_timeout", "*_duration", "*session_timer*", "voice_stack*.t1", "*.*_ptime"}},
    {"Transport, TLS and SRTP",
     {"*.transport_protocol", "*tls*", "*cert*", "*.key_file", "*.srtp_mode"}},
    {"Quality of service", {"*dscp"}},
    {"Codecs",
     {"voice_parameter.count", "voice_parameter._*", "voice_parameter.evs_*",
      "voice_parameter.name_*", "voice_parameter.packet_time_*", "voice_parameter.mode_set_*",
      "voice_parameter.code_*", "*.default_ptime"}},
    {"Audio, DTMF and fax",
     {"*gain*", "*.volume", "*.ec", "*.vad", "*.cng", "*dtmf*", "*rfc2833*", "*fax*", "*com_data*",
      "*.vbd_*", "slic_parameter*", "*.polarity_reversal_type", "*.cpc_*"}},
    {"Dialling", {"*dial*", "*hotline*", "*conference*"}},
    {"Calls that are blocked, let through or sent elsewhere",
     {"call_*", "*.dnd_enable", "*.callwaiting_enable"}},
    {"NAT and keep-alive", {"voice_nat*", "*keepalive*", "*heartbeat*"}},
    {"Messages", {"sms*", "*mwi*"}},
    {"Emergency calls", {"*emergency*", "*sos*"}},
    {"Stacks", {"voice_stack*", "voice_switch*", "voice_access*", "*.gate_control_enable"}},
    {"Passwords and keys", {"*password*", "*.auth_name", "*.stun_username", "*.key_file"}},
    {"SIM and subscriber", {"sim_info*", "*msisdn"}},
    {"Device",
     {"hw_info*", "*.fw_*", "*directory", "*.uuid", "*.imei", "*.device_name", "*_mac",
      "basic_sip.country", "basic_sip.carrier", "basic_sip.user_agent"}},
    {"Radio cell", {"*lte_netinfo*"}},
};

// A row of the table of keys: the first of the keys that differ in their numbers.
bool is_first(const Key& key) { return key.number == 1; }

// "mode_set_%d".
std::string pattern_of(const Key& key) {
  const std::string& name = key.row.name;
  return name.substr(key.name.size() - key.field().size());
}

// As it is in a link to a heading.
std::string anchor_of(const char* section) {
  std::string anchor = section;
  std::erase(anchor, '%');
  return anchor;
}

bool belongs_to(const Key& key, const Topic& topic) {
  return std::ranges::any_of(topic.patterns, [&](const char* pattern) {
    return fnmatch(pattern, key.label().c_str(), 0) == 0;
  });
}

void print_topic(const char* name, const std::vector<const Key*>& keys) {
  if (keys.empty()) return;
  printf("- **%s**:", name);
  const char* gap = "";
  for (const Key* key : keys) {
    printf("%s\n  [`%s.%s`](#%s)", gap, key->row.section, pattern_of(*key).c_str(),
           anchor_of(key->row.section).c_str());
    gap = ",";
  }
  puts("");
}

void print_topics() {
  puts("## By topic\n");
  std::vector<const Key*> rest;
  for (const Key& key : all_keys()) {
    const auto has_key = [&](const Topic& topic) { return belongs_to(key, topic); };
    if (is_first(key) && std::ranges::none_of(kTopics, has_key)) rest.push_back(&key);
  }
  for (const Topic& topic : kTopics) {
    std::vector<const Key*> keys;
    for (const Key& key : all_keys()) {
      if (is_first(key) && belongs_to(key, topic)) keys.push_back(&key);
    }
    print_topic(topic.name, keys);
  }
  print_topic("Other", rest);
}

// A text as a table's cell has it.
std::string cell(std::string text) {
  for (size_t i = 0; (i = text.find('|', i)) != std::string::npos; i += 2) text.insert(i, "\\");
  return text;
}

std::string sentence_of(const Key& key) {
  const capi_key_meaning& meaning = key.meaning;
  std::string text = meaning.meaning;
  if (meaning.note[0] != '\0') text += std::string(" ") + meaning.note;
  if (meaning.standard[0] != '\0') text += std::string(" ") + meaning.standard + ".";
  if (meaning.is_secret != 0) text += " **Secret.**";
  if (meaning.is_read_back != 0) text += " *Read from the device's own files.*";
  return text;
}

std::string lines_of(const Key& key) {
  std::string text;
  for (const Place& place : places_of(key)) {
    if (!text.empty()) text += "<br>";
    text += "`" + place.section + "` `" + place.line + "`";
    const bool is_in_all = std::ranges::count(place.files, ' ') + 1 == std::ssize(kStackTypes);
    if (!is_in_all) text += ": " + place.files;
    if (!place.when.empty()) text += ", when " + place.when;
  }
  return text;
}

std::string allowed_in_cell(const Key& key) {
  std::string text = allowed_values(key);
  if (key.meaning.origin == CAPI_KEY_UNKNOWN) text = "**" + text + "**";
  const bool has_length = key.row.kind == CAPI_CONFIG_TEXT &&
                          text.find(std::to_string(key.meaning.longest)) == std::string::npos;
  return has_length ? text + "; up to " + std::to_string(key.meaning.longest) + " characters"
                    : text;
}

void print_section_head(const Key& key) {
  printf("\n## %s\n\n", key.row.section);
  if (key.row.section_max != 0) printf("Numbered from 1 to %d. ", key.row.section_max);
  const std::string prefix = key.name.substr(0, key.name.size() - key.field().size());
  printf("In a setting file `%s` stands in front of a key.\n\n", prefix.c_str());
  puts("| key | meaning | takes | unit | start | line of the stacks' files |");
  puts("|---|---|---|---|---|---|");
}

void print_row(const Key& key) {
  std::string name = "`" + pattern_of(key) + "`";
  if (key.row.name_max != 0) name += ", 1 to " + std::to_string(key.row.name_max);
  if (key.row.is_shared != 0) name += ", one value for all numbers of the section";
  const std::string start =
      key.meaning.start[0] != '\0' ? "`" + std::string(key.meaning.start) + "`" : "";
  printf("| %s | %s | %s | %s | %s | %s |\n", name.c_str(), cell(sentence_of(key)).c_str(),
         cell(allowed_in_cell(key)).c_str(), key.meaning.unit, cell(start).c_str(),
         cell(lines_of(key)).c_str());
}

void print_introduction() {
  const auto& keys = all_keys();
  const auto rows = std::ranges::count_if(keys, is_first);
  const auto unknown = std::ranges::count_if(
      keys, [](const Key& key) { return is_first(key) && key.meaning.origin == CAPI_KEY_UNKNOWN; });
  printf(
      "# Configuration keys\n\n"
      "All %zu keys that setting files, `capi_config_set()` and `capi_config_get()` know, made\n"
      "with `capictl page keys` from the table of [libcapi-keys](key-meanings.md). Where a name\n"
      "has `%%d` stands a number; of lines that differ in their numbers the first is shown.\n"
      "\"Start\" is the value after a master's start without settings: nothing, where the cell is\n"
      "empty. `capictl config describe` tells of a single key. A text's length counts bytes.\n\n"
      "Of %td of these %td rows neither the interface nor a standard says what the values mean.\n"
      "What such a key takes is printed **bold**, and its meaning is to be asked for.\n\n",
      keys.size(), unknown, rows);
}

}  // namespace

void print_key_reference() {
  print_introduction();
  print_topics();
  std::string section;
  for (const Key& key : all_keys()) {
    if (!is_first(key)) continue;
    if (section != key.row.section) {
      section = key.row.section;
      print_section_head(key);
    }
    print_row(key);
  }
}

}  // namespace tools::capictl
