// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a device stores, sets and starts with is right by the rows: a check that refuses it would be
// wrong itself.
#include <gtest/gtest.h>

#include "capi-keys.h"
#include "foundation/key_value.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kDevice[] = "demo/device";

// What is wrong with a value, or an empty text.
std::string fault_of(const std::string& section, const std::string& name,
                     const std::string& value) {
  char sentence[CAPI_KEYS_SENTENCE];
  const int result =
      capi_keys_check(section.c_str(), name.c_str(), value.c_str(), sentence, sizeof sentence);
  return result == CAPI_KEY_OK ? "" : name + ": " + sentence;
}

std::string numbered(const char* pattern, int number) {
  char text[96];
  snprintf(text, sizeof text, pattern, number);
  return text;
}

void check_instance(const std::string& section, const std::string& name) {
  EXPECT_EQ(fault_of(section, name, get_config(section, name)), "");
}

int check_stored_values(const capi_config_key* key, void*) {
  for (int section = 1; section <= std::max(key->section_max, 1); ++section) {
    for (int name = 1; name <= std::max(key->name_max, 1); ++name) {
      check_instance(numbered(key->section, section), numbered(key->name, name));
    }
  }
  return 0;
}

class DeviceValues : public Adapter {
 protected:
  static std::string copy(const std::string& name, const std::string& path) {
    const std::string content = read_file(source_file(kDevice + name));
    EXPECT_NE(content, "") << name;
    write_file(path, content);
    return path;
  }
};

TEST_F(DeviceValues, OfAStartWithoutSettingsAreRight) {
  start_master();
  ASSERT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(capi_config_for_each(check_stored_values, nullptr), 0);
}

TEST_F(DeviceValues, OfItsOwnFilesAndSettingsAreRight) {
  for (const char* name : {"/tmp/info.simcard", "/tmp/info.sys", "/tmp/info.wan", "/tmp/m_data",
                           "/tmp/voice.cfg.default"}) {
    copy(name, name);
  }
  start_master();
  for (const char* name :
       {"/quorbleconf/config/network.settings", "/quorbleconf/config/voice.settings"}) {
    ASSERT_EQ(capi_init_settings_from_file(copy(name, "/tmp/a.settings").c_str()), 0);
  }
  ASSERT_EQ(capi_config_finish(), 0);
  EXPECT_EQ(get_config("sim_info", "option_sim_info_IMSI"), "001010123456789");
  EXPECT_EQ(get_config("speed_dial30", "option_speed_dial30_num_30"), "15551230130");
  EXPECT_EQ(capi_config_for_each(check_stored_values, nullptr), 0);
}

TEST_F(DeviceValues, InItsSettingFilesAreRight) {
  int count = 0;
  for (const char* name :
       {"/quorbleconf/config/network.settings", "/quorbleconf/config/voice.settings"}) {
    const std::string path = copy(name, "/tmp/a.settings");
    for_each_item(path.c_str(), [&](const char* section, const char* key, const char* value) {
      EXPECT_EQ(fault_of(section, key, value), "");
      ++count;
    });
  }
  EXPECT_EQ(count, 169);
}

struct Known {
  const char* section;
  const char* name;
  std::vector<std::string> values;
};

const Known kKnown[] = {
    {"sim_info", "option_sim_info_ICCID", {"8985235000000000001", "8901260000000000000"}},
    {"sim_info", "option_sim_info_IMSI", {"310260000000001", "454001234567890", "001011234567890"}},
    {"sim_info", "option_sim_info_IMPU", {"tel:+1-201-555-0123", "sip:001010123456789@ims"}},
    {"hw_info", "option_hw_info_wan_mac", {"12:ab:cd:01:02:03", "00:00:00:00:00:00"}},
    {"hw_info", "option_hw_info_imei0", {"000000000000000"}},
    {"hw_info", "option_hw_info_serial", {"0000000000000"}},
    {"hw_info", "option_hw_info_contrycode", {"US"}},
    {"runtime_info", "option_runtime_info_lte_netinfo_globalcellid", {"1A2B3C4"}},
    {"runtime_info", "option_runtime_info_lte_netinfo_enbid", {"107187"}},
    {"runtime_info", "option_runtime_info_lte_netinfo_cellid", {"196"}},
    {"runtime_info", "option_runtime_info_lte_netinfo_band", {"33", "53", "4"}},
    {"runtime_info", "option_runtime_info_lte_netinfo_mnc", {"01", "001"}},
    {"runtime_info", "option_runtime_info_ims_ip", {"127.0.0.1", "2001:db8::20"}},
    {"runtime_info", "option_runtime_info_data_directory", {"/tmp", "/quorbleconf/nv"}},
    {"basic_sip", "option_basic_sip_transport_protocol", {"0", "1", "2"}},
    {"sip_server_1", "option_sip_server_registrar_port", {"0", "5060"}},
    {"sip_registration", "option_sip_registration_reg_interval", {"600000", "3600"}},
    {"voice_parameter", "option_voice_parameter_count", {"0", "12"}},
    {"voice_parameter", "option_voice_parameter_evs_dtx", {"-2", "0", "1"}},
    {"voice_parameter", "option_voice_parameter_code_list_1", {"AMR", "EVS", "AMR/EVS"}},
    {"voice_parameter", "option_voice_parameter_mode_set_12", {"7", "8", "0,2,4,7"}},
};

TEST_F(DeviceValues, OfOtherDevicesAreRight) {
  for (const Known& known : kKnown) {
    for (const std::string& value : known.values) {
      EXPECT_EQ(fault_of(known.section, known.name, value), "");
    }
  }
}

}  // namespace
}  // namespace capi::test
