// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How much stack the functions of libcapi-keys need: threads of the portable layer ask as well.
#include "support/stack_depth.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "capi-keys.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

struct Operation {
  const char* name;
  bool (*run)();
};

const std::string kEndless(5000, 'x');
const auto kRecord = std::make_unique<cfg_shared_record>();

bool check(const char* section, const char* name, const char* value, int expected) {
  char sentence[CAPI_KEYS_SENTENCE];
  return capi_keys_check(section, name, value, sentence, sizeof sentence) == expected;
}

bool set(const char* name, const char* value, int expected) {
  char sentence[CAPI_KEYS_SENTENCE];
  return capi_keys_set("basic_sip", name, value, sentence, sizeof sentence) == expected;
}

bool with_key(const char* section, const char* name, bool (*use)(const capi_config_key& key)) {
  capi_config_key key;
  return capi_config_find(section, name, &key) == 0 && use(key);
}

int ignore_value(int32_t, const char*, void*) { return 0; }
int ignore_change(const char*, const char*, const char*, const char*, void*) { return 0; }

// What takes long ways: names that are compared with all others, lists, formats.
const Operation kOperations[] = {
    {"capi_keys_find",
     [] {
       capi_key_meaning meaning;
       return capi_keys_find("voice_parameter", "option_voice_parameter_mode_set_12", &meaning) ==
              0;
     }},
    {"capi_keys_describe",
     [] {
       return with_key("slic_parameter", "option_slic_parameter_settings", [](const auto& key) {
         capi_key_meaning meaning;
         return capi_keys_describe(&key, &meaning) == 0;
       });
     }},
    {"capi_keys_allowed",
     [] {
       return with_key("voice_parameter", "option_voice_parameter_evs_ch_aw_recv",
                       [](const auto& key) {
                         char text[CAPI_KEYS_SENTENCE];
                         return capi_keys_allowed(&key, text, sizeof text) == 0;
                       });
     }},
    {"capi_keys_check", [] { return check("basic_spi", "a", "1", CAPI_KEY_UNKNOWN_SECTION); }},
    {"capi_keys_check", [] { return check(kEndless.c_str(), "a", "1", CAPI_KEY_UNKNOWN_SECTION); }},
    {"capi_keys_check",
     [] {
       return check("basic_sip", "option_basic_sip_session_timer_expirse", "1",
                    CAPI_KEY_UNKNOWN_KEY);
     }},
    {"capi_keys_check",
     [] { return check("basic_sip", kEndless.c_str(), "1", CAPI_KEY_UNKNOWN_KEY); }},
    {"capi_keys_check",
     [] { return check("call_block", "option_call_block_enrty_3", "1", CAPI_KEY_ODD_SPELLING); }},
    {"capi_keys_check",
     [] {
       return check("voice_parameter", "option_voice_parameter_evs_ch_aw_recv", "4",
                    CAPI_KEY_NOT_ONE_OF);
     }},
    {"capi_keys_check",
     [] {
       return check("runtime_info", "option_runtime_info_wan_ip", "2001:db8:0:1:2:3:192.0.2.256",
                    CAPI_KEY_WRONG_FORMAT);
     }},
    {"capi_keys_check",
     [] {
       return check("sim_info", "option_sim_info_IMPU",
                    "sip:+15550100001@[2001:db8::1]:5060;transport", CAPI_KEY_WOULD_BE_CUT);
     }},
    {"capi_keys_set", [] { return set("option_basic_sip_local_port", "5070", CAPI_KEY_OK); }},
    {"capi_keys_set",
     [] { return set("option_basic_sip_local_prot", "5070", CAPI_KEY_UNKNOWN_KEY); }},
    {"capi_keys_value_name",
     [] { return capi_keys_value_name("basic_sip", "option_basic_sip_rtp_dscp", 56) != nullptr; }},
    {"capi_keys_value_number",
     [] {
       int32_t number = 0;
       return capi_keys_value_number("basic_sip", "option_basic_sip_rtp_dscp", "CS7", &number) == 0;
     }},
    {"capi_keys_for_each_value",
     [] {
       return with_key("basic_sip", "option_basic_sip_rtp_dscp", [](const auto& key) {
         return capi_keys_for_each_value(&key, ignore_value, nullptr) == 0;
       });
     }},
    {"capi_keys_start_record", [] { return capi_keys_start_record(kRecord.get()) == 0; }},
    {"capi_keys_for_each_change",
     [] {
       memset(kRecord.get(), 0, sizeof *kRecord);
       return capi_keys_for_each_change(kRecord.get(), ignore_change, nullptr) == 0;
     }},
};

class KeyStackDepth : public Adapter {};

TEST_F(KeyStackDepth, EveryFunctionIsLookedAt) {
  std::set<std::string> exported;
  const std::regex symbol("^ +(capi_\\w*);");
  for (const std::string& line : read_lines(source_file("keys/capi-keys.map"))) {
    std::smatch match;
    if (std::regex_search(line, match, symbol)) exported.insert(match[1]);
  }
  std::set<std::string> looked_at;
  for (const Operation& operation : kOperations) looked_at.insert(operation.name);
  EXPECT_EQ(looked_at, exported);
}

TEST_F(KeyStackDepth, LeavesFourKilobytesOfAThreadsDefaultStack) {
  start_master();
  ASSERT_EQ(capi_config_finish(), 0);
  const DefaultOutput output;
  for (const capi_log_sink sink : {capi_log_sink{[](int, const char*) {}}, capi_log_sink{}}) {
    capiv2_log_init(sink);
    PaintedStack stack;
    for (const Operation& operation : kOperations) {
      Task task{operation.run};
      const size_t depth = stack.run(task);
      printf("%-50s %9zu\n", operation.name, depth);
      EXPECT_LE(depth, kDefaultStack - kSpare) << operation.name;
      EXPECT_TRUE(task.answered) << operation.name;
    }
  }
}

}  // namespace
}  // namespace capi::test
