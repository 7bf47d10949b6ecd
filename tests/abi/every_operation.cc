// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "every_operation.h"

#include <arpa/inet.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>

#include "capi.h"
#include "capi/thread.h"
#include "foundation/json.h"
#include "support/adapter.h"
#include "support/all_keys.h"

namespace capi::test {
namespace {

constexpr char kImsi[] = "310260123456789";
constexpr char kIccid[] = "8901260000000000001";
constexpr char kFile[] = "/tmp/depth.file";
constexpr char kSchemaFile[] = "/tmp/depth.schema";
constexpr char kSchema[] =
    R"({"voice":{"volume":{"value":"","default_value":"5","is_changed":0,"type":"string",)"
    R"("sub_strtype":"ipv4","allowed_list":"1,2","min_value":1,"max_value":9,"min_strlen":1,)"
    R"("max_strlen":9}}})";

constexpr char kNetwork[] = "act=7\nmcc=310\nmnc=260\ntac=1\nenbid=2\ncellid=3\nband=4\n";

const capi_callbacks kNoCallbacks{};
capi_log_sink sink = nullptr;

char text[2048];
capi_watch watch;
constexpr int kTextSize = sizeof text;

// What most callers of the library never see: the longest texts that get through.
const std::string& long_text() {
  static const std::string value(1500, 'x');
  return value;
}

// A record of a caller in two pages.
template <typename Record>
Record& record() {
  constexpr size_t kPage = 4096;
  alignas(kPage) static char pages[2 * kPage + sizeof(Record)];
  return *reinterpret_cast<Record*>(pages + kPage - alignof(Record));
}

template <typename Record>
bool gets(int (*get)(Record*)) {
  return get(&record<Record>()) == 0;
}
template <typename Record>
bool gets(int (*get)(Record*, int), int index = 1) {
  return get(&record<Record>(), index) == 0;
}
template <typename Record>
bool sets(int (*set)(const Record*)) {
  return set(&record<Record>()) == 0;
}
template <typename Record>
bool sets(int (*set)(const Record*, int), int index = 1) {
  return set(&record<Record>(), index) == 0;
}

bool gets(int (*get)(char*, int)) { return get(text, kTextSize) == 0; }

// ---- Log, files, locks
// ---------------------------------------------------------------------------

int ignore_change(const char*, const char*, const char*, const char*, void*) { return 0; }
int ignore_item(const char*, const char*, const char*) { return 0; }
int put_line(int index, char* buf, void*) {
  return index <= 2 ? snprintf(buf, 64, "line=%d\n", index) : 0;
}

bool logs() {
  capiv2_log_print(6, "function", 1, "%s %f %d\n", long_text().c_str(), 1.5, 7);
  capiv2_log_print(6, "function", 1, long_text().c_str(), 0);
  return true;
}

bool trims(void (*trim)(char*, char)) {
  strcpy(text, "-a-");
  trim(text, '-');
  return text[0] == 'a';
}

constexpr Operation kFoundation[] = {
    {"capiv2_log_init", [] { return capiv2_log_init(sink), true; }},
    {"capiv2_log_print", logs},
    {"utils_write_to_file", [] { return utils_write_to_file(kFile, "key=value\n", 10) == 1; }},
    {"utils_read_from_file", [] { return utils_read_from_file(kFile, text, 64) == 10; }},
    {"utils_file_exist", [] { return utils_file_exist(kFile) == 1; }},
    {"config_file_reader", [] { return config_file_reader(kFile, ignore_item) == 0; }},
    {"config_file_writer", [] { return config_file_writer(kFile, put_line, nullptr) == 1; }},
    {"get_linedata_from_pipe",
     [] { return get_linedata_from_pipe("echo one; echo two", 2, text, kTextSize) == 0; }},
    {"mkdir_recur", [] { return mkdir_recur("/tmp/depth.dir/below", 0755) == 0; }},
    {"strcpy_safe", [] { return strcpy_safe(text, "text", kTextSize), true; }},
    {"utils_str_trim", [] { return trims(utils_str_trim); }},
    {"utils_str_trim_left", [] { return trims(utils_str_trim_left); }},
    {"utils_str_trim_right", [] { return utils_str_trim_right(text, '-') == text; }},
    {"capi_critical_section_lock_create",
     [] { return remove_ipc_objects(), capi_critical_section_lock_create() == 0; }},
    {"capi_critical_section_lock", [] { return capi_critical_section_lock(2) == 0; }},
    {"capi_critical_section_unlock", [] { return capi_critical_section_unlock(2) == 0; }},
    {"capi_critical_section_lock_stats", [] { return capi_critical_section_lock_stats() == 0; }},
    {"capi_lock", [] { return capi_lock() == 0; }},
    {"capi_unlock", [] { return capi_unlock() == 0; }},
    {"capi_lock_file", [] { return capi_lock_file("/tmp/depth.lock") == 0; }},
    {"capi_unlock_file", [] { return capi_unlock_file("/tmp/depth.lock") == 0; }},
};

// ---- Start and end
// -------------------------------------------------------------------------------

constexpr Operation kLifecycle[] = {
    {"capi_uninit", [] { return capi_uninit() == 0; }},
    {"capi_init", [] { return capi_init(&kNoCallbacks, 1, sink) == 0; }},
    {"capiv2_cfg_backend_deinit", [] { return capiv2_cfg_backend_deinit() == 0; }},
    {"capiv2_cfg_backend_init", [] { return capiv2_cfg_backend_init(&kNoCallbacks, 1) == 0; }},
    {"capi_init_settings_from_file",
     [] { return capi_init_settings_from_file("/tmp/all_keys.settings") == 0; }},
    {"capi_cfg_backend_init_settings_from_file",
     [] { return capi_cfg_backend_init_settings_from_file("/tmp/all_keys.settings") == 0; }},
    {"setting_item_cb", [] { return setting_item_cb("sms", "option_sms_enable", "1") == 0; }},
    {"capi_config_finish", [] { return capi_config_finish() == 0; }},
    {"capi_cfg_backend_config_finish", [] { return capi_cfg_backend_config_finish() == 0; }},
    {"capiv2_cfg_backend_post_init", [] { return capiv2_cfg_backend_post_init() == 0; }},
    {"capi_post_init", [] { return capi_post_init(1) == 0; }},
    {"capi_get_runtime_dir", [] { return capi_get_runtime_dir(0, text, kTextSize) == 0; }},
    {"capi_get_runtime_path",
     [] { return capi_get_runtime_path(0, "file", text, kTextSize) != nullptr; }},
    {"capiv2_cfg_backend_get_bin_dir",
     [] { return capiv2_cfg_backend_get_bin_dir(text) != nullptr; }},
    {"capiv2_cfg_backend_get_data_dir",
     [] { return capiv2_cfg_backend_get_data_dir(text) != nullptr; }},
    {"capiv2_cfg_backend_get_ivr_dir",
     [] { return capiv2_cfg_backend_get_ivr_dir(text) != nullptr; }},
    {"capiv2_cfg_backend_get_log_dir",
     [] { return capiv2_cfg_backend_get_log_dir(text) != nullptr; }},
    {"capiv2_cfg_backend_get_nv_dir",
     [] { return capiv2_cfg_backend_get_nv_dir(text) != nullptr; }},
    {"capiv2_cfg_backend_get_work_dir",
     [] { return capiv2_cfg_backend_get_work_dir(text) != nullptr; }},
};

// ---- Configuration
// -------------------------------------------------------------------------------

bool makes_stack_files(int (*make)(unsigned)) {
  for (unsigned type = 0; type < 7; ++type) {
    if (make(type) != 0) return false;
  }
  return true;
}

// These are there, and always fail.
template <typename Record>
bool refuses(int (*get)(Record*)) {
  return get(&record<Record>()) == -1;
}

constexpr Operation kBackendRecords[] = {
    {"capi_cfg_backend_get_system_access", [] { return gets(capi_cfg_backend_get_system_access); }},
    {"capi_cfg_backend_get_voice_stack", [] { return gets(capi_cfg_backend_get_voice_stack); }},
    {"capi_cfg_backend_set_voice_stack", [] { return sets(capi_cfg_backend_set_voice_stack); }},
    {"capi_cfg_backend_get_voice_switch", [] { return gets(capi_cfg_backend_get_voice_switch); }},
    {"capi_cfg_backend_get_voice_basic", [] { return gets(capi_cfg_backend_get_voice_basic); }},
    {"capi_cfg_backend_set_voice_basic", [] { return sets(capi_cfg_backend_set_voice_basic); }},
    {"capi_cfg_backend_get_voice_sip_line",
     [] { return gets(capi_cfg_backend_get_voice_sip_line); }},
    {"capi_cfg_backend_set_voice_sip_line",
     [] { return sets(capi_cfg_backend_set_voice_sip_line); }},
    {"capi_cfg_backend_get_voice_sip_line_features",
     [] { return gets(capi_cfg_backend_get_voice_sip_line_features); }},
    {"capi_cfg_backend_set_voice_sip_line_features",
     [] { return sets(capi_cfg_backend_set_voice_sip_line_features); }},
    {"capi_cfg_backend_get_voice_parameter",
     [] { return gets(capi_cfg_backend_get_voice_parameter); }},
    {"capi_cfg_backend_set_voice_parameter",
     [] { return sets(capi_cfg_backend_set_voice_parameter); }},
    {"capi_cfg_backend_get_slic_parameter",
     [] { return gets(capi_cfg_backend_get_slic_parameter); }},
    {"capi_cfg_backend_set_slic_parameter",
     [] { return sets(capi_cfg_backend_set_slic_parameter); }},
    {"capi_cfg_backend_set_voice_call_forward",
     [] { return sets(capi_cfg_backend_set_voice_call_forward); }},
    {"capi_cfg_backend_get_voice_speed_dial",
     [] { return gets(capi_cfg_backend_get_voice_speed_dial); }},
    {"capi_cfg_backend_set_voice_speed_dial",
     [] { return sets(capi_cfg_backend_set_voice_speed_dial); }},
    {"capi_cfg_backend_get_voice_speed_dial30",
     [] { return gets(capi_cfg_backend_get_voice_speed_dial30); }},
    {"capi_cfg_backend_set_voice_speed_dial30",
     [] { return sets(capi_cfg_backend_set_voice_speed_dial30); }},
    {"capi_cfg_backend_get_voice_call_white_list",
     [] { return gets(capi_cfg_backend_get_voice_call_white_list); }},
    {"capi_cfg_backend_get_voice_call_redirection",
     [] { return gets(capi_cfg_backend_get_voice_call_redirection); }},
    {"capi_cfg_backend_get_voice_sms_cfg", [] { return gets(capi_cfg_backend_get_voice_sms_cfg); }},
};

constexpr Operation kRecords[] = {
    {"capi_get_system_access", [] { return gets(capi_get_system_access); }},
    {"capi_get_voice_stack", [] { return gets(capi_get_voice_stack); }},
    {"capi_set_voice_stack", [] { return sets(capi_set_voice_stack); }},
    {"capi_get_voice_switch", [] { return gets(capi_get_voice_switch); }},
    {"capi_get_voice_basic", [] { return gets(capi_get_voice_basic); }},
    {"capi_set_voice_basic", [] { return sets(capi_set_voice_basic); }},
    {"capi_get_voice_sip_line", [] { return gets(capi_get_voice_sip_line); }},
    {"capi_set_voice_sip_line", [] { return sets(capi_set_voice_sip_line); }},
    {"capi_get_voice_sip_line_feature", [] { return gets(capi_get_voice_sip_line_feature); }},
    {"capi_set_voice_sip_line_feature", [] { return sets(capi_set_voice_sip_line_feature); }},
    {"capi_get_voice_parameter", [] { return gets(capi_get_voice_parameter); }},
    {"capi_set_voice_parameter", [] { return sets(capi_set_voice_parameter); }},
    {"capi_get_slic_parameter", [] { return gets(capi_get_slic_parameter); }},
    {"capi_set_slic_parameter", [] { return sets(capi_set_slic_parameter); }},
    {"capi_set_voice_call_forward", [] { return sets(capi_set_voice_call_forward); }},
    {"capi_get_voice_speed_dial", [] { return gets(capi_get_voice_speed_dial); }},
    {"capi_set_voice_speed_dial", [] { return sets(capi_set_voice_speed_dial); }},
    {"capi_get_voice_speed_dial30", [] { return gets(capi_get_voice_speed_dial30); }},
    {"capi_set_voice_speed_dial30", [] { return sets(capi_set_voice_speed_dial30); }},
    {"capi_get_voice_call_white_list", [] { return gets(capi_get_voice_call_white_list); }},
    {"capi_get_voice_call_redirection", [] { return gets(capi_get_voice_call_redirection); }},
    {"capi_get_voice_sms_cfg", [] { return gets(capi_get_voice_sms_cfg); }},
    {"capi_get_voice_sip_registration", [] { return refuses(capi_get_voice_sip_registration); }},
    {"capi_get_voice_sip_server", [] { return refuses(capi_get_voice_sip_server); }},
    {"capi_get_voice_nat", [] { return refuses(capi_get_voice_nat); }},
    {"capi_get_voice_call_block", [] { return refuses(capi_get_voice_call_block); }},
    {"capi_get_voice_profile", [] { return capi_get_voice_profile(text) == -1; }},
    {"capi_get_voice_call_forward",
     [] { return capi_get_voice_call_forward(&record<capi_voice_call_forward>(), 1) == -1; }},
};

int ignore_key(const capi_config_key*, void*) { return 0; }
int ignore_stack_line(const capi_stack_line*, void*) { return 0; }

constexpr Operation kConfiguration[] = {
    {"capi_config_set",
     [] { return capi_config_set("sms", "option_sms_sca", 0, "+15550001") == 0; }},
    {"capi_config_get",
     [] { return capi_config_get("sms", "option_sms_sca", text, kTextSize) == 0; }},
    {"capi_cfg_backend_set_config",
     [] { return capi_cfg_backend_set_config("sms", "option_sms_sca", 0, "+15550001") == 0; }},
    {"capi_cfg_backend_get_config",
     [] { return capi_cfg_backend_get_config("sms", "option_sms_sca", text, kTextSize) == 0; }},
    {"capi_make_config_file", [] { return makes_stack_files(capi_make_config_file); }},
    {"capi_cfg_backend_make_config_file",
     [] { return makes_stack_files(capi_cfg_backend_make_config_file); }},
    {"capi_config_for_each", [] { return capi_config_for_each(ignore_key, nullptr) == 0; }},
    {"capi_config_find",
     [] { return capi_config_find("sms", "option_sms_sca", &record<capi_config_key>()) == 0; }},
    {"capi_stack_line_for_each",
     [] { return capi_stack_line_for_each(ignore_stack_line, nullptr) == 0; }},
    {"capi_snapshot_take", [] { return gets(capi_snapshot_take); }},
    {"capi_snapshot_get",
     [] {
       return capi_snapshot_get(&record<cfg_shared_record>(), "sms", "option_sms_sca", text,
                                kTextSize) == 0;
     }},
    {"capi_snapshot_write_config_file",
     [] { return capi_snapshot_write_config_file(&record<cfg_shared_record>(), 0, kFile) == 0; }},
    {"capi_snapshot_diff",
     [] {
       static constexpr cfg_shared_record kEmpty{};
       return capi_snapshot_diff(&kEmpty, &record<cfg_shared_record>(), ignore_change, nullptr) ==
              0;
     }},
    {"capi_live_get", [] { return capi_live_get("sms", "option_sms_sca", text, kTextSize) == 0; }},
    {"capi_live_read", [] { return gets(capi_live_get_voice_basic); }},
    {"capi_live_get_line_reg_stat",
     [] { return capi_live_get_line_reg_stat(0, &record<capi_line_reg_stat>(), 0) == 0; }},
    {"capi_live_refresh",
     [] {
       uint64_t generation = 0;
       return capi_live_refresh(&record<cfg_shared_record>(), &generation) == 1;
     }},
    {"capi_watch_open", [] { return capi_watch_open(&watch, CAPI_TOPIC_ALL) == 0; }},
    {"capi_watch_changed", [] { return capi_watch_changed(&watch) == 0; }},
    {"capi_watch_close",
     [] {
       capi_watch_close(&watch);
       return watch.fd == -1;
     }},
    {"capi_get_presence", [] { return gets(capi_get_presence); }},
};

// ---- Device, carrier, line status
// ----------------------------------------------------------------

bool gets_all_hardware_info() {
  for (int index = CAPI_HW_MODEL_NAME; index <= CAPI_HW_LAN_MAC; ++index) {
    capi_get_hardware_info(index, text, kTextSize);
  }
  return capi_get_hardware_info(CAPI_HW_SERIAL, text, kTextSize) == 0;
}

bool gets_all_simcard_info() {
  for (int index = CAPI_SIM_ICCID; index <= CAPI_SIM_MBDN; ++index) {
    capi_get_simcard_info(index, text, kTextSize);
  }
  return capi_get_simcard_info(CAPI_SIM_IMSI, text, kTextSize) == 0;
}

bool sets_quorble_info() {
  return capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, &record<cfg_shared_record>(),
                               CAPI_IMS_VOICE_BYTES) == 0 &&
         capi_set_quorble_info(CAPI_QUORBLE_VENDOR, &record<cfg_shared_record>(),
                               CAPI_VENDOR_BYTES) == 0;
}

bool gets_all_quorble_info() {
  for (int type = CAPI_QUORBLE_IMS_VOICE; type <= CAPI_QUORBLE_VENDOR; ++type) {
    const int size = type == CAPI_QUORBLE_IMS_VOICE ? CAPI_IMS_VOICE_BYTES : kTextSize;
    if (capi_get_quorble_info(type, text, size) != 0) return false;
  }
  return true;
}

constexpr Operation kDevice[] = {
    {"capi_get_hardware_info", gets_all_hardware_info},
    {"capi_get_firmware_version", [] { return gets(capi_get_firmware_version); }},
    {"capi_get_fw_build_number", [] { return gets(capi_get_fw_build_number); }},
    {"capi_get_device_imei", [] { return gets(capi_get_device_imei); }},
    {"capi_get_device_name", [] { return gets(capi_get_device_name); }},
    {"capi_get_interface_ip", [] { return capi_get_interface_ip("eth0", text, kTextSize) == 0; }},
    {"capi_get_interface_mac", [] { return capi_get_interface_mac("eth0", text, kTextSize) == 0; }},
    {"capi_get_runtime_wan_ip", [] { return gets(capi_get_runtime_wan_ip); }},
    {"capi_get_runtime_public_ipaddr", [] { return gets(capi_get_runtime_public_ipaddr); }},
    {"capi_get_runtime_wan_interface", [] { return gets(capi_get_runtime_wan_interface); }},
    {"capi_get_runtime_bb_interface", [] { return gets(capi_get_runtime_bb_interface); }},
    {"capi_get_runtime_xcap_interface", [] { return gets(capi_get_runtime_xcap_interface); }},
    {"capi_get_runtime_3g_interface", [] { return gets(capi_get_runtime_3g_interface); }},
    {"capi_get_runtime_process_num",
     [] { return capi_get_runtime_process_num("no_such_process") != -1; }},
    {"capi_get_simcard_info", gets_all_simcard_info},
    {"capi_cfg_update_simcard_file", [] { return capi_cfg_update_simcard_file() == 0; }},
    {"capi_set_quorble_info", sets_quorble_info},
    {"capi_get_quorble_info", gets_all_quorble_info},
};

bool gets_carriers() {
  auto& carrier = record<capi_carrier_info>();
  return capi_get_carrier_info("999991234567890", kIccid, &carrier) == 0 &&
         capi_get_carrier_info(kImsi, kIccid, &carrier) == 0;
}

int ignore_carrier(const capi_carrier_info*, int, void*) { return 0; }

uint32_t carrier_id = 0;

constexpr Operation kCarrier[] = {
    {"capi_get_carrier_info", gets_carriers},
    {"capi_cfg_backend_get_carrier_info",
     [] {
       return capi_cfg_backend_get_carrier_info(kImsi, kIccid, &record<capi_carrier_info>()) == -1;
     }},
    {"capi_get_carrier_info_ext",
     [] { return capi_get_carrier_info_ext("Verizon", &record<capi_carrier_info>()) == 0; }},
    {"capi_cfg_backend_get_carrier_info_ext",
     [] {
       return capi_cfg_backend_get_carrier_info_ext("Verizon", &record<capi_carrier_info>()) == 0;
     }},
    {"capi_carrier_for_each",
     [] { return capi_carrier_for_each(kImsi, kIccid, ignore_carrier, nullptr) == 0; }},
    {"capi_get_carrier_cfg",
     [] { return capi_get_carrier_cfg(kImsi, kIccid, 0, text, kTextSize) == 0; }},
    {"capi_get_test_sim_info",
     [] { return capi_get_test_sim_info(text, text + 8, &carrier_id) == 0; }},
    {"capi_check_simcard", [] { return capi_check_simcard() == 0; }},
    {"capi_cfg_backend_check_simcard", [] { return capi_cfg_backend_check_simcard() >= 0; }},
};

bool shares_data(int (*share)(int, const void*)) {
  for (int type = CAPI_SHARED_REG_SUMMARY_1; type <= CAPI_SHARED_PHONE_STATUS_2; ++type) {
    if (share(type, &record<capi_shared_call_state>()) != 0) return false;
  }
  return true;
}

auto& line_status() { return record<capi_line_reg_stat>(); }
auto& cs_status() { return record<capi_line_cs_reg_stat>(); }

constexpr Operation kLineStatus[] = {
    {"capi_set_runtime_line_reg_stat",
     [] { return capi_set_runtime_line_reg_stat(0, &line_status(), 0) == 0; }},
    {"capi_get_runtime_line_reg_stat",
     [] { return capi_get_runtime_line_reg_stat(0, &line_status(), 0) == 0; }},
    {"capi_cfg_backend_set_runtime_line_reg_stat",
     [] { return capi_cfg_backend_set_runtime_line_reg_stat(0, &line_status(), 0) == 0; }},
    {"capi_cfg_backend_get_runtime_line_reg_stat",
     [] { return capi_cfg_backend_get_runtime_line_reg_stat(0, &line_status(), 0) == 0; }},
    {"capi_set_runtime_line_cs_reg_stat",
     [] { return capi_set_runtime_line_cs_reg_stat(0, &cs_status()) == 0; }},
    {"capi_get_runtime_line_cs_reg_stat",
     [] { return capi_get_runtime_line_cs_reg_stat(0, &cs_status()) == 0; }},
    {"capi_cfg_backend_set_runtime_line_cs_reg_stat",
     [] { return capi_cfg_backend_set_runtime_line_cs_reg_stat(0, &cs_status()) == 0; }},
    {"capi_cfg_backend_get_runtime_line_cs_reg_stat",
     [] { return capi_cfg_backend_get_runtime_line_cs_reg_stat(0, &cs_status()) == 0; }},
    {"capi_set_runtime_line_phone_phy_status",
     [] { return capi_set_runtime_line_phone_phy_status(0, "On-hook") == 0; }},
    {"capi_get_runtime_line_phone_phy_status",
     [] { return capi_get_runtime_line_phone_phy_status(0, text, kTextSize) == 0; }},
    {"capi_cfg_backend_set_runtime_line_phone_phy_status",
     [] { return capi_cfg_backend_set_runtime_line_phone_phy_status(0, "On-hook") == 0; }},
    {"capi_cfg_backend_get_runtime_line_phone_phy_status",
     [] { return capi_cfg_backend_get_runtime_line_phone_phy_status(0, text, kTextSize) == 0; }},
    {"capi_set_shared_data", [] { return shares_data(capi_set_shared_data); }},
    {"capi_cfg_backend_set_shared_data",
     [] { return shares_data(capi_cfg_backend_set_shared_data); }},
};

// ---- Calls and messages
// --------------------------------------------------------------------------

auto& call() { return record<capi_call_log_record>(); }
auto& log_image() { return record<capi_call_log_image>(); }
int ignore_call(const capi_call_log_record*, void*) { return 0; }

constexpr Operation kCallLog[] = {
    {"capi_voip_init_call_log_file", [] { return capi_voip_init_call_log_file() == 0; }},
    {"capi_voip_verify_call_log_file", [] { return capi_voip_verify_call_log_file() == 0; }},
    {"capi_voip_add_call_log", [] { return capi_voip_add_call_log(0, &call()) == 0; }},
    {"capi_voip_add_call_log1", [] { return capi_voip_add_call_log1(1, &call()) == 0; }},
    {"capi_voip_add_call_log2", [] { return capi_voip_add_call_log2(&call()) == 0; }},
    {"capi_voip_read_call_log", [] { return capi_voip_read_call_log(&log_image()) == 0; }},
    {"capi_voip_read_call_log_entry_header",
     [] {
       return capi_voip_read_call_log_entry_header(nullptr, 0,
                                                   &record<capi_call_log_entry_header>()) == 0;
     }},
    {"capi_voip_read_call_log_node",
     [] { return capi_voip_read_call_log_node(nullptr, 0, &call()) == 0; }},
    {"capi_voip_call_log_dump",
     [] { return capi_voip_call_log_dump(0, ignore_call, nullptr) == 0; }},
    {"capi_voip_call_log_dump_all",
     [] { return capi_voip_call_log_dump_all(ignore_call, nullptr) == 0; }},
    {"capi_voip_call_log_backup",
     [] { return capi_voip_call_log_backup("/tmp/depth.calls") == 0; }},
    {"capi_voip_delete_call_log_by_node",
     [] { return capi_voip_delete_call_log_by_node(0, 0) == 0; }},
    {"capi_voip_clean_call_log_by_type", [] { return capi_voip_clean_call_log_by_type(1) == 0; }},
    {"capi_voip_clean_all_call_log", [] { return capi_voip_clean_all_call_log() == 0; }},
    {"capi_voip_delete_call_log_file", [] { return capi_voip_delete_call_log_file() == 0; }},
};

auto& message() { return record<capi_sms_record>(); }
void* messages = nullptr;
capi_sms_record next_message;
uint64_t message_id = 0;

int ignore_message(const capi_sms_record*, void*) { return 0; }

bool adds_message() {
  message() = {};
  message().TextLen = message().TextSize = 5;
  if (capi_voip_sms_add(CAPI_SMS_RECEIVED, &message()) != 0) return false;
  message_id = message().id;
  return capi_voip_sms_add(CAPI_SMS_RECEIVED, &message()) == 0;
}

constexpr Operation kMessages[] = {
    {"capi_voip_sms_init", [] { return capi_voip_sms_init() == 0; }},
    {"capi_voip_sms_send", [] { return capi_voip_sms_send("+15550002", 1, "hello", 5) == 0; }},
    {"capi_voip_sms_add", adds_message},
    {"capi_voip_sms_get",
     [] { return capi_voip_sms_get(CAPI_SMS_RECEIVED, message_id, &message()) == 0; }},
    {"capi_voip_sms_update",
     [] { return capi_voip_sms_update(CAPI_SMS_RECEIVED, &message()) == 0; }},
    {"capi_voip_sms_get_unread_sm_num",
     [] {
       auto& counter = record<capi_sms_counter>();
       return capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &counter, &counter) == 0;
     }},
    {"capi_voip_sms_load", [] { return capi_voip_sms_load(CAPI_SMS_RECEIVED, &messages) == 0; }},
    {"capi_voip_sms_get_first",
     [] { return capi_voip_sms_get_first(messages, &message(), 1) == 0; }},
    {"capi_voip_sms_get_next",
     [] { return capi_voip_sms_get_next(messages, &message(), &next_message, 1) == 0; }},
    {"capi_voip_sms_get_last", [] { return capi_voip_sms_get_last(messages, &message(), 1) == 0; }},
    {"capi_voip_sms_get_previous",
     [] { return capi_voip_sms_get_previous(messages, &message(), &next_message, 1) == 0; }},
    {"capi_voip_sms_unload", [] { return capi_voip_sms_unload(&messages) == 0; }},
    {"capi_voip_sms_dump",
     [] { return capi_voip_sms_dump(CAPI_SMS_RECEIVED, ignore_message, nullptr) == 0; }},
    {"capi_voip_sms_dump_all", [] { return capi_voip_sms_dump_all(ignore_message, nullptr) == 0; }},
    {"capi_voip_sms_get_file",
     [] { return capi_voip_sms_get_file(CAPI_SMS_RECEIVED, "/tmp/depth.messages") == 0; }},
    {"capi_voip_sms_backup", [] { return capi_voip_sms_backup("/tmp/depth.backup") == 0; }},
    {"capi_voip_sms_del_by_id",
     [] { return capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, message_id) == 0; }},
    {"capi_voip_sms_clean", [] { return capi_voip_sms_clean(CAPI_SMS_RECEIVED) == 0; }},
};

