// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where every field stands and how wide it is: processes that were built apart share these bytes.
#include <gtest/gtest.h>

#include "capi/records.h"

namespace capi::test {
namespace {

struct Place {
  const char* name;
  size_t offset;
  size_t size;
  size_t expected_offset;
  size_t expected_size;
};

#define FIELD(record, field, offset, size) \
  Place { #record "." #field, offsetof(record, field), sizeof(record::field), offset, size }
#define RECORD(record, size) \
  Place { #record, 0, sizeof(record), 0, size }

constexpr Place kPlaces[] = {
    FIELD(capi_voice_switch, mode, 0, 4),
    RECORD(capi_voice_switch, 4),

    FIELD(capi_voice_stack, enable, 0, 4),
    FIELD(capi_voice_stack, type, 4, 64),
    FIELD(capi_voice_stack, priority, 68, 4),
    FIELD(capi_voice_stack, codec, 72, 64),
    FIELD(capi_voice_stack, t1, 136, 4),
    FIELD(capi_voice_stack, reserved, 140, 4),
    FIELD(capi_voice_stack, access, 144, 64),
    RECORD(capi_voice_stack, 208),

    FIELD(capi_system_access, mode, 0, 4),
    RECORD(capi_system_access, 4),

    FIELD(capi_voice_basic, local_port, 0, 4),
    FIELD(capi_voice_basic, local_tls_port, 4, 4),
    FIELD(capi_voice_basic, sip_dscp, 8, 4),
    FIELD(capi_voice_basic, dial_plan, 12, 256),
    FIELD(capi_voice_basic, dial_on_hash_key, 268, 4),
    FIELD(capi_voice_basic, rtp_port, 272, 4),
    FIELD(capi_voice_basic, rtp_dscp, 276, 4),
    FIELD(capi_voice_basic, bind_interface, 280, 4),
    FIELD(capi_voice_basic, country, 284, 64),
    FIELD(capi_voice_basic, carrier, 348, 64),
    FIELD(capi_voice_basic, user_agent, 412, 64),
    FIELD(capi_voice_basic, transport_protocol, 476, 4),
    FIELD(capi_voice_basic, tls_sip_uri_scheme, 480, 4),
    FIELD(capi_voice_basic, heartbeat_enable, 484, 4),
    FIELD(capi_voice_basic, heartbeat_interval, 488, 4),
    FIELD(capi_voice_basic, tcp_keepalive_enable, 492, 4),
    FIELD(capi_voice_basic, udp_keepalive_enable, 496, 4),
    FIELD(capi_voice_basic, srtp_mode, 500, 4),
    FIELD(capi_voice_basic, session_timer_method, 504, 4),
    FIELD(capi_voice_basic, session_timer_expires, 508, 4),
    FIELD(capi_voice_basic, session_timer_min_se, 512, 4),
    FIELD(capi_voice_basic, mwi_enable, 516, 4),
    FIELD(capi_voice_basic, subscribe_mwi_event_enable, 520, 4),
    FIELD(capi_voice_basic, mwi_subscribe_interval, 524, 4),
    FIELD(capi_voice_basic, default_dial_plan_enable, 528, 4),
    FIELD(capi_voice_basic, ca_cert_file, 532, 128),
    FIELD(capi_voice_basic, cert_file, 660, 128),
    FIELD(capi_voice_basic, key_file, 788, 128),
    RECORD(capi_voice_basic, 916),

    FIELD(capi_voice_sip_line, display_name, 0, 256),
    FIELD(capi_voice_sip_line, user_name, 256, 256),
    FIELD(capi_voice_sip_line, auth_name, 512, 256),
    FIELD(capi_voice_sip_line, auth_password, 768, 256),
    FIELD(capi_voice_sip_line, enable, 1024, 4),
    FIELD(capi_voice_sip_line, clir_enable, 1028, 4),
    RECORD(capi_voice_sip_line, 1032),

    FIELD(capi_voice_sip_line_feature, hotline_enable, 0, 4),
    FIELD(capi_voice_sip_line_feature, hotline, 4, 64),
    FIELD(capi_voice_sip_line_feature, callwaiting_enable, 68, 4),
    FIELD(capi_voice_sip_line_feature, conference_uri, 72, 64),
    FIELD(capi_voice_sip_line_feature, dnd_enable, 136, 4),
    FIELD(capi_voice_sip_line_feature, auto_dial_enable, 140, 4),
    FIELD(capi_voice_sip_line_feature, vbd_enable, 144, 4),
    FIELD(capi_voice_sip_line_feature, cpc_enable, 148, 4),
    FIELD(capi_voice_sip_line_feature, cpc_duration, 152, 4),
    FIELD(capi_voice_sip_line_feature, default_ptime, 156, 4),
    FIELD(capi_voice_sip_line_feature, com_data_dtmf_mode, 160, 4),
    FIELD(capi_voice_sip_line_feature, com_data_ec_enable, 164, 4),
    FIELD(capi_voice_sip_line_feature, com_data_tone_detection_enable, 168, 4),
    FIELD(capi_voice_sip_line_feature, tx_com_data_gain, 172, 4),
    FIELD(capi_voice_sip_line_feature, rx_com_data_gain, 176, 4),
    FIELD(capi_voice_sip_line_feature, emergency_call_enable, 180, 4),
    RECORD(capi_voice_sip_line_feature, 184),

    FIELD(capi_voice_parameter, count, 0, 4),
    FIELD(capi_voice_parameter, name, 4, 768),
    FIELD(capi_voice_parameter, packet_time, 772, 768),
    FIELD(capi_voice_parameter, code_list, 1540, 768),
    FIELD(capi_voice_parameter, code_payload, 2308, 48),
    FIELD(capi_voice_parameter, code_bitrate, 2356, 48),
    FIELD(capi_voice_parameter, mode_set, 2404, 384),
    FIELD(capi_voice_parameter, evs_mode_switch, 2788, 4),
    FIELD(capi_voice_parameter, evs_hf_only, 2792, 4),
    FIELD(capi_voice_parameter, evs_dtx, 2796, 4),
    FIELD(capi_voice_parameter, evs_cmr, 2800, 4),
    FIELD(capi_voice_parameter, evs_br, 2804, 16),
    FIELD(capi_voice_parameter, evs_bw, 2820, 16),
    FIELD(capi_voice_parameter, evs_ch_aw_recv, 2836, 4),
    FIELD(capi_voice_parameter, rfc2833_payload, 2840, 4),
    FIELD(capi_voice_parameter, rfc2833_name, 2844, 256),
    FIELD(capi_voice_parameter, fax_mode, 3100, 4),
    FIELD(capi_voice_parameter, dtmf_relay_method, 3104, 4),
    FIELD(capi_voice_parameter, cng, 3108, 4),
    FIELD(capi_voice_parameter, ec, 3112, 4),
    FIELD(capi_voice_parameter, vad, 3116, 4),
    FIELD(capi_voice_parameter, polarity_reversal_type, 3120, 4),
    FIELD(capi_voice_parameter, volume, 3124, 4),
    FIELD(capi_voice_parameter, gate_control_enable, 3128, 4),
    RECORD(capi_voice_parameter, 3132),

    FIELD(capi_voice_speed_dial, entry, 0, 320),
    RECORD(capi_voice_speed_dial, 320),

    FIELD(capi_voice_speed_dial30, entry, 0, 960),
    RECORD(capi_voice_speed_dial30, 960),

    FIELD(capi_voice_call_forward, direct_forward, 0, 4),
    FIELD(capi_voice_call_forward, busy_forward, 4, 4),
    FIELD(capi_voice_call_forward, noanswer_forward, 8, 4),
    FIELD(capi_voice_call_forward, noanswer_forward_timeout, 12, 4),
    FIELD(capi_voice_call_forward, direct_forward_dest, 16, 64),
    FIELD(capi_voice_call_forward, busy_forward_dest, 80, 64),
    FIELD(capi_voice_call_forward, noanswer_forward_dest, 144, 64),
    RECORD(capi_voice_call_forward, 208),

    FIELD(capi_voice_sip_registration, reg_interval, 0, 4),
    RECORD(capi_voice_sip_registration, 4),

    FIELD(capi_voice_sms_cfg, enable, 0, 4),
    FIELD(capi_voice_sms_cfg, sca, 4, 32),
    FIELD(capi_voice_sms_cfg, psi, 36, 128),
    RECORD(capi_voice_sms_cfg, 164),

    FIELD(capi_slic_parameter, settings, 0, 1024),
    RECORD(capi_slic_parameter, 1024),

    FIELD(capi_voice_sip_server, registrar, 0, 512),
    FIELD(capi_voice_sip_server, registrar_port, 512, 8),
    FIELD(capi_voice_sip_server, proxy, 520, 512),
    FIELD(capi_voice_sip_server, proxy_port, 1032, 8),
    FIELD(capi_voice_sip_server, outbound_proxy, 1040, 512),
    FIELD(capi_voice_sip_server, outbound_proxy_port, 1552, 8),
    FIELD(capi_voice_sip_server, registrar_enable, 1560, 8),
    FIELD(capi_voice_sip_server, outbound_proxy_enable, 1568, 8),
    FIELD(capi_voice_sip_server, sip_domain_enable, 1576, 4),
    FIELD(capi_voice_sip_server, sip_domain, 1580, 512),
    RECORD(capi_voice_sip_server, 2092),

    FIELD(capi_voice_nat, mode, 0, 4),
    FIELD(capi_voice_nat, stun_server_address, 4, 256),
    FIELD(capi_voice_nat, stun_server_port, 260, 4),
    FIELD(capi_voice_nat, stun_username, 264, 256),
    FIELD(capi_voice_nat, stun_password, 520, 256),
    FIELD(capi_voice_nat, keepalive_interval, 776, 4),
    FIELD(capi_voice_nat, external_router_address, 780, 256),
    FIELD(capi_voice_nat, external_sip_signal_port, 1036, 4),
    FIELD(capi_voice_nat, external_base_rtp_port, 1040, 4),
    RECORD(capi_voice_nat, 1044),

    FIELD(capi_voice_call_block, entry, 0, 2560),
    RECORD(capi_voice_call_block, 2560),

    FIELD(capi_voice_call_white_list, enable, 0, 4),
    FIELD(capi_voice_call_white_list, entry, 4, 640),
    RECORD(capi_voice_call_white_list, 644),

    FIELD(capi_voice_call_redirection, enable, 0, 4),
    FIELD(capi_voice_call_redirection, src_number, 4, 320),
    FIELD(capi_voice_call_redirection, dst_number, 324, 320),
    RECORD(capi_voice_call_redirection, 644),

    FIELD(capi_sim_info, ICCID, 0, 32),
    FIELD(capi_sim_info, IMSI, 32, 32),
    FIELD(capi_sim_info, IMPI, 64, 128),
    FIELD(capi_sim_info, IMS_DOMAIN, 192, 128),
    FIELD(capi_sim_info, IMPU, 320, 128),
    FIELD(capi_sim_info, MSISDN, 448, 32),
    FIELD(capi_sim_info, MBDN, 480, 32),
    RECORD(capi_sim_info, 512),

    FIELD(capi_hw_info, version, 0, 32),
    FIELD(capi_hw_info, serial, 32, 32),
    FIELD(capi_hw_info, model, 64, 32),
    FIELD(capi_hw_info, contrycode, 96, 32),
    FIELD(capi_hw_info, imei0, 128, 32),
    FIELD(capi_hw_info, language, 160, 32),
    FIELD(capi_hw_info, cellmodule, 192, 32),
    FIELD(capi_hw_info, wan_mac, 224, 32),
    FIELD(capi_hw_info, lan_mac, 256, 32),
    RECORD(capi_hw_info, 288),

    FIELD(capi_serving_cell, globalcellid, 0, 32),
    FIELD(capi_serving_cell, tac, 32, 32),
    FIELD(capi_serving_cell, cellid, 64, 32),
    FIELD(capi_serving_cell, mcc, 96, 32),
    FIELD(capi_serving_cell, mnc, 128, 32),
    FIELD(capi_serving_cell, band, 160, 32),
    FIELD(capi_serving_cell, enbid, 192, 32),
    FIELD(capi_serving_cell, msisdn, 224, 32),
    RECORD(capi_serving_cell, 256),

    FIELD(capi_lte_net_info, act, 0, 8),
    FIELD(capi_lte_net_info, mcc, 8, 8),
    FIELD(capi_lte_net_info, mnc, 16, 8),
    FIELD(capi_lte_net_info, tac, 24, 8),
    FIELD(capi_lte_net_info, enbid, 32, 8),
    FIELD(capi_lte_net_info, cellid, 40, 8),
    FIELD(capi_lte_net_info, band, 48, 8),
    RECORD(capi_lte_net_info, 56),

    FIELD(cfg_shared_record, sys_uuid, 1536, 64),
    FIELD(cfg_shared_record, wan_mac, 1600, 20),
    FIELD(cfg_shared_record, fw_version, 1620, 64),
    FIELD(cfg_shared_record, fw_build_number, 1684, 16),
    FIELD(cfg_shared_record, public_ip, 1700, 64),
    FIELD(cfg_shared_record, wan_ip, 1764, 64),
    FIELD(cfg_shared_record, device_imei, 1828, 32),
    FIELD(cfg_shared_record, device_name, 1860, 34),
    FIELD(cfg_shared_record, bb_if_name, 1894, 32),
    FIELD(cfg_shared_record, lte_if_name, 1926, 32),
    FIELD(cfg_shared_record, wan_if_name, 1958, 32),
    FIELD(cfg_shared_record, xcap_if_name, 1990, 32),
    FIELD(cfg_shared_record, dns_server, 2022, 64),
    FIELD(cfg_shared_record, voip_ip, 2086, 64),
    FIELD(cfg_shared_record, ims_ip, 2150, 64),
    FIELD(cfg_shared_record, sos_ip, 2214, 64),
    FIELD(cfg_shared_record, pcscf_addr, 2278, 256),
    FIELD(cfg_shared_record, sos_pcscf, 2534, 256),
    FIELD(cfg_shared_record, stack_if_name, 2790, 192),
    FIELD(cfg_shared_record, sim_check_flag, 4038, 1),
    FIELD(cfg_shared_record, spare, 4039, 1),
    FIELD(cfg_shared_record, cs_reg_stat, 21440, 40),
    FIELD(cfg_shared_record, reg_stat, 21480, 1840),
    FIELD(cfg_shared_record, phone_phy_status, 23320, 256),
    FIELD(cfg_shared_record, shared_reg_summary, 23576, 312),
    FIELD(cfg_shared_record, shared_call_state, 23888, 416),
    FIELD(cfg_shared_record, shared_phone_status, 24304, 24),
    FIELD(cfg_shared_record, ims_voice, 24328, 484),
    FIELD(cfg_shared_record, lte_net_info, 24812, 56),
    FIELD(cfg_shared_record, vendor, 24868, 160),
    RECORD(cfg_shared_record, 25028),
};

TEST(RecordLayoutTest, EveryFieldHasItsPlace) {
  for (const Place& place : kPlaces) {
    EXPECT_EQ(place.offset, place.expected_offset) << place.name;
    EXPECT_EQ(place.size, place.expected_size) << place.name;
  }
}

}  // namespace
}  // namespace capi::test
