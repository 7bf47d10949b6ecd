// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The sections and keys of the configuration, as rows. A new key is one more row.
//
// Setting files, setting and getting by name, and the list of keys that tools show all walk these
// rows; nothing else knows a key. What is checked when they are compiled stands in
// config/field_table.cc: that a section's rows are together, that it has no plain key twice, and
// that none of them leads to what is not configuration. What cannot be checked: that a key keeps
// its name and its field for ever, since the files of devices in use have it.
//
// Plain keys are in kRows; keys that carry a number of their own, for one element of an array, are
// in kNumberedRows.
#pragma once

#include "record/field.h"

namespace capi::field_rows {

enum class SectionId : uint8_t {
  VoiceSwitch,
  VoiceAccess,
  BasicSip,
  VoiceStack,
  SimInfo,
  HwInfo,
  RuntimeInfo,
  SipFeature,
  SipLine,
  SipServer,
  VoiceNat,
  VoiceParameter,
  SpeedDial,
  SpeedDial30,
  CallForward,
  CallBlock,
  CallWhiteList,
  CallRedirection,
  SipRegistration,
  Sms,
  SlicParameter,
  Count
};

// Where a section's keys may carry a number of their own.
enum class KeyNumber : uint8_t {
  None,
  Suffix,     // "entry_7"
  CodecSlot,  // "_7" at the end; the column is a word anywhere in the key
  Entry       // from the 25th character on, whatever stands in front
};

template <typename Text>
struct SectionOf {
  Text name;
  uint8_t count;  // instances of a numbered section, whose name goes on with "_" and the number
  KeyNumber key_number = KeyNumber::None;
  bool unknown_key_is_success = false;

  constexpr SectionOf<TextOffset> pack(TextPool& pool) const {
    return {pool.add(name), count, key_number, unknown_key_is_success};
  }
};
using Section = SectionOf<TextOffset>;

inline constexpr SectionOf<std::string_view> kSectionDrafts[] = {
    {"voice_switch", 0},
    {"voice_access", 0},
    {"basic_sip", 0, KeyNumber::None, true},
    {"voice_stack", CAPI_VOICE_STACKS},
    {"sim_info", 0},
    {"hw_info", 0},
    {"runtime_info", 0},
    {"sip_feature", CAPI_SIP_LINES},
    {"sip_line", CAPI_SIP_LINES},
    {"sip_server", CAPI_SIP_SERVERS},
    {"voice_nat", 0},
    {"voice_parameter", 0, KeyNumber::CodecSlot},
    {"speed_dial", 0, KeyNumber::Entry},
    {"speed_dial30", 0, KeyNumber::Entry},
    {"call_forward", CAPI_SIP_LINES},
    {"call_block", 0, KeyNumber::Entry},
    {"call_white_list", 0, KeyNumber::Suffix},
    {"call_redirection", 0, KeyNumber::Suffix},
    {"sip_registration", 0},
    {"sms", 0, KeyNumber::None, true},
    {"slic_parameter", 0},
};
static_assert(std::size(kSectionDrafts) == static_cast<size_t>(SectionId::Count));

inline constexpr auto kSections = make_text_table<kSectionDrafts>();

// A key is "option_" + section + "_" + the field's key. Sections stand in the order of their ids.
template <typename Text>
struct RowOf {
  SectionId section;
  KeyedFieldOf<Text> named;