// ---- Events, signals, parameters
// -----------------------------------------------------------------

cJSON* document = nullptr;
int number = 0;

cJSON* section() { return vkrJson_GetSectionObject(document, "voice"); }
cJSON* volume() { return vkrJson_GetParamObject(section(), "volume"); }

bool tells(const char* (*get)(const cJSON*)) { return get(volume()) != nullptr; }
bool tells(int (*get)(const cJSON*, int*)) { return get(volume(), &number) == 0; }

bool fires_event2() {
  const char* value = long_text().c_str();
  return capi_fire_internal_event2("any", value, value, value) == 0;
}

bool encodes() {
  auto& info = record<capi_signal_info>();
  for (const char* name : {"no_such_signal", "vop_sig_voip_call_state_change",
                           "vop_sig_voip_call_log_info", "vop_sig_voip_register_status"}) {
    memset(&info, 'x', sizeof info);  // texts without an end: they are copied first
    document = ctrlv2_siginfo_to_json(name, &info);
    if (document == nullptr) return false;
    cJSON_Delete(document);
  }
  return true;
}

bool decodes() {
  const bool is_decoded = ctrlv2_json_to_siginfo(document, text, &record<capi_signal_info>()) == 0;
  cJSON_Delete(document);
  return is_decoded;
}

constexpr Operation kSignals[] = {
    {"capi_fire_internal_event", [] { return capi_fire_internal_event(long_text().c_str()) == 0; }},
    {"capi_fire_internal_event2", fires_event2},
    {"capi_convert_call_state_to_string",
     [] { return capi_convert_call_state_to_string(1) != nullptr; }},
    {"ctrlv2_siginfo_to_json", encodes},
    {"ctrlv2_json_to_siginfo",
     [] {
       document = cJSON_Parse(R"({"msg":"signal","name":"any","attrs":{"param1":"one"}})");
       return decodes();
     }},
    {"vkrJson_Init", [] { return (document = vkrJson_Init(kSchemaFile)) != nullptr; }},
    {"vkrJson_GetSectionObject", [] { return section() != nullptr; }},
    {"vkrJson_GetParamObject", [] { return volume() != nullptr; }},
    {"vkrJson_GetSectionName", [] { return vkrJson_GetSectionName(section()) != nullptr; }},
    {"vkrJson_GetParamName", [] { return tells(vkrJson_GetParamName); }},
    {"vkrJson_GetParamValue", [] { return tells(vkrJson_GetParamValue); }},
    {"vkrJson_GetParamDefaultValue", [] { return tells(vkrJson_GetParamDefaultValue); }},
    {"vkrJson_GetParamType", [] { return tells(vkrJson_GetParamType); }},
    {"vkrJson_GetParamSubStrType", [] { return tells(vkrJson_GetParamSubStrType); }},
    {"vkrJson_GetParamAllowedList", [] { return tells(vkrJson_GetParamAllowedList); }},
    {"vkrJson_GetParamCurrentValue", [] { return tells(vkrJson_GetParamCurrentValue); }},
    {"vkrJson_GetParamMinValue", [] { return tells(vkrJson_GetParamMinValue); }},
    {"vkrJson_GetParamMaxValue", [] { return tells(vkrJson_GetParamMaxValue); }},
    {"vkrJson_GetParamMinStrlen", [] { return tells(vkrJson_GetParamMinStrlen); }},
    {"vkrJson_GetParamMaxStrlen", [] { return tells(vkrJson_GetParamMaxStrlen); }},
    {"vkrJson_GetParamIsChanged", [] { return tells(vkrJson_GetParamIsChanged); }},
    {"vkrJson_GetParamTypeNumber",
     [] { return vkrJson_GetParamTypeNumber(volume(), &number) != nullptr; }},
    {"vkrJson_SetParamValue", [] { return vkrJson_SetParamValue(volume(), "9") != -1; }},
    {"vkrJson_SetParamIsChanged", [] { return vkrJson_SetParamIsChanged(volume(), 0) != -1; }},
    {"vkrJson_SetParamMinStrlen", [] { return vkrJson_SetParamMinStrlen(volume(), 2) != -1; }},
    {"vkrJson_SetParamMaxStrlen", [] { return vkrJson_SetParamMaxStrlen(volume(), 8) != -1; }},
    {"vkrJson_AddNumberToObject",
     [] { return vkrJson_AddNumberToObject(document, "number", 7), true; }},
    {"vkrJson_SaveToFile", [] { return vkrJson_SaveToFile(document, kFile) == 0; }},
    {"vkrJson_Uninit", [] { return vkrJson_Uninit(document) == 0; }},
};