  constexpr RowOf<TextOffset> pack(TextPool& pool) const { return {section, named.pack(pool)}; }
};
using KeyDraft = RowOf<std::string_view>;
using Row = RowOf<TextOffset>;

#define ROW(section, parent, member) \
  KeyDraft { SectionId::section, CAPI_FIELD(parent, member) }
#define ROW_AS(section, key, member) \
  KeyDraft { SectionId::section, CAPI_FIELD_AS(key, member) }
// A member of the records of a numbered section.
#define ROW_OF(section, array, member)                                                  \
  KeyDraft {                                                                            \
    SectionId::section, with_stride(CAPI_FIELD(array[0], member),                       \
                                    sizeof std::declval<cfg_shared_record&>().array[0]) \
  }

inline constexpr KeyDraft kDrafts[] = {
    ROW(VoiceSwitch, voice_switch, mode),
    ROW(VoiceAccess, system_access, mode),

    ROW(BasicSip, voice_basic, local_port),
    ROW(BasicSip, voice_basic, local_tls_port),
    ROW(BasicSip, voice_basic, rtp_port),
    ROW(BasicSip, voice_basic, bind_interface),
    ROW(BasicSip, voice_basic, sip_dscp),
    ROW(BasicSip, voice_basic, rtp_dscp),
    ROW(BasicSip, voice_basic, dial_on_hash_key),
    ROW(BasicSip, voice_basic, transport_protocol),
    ROW(BasicSip, voice_basic, tls_sip_uri_scheme),
    ROW(BasicSip, voice_basic, heartbeat_enable),
    ROW(BasicSip, voice_basic, heartbeat_interval),
    ROW(BasicSip, voice_basic, tcp_keepalive_enable),
    ROW(BasicSip, voice_basic, udp_keepalive_enable),
    ROW(BasicSip, voice_basic, srtp_mode),
    ROW(BasicSip, voice_basic, session_timer_method),
    ROW(BasicSip, voice_basic, session_timer_expires),
    ROW(BasicSip, voice_basic, session_timer_min_se),
    ROW(BasicSip, voice_basic, mwi_enable),
    ROW(BasicSip, voice_basic, subscribe_mwi_event_enable),
    ROW(BasicSip, voice_basic, mwi_subscribe_interval),
    ROW(BasicSip, voice_basic, default_dial_plan_enable),
    ROW(BasicSip, voice_basic, dial_plan),
    ROW(BasicSip, voice_basic, country),
    ROW(BasicSip, voice_basic, carrier),
    ROW(BasicSip, voice_basic, user_agent),
    ROW(BasicSip, voice_basic, ca_cert_file),
    ROW(BasicSip, voice_basic, cert_file),
    ROW(BasicSip, voice_basic, key_file),

    ROW_OF(VoiceStack, voice_stack, enable),
    ROW_OF(VoiceStack, voice_stack, priority),
    ROW_OF(VoiceStack, voice_stack, t1),
    ROW_OF(VoiceStack, voice_stack, type),
    ROW_OF(VoiceStack, voice_stack, codec),
    ROW_OF(VoiceStack, voice_stack, access),

    // Readers of these three have always brought buffers of the field's size without saying so.
    {SectionId::SimInfo, with_rule(FieldRule::GetsCapacity, CAPI_FIELD(sim_info, ICCID))},
    {SectionId::SimInfo, with_rule(FieldRule::GetsCapacity, CAPI_FIELD(sim_info, IMSI))},
    {SectionId::SimInfo, with_rule(FieldRule::GetsCapacity, CAPI_FIELD(sim_info, IMPI))},
    ROW(SimInfo, sim_info, IMS_DOMAIN),
    ROW(SimInfo, sim_info, IMPU),
    ROW(SimInfo, sim_info, MSISDN),
    ROW(SimInfo, sim_info, MBDN),

    ROW(HwInfo, hw_info, wan_mac),
    ROW(HwInfo, hw_info, lan_mac),
    ROW(HwInfo, hw_info, version),
    ROW(HwInfo, hw_info, serial),
    ROW(HwInfo, hw_info, model),
    ROW(HwInfo, hw_info, contrycode),
    ROW(HwInfo, hw_info, imei0),
    ROW(HwInfo, hw_info, cellmodule),
    ROW(HwInfo, hw_info, language),

    ROW_AS(RuntimeInfo, "fw_version", fw_version),
    ROW_AS(RuntimeInfo, "fw_build_number", fw_build_number),
    ROW_AS(RuntimeInfo, "work_directory", directory[0]),
    ROW_AS(RuntimeInfo, "data_directory", directory[1]),
    ROW_AS(RuntimeInfo, "log_directory", directory[2]),
    ROW_AS(RuntimeInfo, "bin_directory", directory[3]),
    ROW_AS(RuntimeInfo, "nv_directory", directory[4]),
    ROW_AS(RuntimeInfo, "ivr_directory", directory[5]),
    ROW_AS(RuntimeInfo, "uuid", sys_uuid),
    ROW_AS(RuntimeInfo, "imei", device_imei),
    ROW_AS(RuntimeInfo, "device_name", device_name),
    ROW_AS(RuntimeInfo, "wan_mac", wan_mac),
    ROW_AS(RuntimeInfo, "wan_ip", wan_ip),
    ROW_AS(RuntimeInfo, "public_ip", public_ip),
    ROW_AS(RuntimeInfo, "bb_if_name", bb_if_name),
    ROW_AS(RuntimeInfo, "4g_if_name", lte_if_name),
    ROW_AS(RuntimeInfo, "wan_if_name", wan_if_name),
    ROW_AS(RuntimeInfo, "xcap_if_name", xcap_if_name),
    ROW_AS(RuntimeInfo, "dns_server", dns_server),
    ROW_AS(RuntimeInfo, "voip_ip", voip_ip),
    ROW_AS(RuntimeInfo, "ims_ip", ims_ip),
    ROW_AS(RuntimeInfo, "sos_ip", sos_ip),
    ROW_AS(RuntimeInfo, "pcscf_addr", pcscf_addr),
    ROW_AS(RuntimeInfo, "sos_pcscf", sos_pcscf),
    ROW_AS(RuntimeInfo, "if_name_ims", stack_if_name[0]),
    ROW_AS(RuntimeInfo, "if_name_voip", stack_if_name[1]),
    ROW_AS(RuntimeInfo, "if_name_vowifi", stack_if_name[2]),
    ROW_AS(RuntimeInfo, "if_name_sos", stack_if_name[5]),
    ROW_AS(RuntimeInfo, "lte_netinfo_tac", serving_cell.tac),
    ROW_AS(RuntimeInfo, "lte_netinfo_globalcellid", serving_cell.globalcellid),
    ROW_AS(RuntimeInfo, "lte_netinfo_cellid", serving_cell.cellid),
    ROW_AS(RuntimeInfo, "lte_netinfo_mcc", serving_cell.mcc),
    ROW_AS(RuntimeInfo, "lte_netinfo_mnc", serving_cell.mnc),
    ROW_AS(RuntimeInfo, "lte_netinfo_band", serving_cell.band),
    ROW_AS(RuntimeInfo, "lte_netinfo_enbid", serving_cell.enbid),
    ROW_AS(RuntimeInfo, "lte_netinfo_msisdn", serving_cell.msisdn),

    ROW_OF(SipFeature, sip_line_feature, hotline_enable),
    ROW_OF(SipFeature, sip_line_feature, callwaiting_enable),
    ROW_OF(SipFeature, sip_line_feature, dnd_enable),
    ROW_OF(SipFeature, sip_line_feature, default_ptime),
    ROW_OF(SipFeature, sip_line_feature, auto_dial_enable),
    ROW_OF(SipFeature, sip_line_feature, vbd_enable),
    ROW_OF(SipFeature, sip_line_feature, cpc_enable),
    ROW_OF(SipFeature, sip_line_feature, cpc_duration),
    ROW_OF(SipFeature, sip_line_feature, com_data_dtmf_mode),
    ROW_OF(SipFeature, sip_line_feature, com_data_ec_enable),
    ROW_OF(SipFeature, sip_line_feature, com_data_tone_detection_enable),
    ROW_OF(SipFeature, sip_line_feature, tx_com_data_gain),
    ROW_OF(SipFeature, sip_line_feature, rx_com_data_gain),
    ROW_OF(SipFeature, sip_line_feature, emergency_call_enable),
    ROW_OF(SipFeature, sip_line_feature, hotline),
    ROW_OF(SipFeature, sip_line_feature, conference_uri),

    ROW_OF(SipLine, sip_line, enable),
    ROW_OF(SipLine, sip_line, clir_enable),
    ROW_OF(SipLine, sip_line, display_name),
    ROW_OF(SipLine, sip_line, user_name),
    ROW_OF(SipLine, sip_line, auth_name),
    ROW_OF(SipLine, sip_line, auth_password),

    // The domain belongs to both servers, and setting it fills the first half of its field only.
    ROW(SipServer, sip_server, sip_domain_enable),
    {SectionId::SipServer, with_rule(FieldRule::SetsHalf, CAPI_FIELD(sip_server, sip_domain))},
    ROW(SipServer, sip_server, registrar_port),
    ROW(SipServer, sip_server, proxy_port),
    ROW(SipServer, sip_server, outbound_proxy_port),
    ROW(SipServer, sip_server, registrar_enable),
    ROW(SipServer, sip_server, outbound_proxy_enable),
    ROW(SipServer, sip_server, registrar),
    ROW(SipServer, sip_server, proxy),
    ROW(SipServer, sip_server, outbound_proxy),

    ROW(VoiceNat, voice_nat, mode),
    ROW(VoiceNat, voice_nat, stun_server_port),
    ROW(VoiceNat, voice_nat, keepalive_interval),
    ROW(VoiceNat, voice_nat, external_sip_signal_port),
    ROW(VoiceNat, voice_nat, external_base_rtp_port),
    ROW(VoiceNat, voice_nat, stun_server_address),
    ROW(VoiceNat, voice_nat, stun_username),
    ROW(VoiceNat, voice_nat, stun_password),
    ROW(VoiceNat, voice_nat, external_router_address),

    {SectionId::VoiceParameter,
     with_rule(FieldRule::CodecCount, CAPI_FIELD(voice_parameter, count))},
    ROW(VoiceParameter, voice_parameter, evs_mode_switch),
    ROW(VoiceParameter, voice_parameter, evs_hf_only),
    ROW(VoiceParameter, voice_parameter, evs_dtx),
    ROW(VoiceParameter, voice_parameter, evs_cmr),
    ROW(VoiceParameter, voice_parameter, evs_ch_aw_recv),
    ROW(VoiceParameter, voice_parameter, evs_br),
    ROW(VoiceParameter, voice_parameter, evs_bw),
    ROW(VoiceParameter, voice_parameter, rfc2833_payload),
    ROW(VoiceParameter, voice_parameter, rfc2833_name),
    ROW(VoiceParameter, voice_parameter, fax_mode),
    ROW(VoiceParameter, voice_parameter, dtmf_relay_method),
    ROW(VoiceParameter, voice_parameter, cng),
    ROW(VoiceParameter, voice_parameter, ec),
    ROW(VoiceParameter, voice_parameter, vad),
    ROW(VoiceParameter, voice_parameter, polarity_reversal_type),
    ROW(VoiceParameter, voice_parameter, volume),
    ROW(VoiceParameter, voice_parameter, gate_control_enable),

    ROW_OF(CallForward, call_forward, direct_forward),
    ROW_OF(CallForward, call_forward, busy_forward),
    ROW_OF(CallForward, call_forward, noanswer_forward),
    ROW_OF(CallForward, call_forward, noanswer_forward_timeout),
    ROW_OF(CallForward, call_forward, direct_forward_dest),
    ROW_OF(CallForward, call_forward, busy_forward_dest),
    ROW_OF(CallForward, call_forward, noanswer_forward_dest),

    ROW(CallWhiteList, call_white_list, enable),
    ROW(CallRedirection, call_redirection, enable),
    ROW(SipRegistration, sip_registration, reg_interval),
    ROW(Sms, sms_cfg, enable),
    ROW(Sms, sms_cfg, sca),
    ROW(Sms, sms_cfg, psi),
    ROW(SlicParameter, slic_parameter, settings),
};

inline constexpr auto kRows = make_text_table<kDrafts>();

// The keys that carry a number, which chooses one of "count" elements.
template <typename Text>
struct NumberedRowOf {
  SectionId section;
  uint8_t count;
  KeyedFieldOf<Text> named;