// ---- Threads, pipes, waitors, sockets
// ------------------------------------------------------------

mtx_t mutex;
cnd_t condition;
thrd_t thread;
waitor_t waitor;
int fds[2] = {-1, -1};
const timespec kPast{};
timespec short_time{0, 1};
timeval now;

int do_nothing(void*) { return 0; }
int signal_condition(void*) {
  mtx_lock(&mutex);
  cnd_signal(&condition);
  mtx_unlock(&mutex);
  return 0;
}

bool waits_for_condition() {
  mtx_lock(&mutex);
  thrd_t other{};
  thrd_create(&other, 64, signal_condition, nullptr);
  const int waited = cnd_wait(&condition, &mutex);
  mtx_unlock(&mutex);
  thrd_join(other, nullptr);
  return waited == thrd_success;
}

bool waits_for_condition_in_vain() {
  mtx_lock(&mutex);
  const int waited = cnd_timedwait(&condition, &mutex, &kPast);
  mtx_unlock(&mutex);
  return waited == thrd_timedout;
}

bool detaches() {
  thrd_t other{};
  return thrd_create(&other, 64, do_nothing, nullptr) == thrd_success &&
         thrd_detach(other) == thrd_success;
}

constexpr Operation kThreads[] = {
    {"mtx_init", [] { return mtx_init(&mutex, mtx_recursive) == thrd_success; }},
    {"mtx_lock", [] { return mtx_lock(&mutex) == thrd_success; }},
    {"mtx_unlock",
     [] { return mtx_init(&mutex, mtx_plain), mtx_lock(&mutex), mtx_unlock(&mutex) == 1; }},
    {"mtx_trylock", [] { return mtx_trylock(&mutex) == thrd_success; }},
    {"mtx_timedlock", [] { return mtx_timedlock(&mutex, &kPast) == thrd_timedout; }},
    {"mtx_destroy", [] { return mtx_unlock(&mutex), mtx_destroy(&mutex) == 0; }},
    {"cnd_init", [] { return mtx_init(&mutex, mtx_plain), cnd_init(&condition) == thrd_success; }},
    {"cnd_signal", [] { return cnd_signal(&condition) == thrd_success; }},
    {"cnd_broadcast", [] { return cnd_broadcast(&condition) == thrd_success; }},
    {"cnd_wait", waits_for_condition},
    {"cnd_timedwait", waits_for_condition_in_vain},
    {"cnd_destroy", [] { return cnd_destroy(&condition) == 0; }},
    {"thrd_create", [] { return thrd_create(&thread, 0, do_nothing, nullptr) == thrd_success; }},
    {"thrd_join", [] { return thrd_join(thread, nullptr) == thrd_success; }},
    {"thrd_detach", detaches},
    {"thrd_current", [] { return thrd_equal(thrd_current(), pthread_self()) != 0; }},
    {"thrd_equal", [] { return thrd_equal(pthread_self(), pthread_self()) == 1; }},
    {"thrd_sleep", [] { return thrd_sleep(&short_time, nullptr) == 0; }},
    {"thrd_yield", [] { return thrd_yield() == 0; }},
    {"os_sleep", [] { return os_sleep(1), true; }},
    {"os_usleep", [] { return os_usleep(1), true; }},
    {"port_gettimeofday", [] { return port_gettimeofday(&now) == 0; }},
    {"pipe_init", [] { return pipe_init(fds) == 0; }},
    {"setSocketNonBlocking", [] { return setSocketNonBlocking(fds[0]) == 0; }},
    {"pipe_get_read_fd", [] { return pipe_get_read_fd(fds) == fds[0]; }},
    {"pipe_get_write_fd", [] { return pipe_get_write_fd(fds) == fds[1]; }},
    {"pipe_write", [] { return pipe_write(fds, "bytes", 5) == 5; }},
    {"pipe_read", [] { return pipe_read(fds, text, 5) == 5; }},
    {"pipe_destroy", [] { return pipe_destroy(fds) == 0; }},
    {"waitor_init", [] { return waitor_init(&waitor) == 1; }},
    {"waitor_set", [] { return waitor_set(&waitor, 1) == 1; }},
    {"waitor_get", [] { return waitor_get(&waitor) == 1; }},
    {"waitor_waitfor", [] { return waitor_waitfor(&waitor) == 1; }},
    {"waitor_waitfor_timeout", [] { return waitor_waitfor_timeout(&waitor, 1) == 1; }},
    {"waitor_destroy", [] { return waitor_destroy(&waitor) == 1; }},
};

int sender = -1;
int receiver = -1;
sockaddr_in address;

bool opens_sockets() {
  sender = ipc_open(0, 0);
  receiver = ipc_open(0, 0);
  ipc_connectionInit(&address, 0);
  bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof address);
  return sender >= 0 && receiver >= 0;
}

bool finds_port() {
  const int port = ipc_getLocalPort(receiver);
  address.sin_port = static_cast<uint16_t>(port);
  return port > 0;
}

bool receives_from() { return ipc_recvfrom(receiver, text, 7, 1000, &address) == 7; }

constexpr Operation kSockets[] = {
    {"ipc_connectionInit", [] { return ipc_connectionInit(&address, 0) == 0; }},
    {"ipc_open", opens_sockets},
    {"ipc_getLocalPort", finds_port},
    {"ipc_connect_port", [] { return ipc_connect_port(sender, address.sin_port) == 0; }},
    {"ipc_connect_remote", [] { return ipc_connect_remote(sender, address) == 0; }},
    {"ipc_send", [] { return ipc_send(sender, "message", 7) == 7; }},
    {"ipc_recv", [] { return ipc_recv(receiver, text, 7, 1000) == 7; }},
    {"ipc_sendto", [] { return ipc_sendto(sender, "message", 7, &address) == 7; }},
    {"ipc_recvfrom", receives_from},
    {"ipc_setConnRemoteAddr",
     [] { return ipc_setConnRemoteAddr(&record<sockaddr_in>(), &address) == 0; }},
    {"ipc_getConnRemoteAddr",
     [] { return ipc_getConnRemoteAddr(&address, &record<sockaddr_in>()) == 0; }},
    {"ipc_connections_equal", [] { return ipc_connections_equal(&address, &address) == 1; }},
    {"ipc_close", [] { return ipc_close(sender) == 0 && ipc_close(receiver) == 0; }},
    {"thrd_exit",
     [] {
       thrd_exit(0);
       return true;
     }},
};

}  // namespace