  constexpr NumberedRowOf<TextOffset> pack(TextPool& pool) const {
    return {section, count, named.pack(pool)};
  }
};
using NumberedDraft = NumberedRowOf<std::string_view>;
using NumberedRow = NumberedRowOf<TextOffset>;

#define NUMBERED(section, key, member)                                                       \
  NumberedDraft {                                                                            \
    SectionId::section,                                                                      \
        std::extent_v<                                                                       \
            std::remove_reference_t<decltype((std::declval<cfg_shared_record&>().member))>>, \
        CAPI_FIELD_AS(key, member)                                                           \
  }

inline constexpr NumberedDraft kNumberedDrafts[] = {
    // The order of the codec columns decides between several that a key names.
    NUMBERED(VoiceParameter, "_name_", voice_parameter.name),
    NUMBERED(VoiceParameter, "_packet_time_", voice_parameter.packet_time),
    NUMBERED(VoiceParameter, "_mode_set_", voice_parameter.mode_set),
    NUMBERED(VoiceParameter, "_code_list_", voice_parameter.code_list),
    NUMBERED(VoiceParameter, "_code_payload_", voice_parameter.code_payload),
    NUMBERED(VoiceParameter, "_code_bitrate_", voice_parameter.code_bitrate),

    // Names for people: what stands in front of an entry's number is not looked at.
    NUMBERED(SpeedDial, "entry_", speed_dial.entry),
    NUMBERED(SpeedDial30, "num_", speed_dial30.entry),
    NUMBERED(CallBlock, "entry_", call_block.entry),
    NUMBERED(CallWhiteList, "entry_", call_white_list.entry),
    NUMBERED(CallRedirection, "src_number_", call_redirection.src_number),
    NUMBERED(CallRedirection, "dst_number_", call_redirection.dst_number),
};

inline constexpr auto kNumberedRows = make_text_table<kNumberedDrafts>();

#undef ROW
#undef ROW_AS
#undef ROW_OF
#undef NUMBERED

}  // namespace capi::field_rows