std::vector<Operation> every_operation() {
  std::vector<Operation> all;
  for (const std::span<const Operation> family :
       {std::span<const Operation>(kFoundation), std::span<const Operation>(kLifecycle),
        std::span<const Operation>(kBackendRecords), std::span<const Operation>(kRecords),
        std::span<const Operation>(kConfiguration), std::span<const Operation>(kDevice),
        std::span<const Operation>(kCarrier), std::span<const Operation>(kLineStatus),
        std::span<const Operation>(kCallLog), std::span<const Operation>(kMessages),
        std::span<const Operation>(kSignals), std::span<const Operation>(kThreads),
        std::span<const Operation>(kSockets)}) {
    all.insert(all.end(), family.begin(), family.end());
  }
  return all;
}

void prepare_operations(capi_log_sink log_sink) {
  sink = log_sink;
  long_text();
  write_file("/etc/firmware_version", "v3\n");
  write_file("/tmp/m_data", "m_serial=2604000123\nm_imei=123456789012345\n");
  write_file("/tmp/info.sys", "fw_verison=v2\n");
  write_file("/tmp/info.simcard", std::string("ICCID=") + kIccid + "\nIMSI=" + kImsi + "\n");
  write_file("/tmp/voice.cfg.default", "[basic_sip]\nlocal_port=5066\n");
  write_file("/tmp/lte_net_info.data", kNetwork);
  write_file("/tmp/adapter/data/lte_net_info.data", kNetwork);
  write_file("/quorbleconf/config/test_sim_info", "999 99 3\n");
  write_file("/tmp/carrier_config/voip_TMobile_US.conf", "apn_num=2\n");
  write_file("/usr/sbin/ifconfig",
             "#!/bin/sh\n"
             "echo 'eth0 Link encap:Ethernet  HWaddr 0A:3F:7C:01:02:03'\n"
             "echo '     inet addr:192.168.1.2  Bcast:192.168.1.255'\n");
  std::filesystem::permissions("/usr/sbin/ifconfig", std::filesystem::perms(0755));
  write_file(kSchemaFile, kSchema);
  copy_all_keys();
  capi_init(&kNoCallbacks, 1, sink);
}

}  // namespace capi::test
