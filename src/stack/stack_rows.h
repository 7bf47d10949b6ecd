// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The lines of a voice-stack file, as rows. The order of the rows is the order of the file.
//
// The file is the voice stack's own configuration, one for each kind of stack, of the same lines
// but for the values that depend on the kind. A line is a row: its key, where its value comes from,
// and when it is written at all. A section is a row, too, and the rows behind it are its lines.
//
// The voice stack knows keys, order and empty values as they are here: whoever changes a row
// changes an interface.
//
// Leaves to stack/stack_file.cc what is worked out from record and kind, and the writing.
#pragma once

#include "record/field.h"

namespace capi::stack_rows {

enum class Source : uint8_t {
  // Not a line: a section begins, "key" is its name. How often it is written, and which instance of
  // its fields each time shows.
  Section,
  SectionOfEachLine,
  SectionOfEachCodec,
  SectionOfEachServer,
  SectionOfChosenStack,
  Constant,   // "key" is the whole line
  Field,      // a value of the record
  VoipField,  // the same for the VoIP stack; the IMS stacks have it from SIM and network
  EvsField,   // a number that is left empty when it is not configured
  BlockList,  // a line for each entry of the call block
  // Worked out from record and type.
  InterfaceName,
  NetworkType,
  ForcedAddress,
  ChannelType,
  CallerPreferences,
  PcscfAddress,
  DialPlan,
  CodecCount,
};

// When a line is written.
enum class When : uint8_t { Always, Voip, Tls, AmrCodec, EvsCodec };

template <typename Text>
struct RowOf {
  Source source;
  When when;
  KeyedFieldOf<Text> named;

  constexpr RowOf<TextOffset> pack(TextPool& pool) const {
    return {source, when, named.pack(pool)};
  }
};
using LineDraft = RowOf<std::string_view>;
using Row = RowOf<TextOffset>;

consteval LineDraft make(Source source, field_rows::NamedField named, When when = When::Always) {
  return {source, when, named};
}

consteval LineDraft named(Source source, std::string_view key) { return make(source, {key, {}}); }

// "%d" in the name is the number of the instance.
consteval LineDraft section(std::string_view name, Source source = Source::Section) {
  return named(source, name);
}

consteval LineDraft constant(std::string_view line) { return named(Source::Constant, line); }

// A value of the record; of an array of records or values the instance that the section shows.
#define FIELD(key, member) make(Source::Field, CAPI_FIELD_AS(key, member))
#define FIELD_WHEN(when, key, member) make(Source::Field, CAPI_FIELD_AS(key, member), When::when)
#define VOIP_FIELD(key, member) make(Source::VoipField, CAPI_FIELD_AS(key, member))
#define EVS_FIELD(key, member) make(Source::EvsField, CAPI_FIELD_AS(key, member), When::EvsCodec)
#define EACH(array, member, key)                               \
  field_rows::with_stride(CAPI_FIELD_AS(key, array[0].member), \
                          sizeof std::declval<cfg_shared_record&>().array[0])
#define EACH_FIELD(key, array, member) make(Source::Field, EACH(array, member, key))
#define EACH_VOIP_FIELD(key, array, member) make(Source::VoipField, EACH(array, member, key))

inline constexpr LineDraft kDrafts[] = {
    section("NETWORK"),
    named(Source::InterfaceName, "if_name"),
    named(Source::NetworkType, "network_type"),
    named(Source::ForcedAddress, "forced_ipaddr"),
    named(Source::ChannelType, "network_channel_type"),

    section("RADV"),
    constant("register_retrytimer_short=60"),
    constant("register_retrytimer_long=1200"),
    constant("register_max_retransmission=6"),
    FIELD("refresh_method", voice_basic.session_timer_method),
    FIELD("session_timer", voice_basic.session_timer_expires),
    FIELD("MinSE", voice_basic.session_timer_min_se),
    constant("sip_t1_timer=2000"),
    constant("sip_t2_timer=16000"),
    constant("sip_t4_timer=17000"),  // not the textbook's value: what the stack was tuned to
    constant("general_linger_timer="),
    constant("invite_linger_timer="),
    constant("provisional_timer=120000"),
    constant("cancel_no_response_timer="),
    constant("cancel_invite_no_response_timer="),
    constant("general_request_timeout="),
    FIELD("user_agent", voice_basic.user_agent),
    named(Source::CallerPreferences, "enable_caller_preferences"),
    constant("enable_voice_monitor=0"),
    constant("incoming_call_no_answer_timer=90"),
    constant("offhook_no_dial_timer=30"),
    constant("offhook_warning_timer=30"),
    constant("offhook_hangup_warn_timer=180"),
    constant("callwaiting_no_answer_timer=30"),
    constant("callhold_remind_timer=15"),

    section("LINE%d_FEATURE", Source::SectionOfEachLine),
    constant("enable_mail_box=1"),
    constant("do_not_disturb=0"),  // the stack's own switch; the line's is enable_dnd
    constant("use_privacy=0"),
    EACH_FIELD("enable_direct_call_forward", call_forward, direct_forward),
    EACH_FIELD("dest_direct_call_forward", call_forward, direct_forward_dest),
    EACH_FIELD("enable_busy_call_forward", call_forward, busy_forward),
    EACH_FIELD("dest_busy_call_forward", call_forward, busy_forward_dest),
    EACH_FIELD("enable_noanswer_call_forward", call_forward, noanswer_forward),
    EACH_FIELD("dest_noanswer_call_forward", call_forward, noanswer_forward_dest),
    EACH_FIELD("timeout_noanswer_call_forward", call_forward, noanswer_forward_timeout),
    EACH_FIELD("enable_auto_dial", sip_line_feature, auto_dial_enable),
    EACH_FIELD("enable_hotline", sip_line_feature, hotline_enable),
    EACH_FIELD("hotline_number", sip_line_feature, hotline),
    EACH_FIELD("enable_callwaiting", sip_line_feature, callwaiting_enable),
    EACH_FIELD("conference_uri", sip_line_feature, conference_uri),
    EACH_FIELD("enable_dnd", sip_line_feature, dnd_enable),
    constant("enable_call_transfer=1"),
    constant("enable_3way_conference=1"),
    constant("enable_call_hold=1"),
    constant("enable_clip=1"),
    EACH_FIELD("enable_vbd", sip_line_feature, vbd_enable),
    EACH_FIELD("enable_cpc", sip_line_feature, cpc_enable),
    EACH_FIELD("cpc_duration", sip_line_feature, cpc_duration),
    EACH_FIELD("default_ptime", sip_line_feature, default_ptime),
    EACH_FIELD("com_data_dtmf_mode", sip_line_feature, com_data_dtmf_mode),
    EACH_FIELD("com_data_ec_enable", sip_line_feature, com_data_ec_enable),
    EACH_FIELD("com_data_tone_detection_enable", sip_line_feature, com_data_tone_detection_enable),
    EACH_FIELD("tx_com_data_gain", sip_line_feature, tx_com_data_gain),
    EACH_FIELD("rx_com_data_gain", sip_line_feature, rx_com_data_gain),
    EACH_FIELD("enable_emg_call", sip_line_feature, emergency_call_enable),

    section("VOICE"),
    constant("enable_g729_annexb=0"),
    FIELD("dtmf_name_string", voice_parameter.rfc2833_name),
    FIELD("dtmf_payload", voice_parameter.rfc2833_payload),
    FIELD("enable_echocancel", voice_parameter.ec),
    constant("jitter_mindelay=100"),
    constant("jitter_optim=7"),
    constant("enable_agc=0"),
    constant("agc_location=0"),
    constant("agc_targetenergy=-19"),
    constant("cid_standard=0"),
    FIELD("polarity_reversal_type", voice_parameter.polarity_reversal_type),
    FIELD("volume", voice_parameter.volume),
    named(Source::CodecCount, "enable_codec_num"),

    // The stack calls the authentication name "username" and the SIP user name "number".
    section("LINE%d_SUBSCRIBER", Source::SectionOfEachLine),
    EACH_VOIP_FIELD("displayname", sip_line, display_name),
    EACH_VOIP_FIELD("username", sip_line, auth_name),
    EACH_VOIP_FIELD("password", sip_line, auth_password),
    EACH_VOIP_FIELD("number", sip_line, user_name),
    EACH_VOIP_FIELD("enable", sip_line, enable),
    EACH_VOIP_FIELD("clir_enable", sip_line, clir_enable),

    section("RTP"),
    FIELD("basertpport", voice_basic.rtp_port),
    FIELD("rtp_dscp", voice_basic.rtp_dscp),
    FIELD("srtp_mode", voice_basic.srtp_mode),

    section("MEDIA"),
    FIELD("faxmode", voice_parameter.fax_mode),
    FIELD("oobdtmf", voice_parameter.dtmf_relay_method),
    FIELD("countrycode", voice_basic.country),
    FIELD("cng", voice_parameter.cng),
    FIELD("vad", voice_parameter.vad),
    constant("plc=0"),
    constant("silenceSup=1"),

    section("CODEC%d", Source::SectionOfEachCodec),
    FIELD("codec_const_string", voice_parameter.code_list),
    FIELD("codec_payload", voice_parameter.code_payload),
    FIELD("codec_name", voice_parameter.name),
    FIELD("codec_ptime", voice_parameter.packet_time),
    FIELD("codec_bitrate", voice_parameter.code_bitrate),
    FIELD_WHEN(AmrCodec, "codec_mode_set", voice_parameter.mode_set),
    EVS_FIELD("codec_evs_mode_switch", voice_parameter.evs_mode_switch),
    EVS_FIELD("codec_evs_hf_only", voice_parameter.evs_hf_only),
    EVS_FIELD("codec_evs_dtx", voice_parameter.evs_dtx),
    EVS_FIELD("codec_evs_cmr", voice_parameter.evs_cmr),
    FIELD_WHEN(EvsCodec, "codec_evs_br", voice_parameter.evs_br),
    FIELD_WHEN(EvsCodec, "codec_evs_bw", voice_parameter.evs_bw),
    EVS_FIELD("codec_evs_ch_aw_recv", voice_parameter.evs_ch_aw_recv),
    FIELD_WHEN(EvsCodec, "codec_mode_set", voice_parameter.mode_set),

    section("DIALPLAN"),
    constant("critical_dial_timeout=10"),
    constant("partial_dial_timeout=3"),
    constant("dialplanformat=0"),
    named(Source::DialPlan, "dialplan"),
    FIELD("dial_on_hash_key", voice_basic.dial_on_hash_key),
    FIELD("default_dial_plan_enable", voice_basic.default_dial_plan_enable),

    section("SIP"),
    FIELD("transport", voice_basic.transport_protocol),
    FIELD("tls_sip_uri_scheme", voice_basic.tls_sip_uri_scheme),
    FIELD("local_udp_tcp_port", voice_basic.local_port),
    FIELD("local_tls_port", voice_basic.local_tls_port),
    FIELD("regexptime", sip_registration.reg_interval),
    FIELD("mwi_subscribe_interval", voice_basic.mwi_subscribe_interval),
    FIELD("sip_dscp", voice_basic.sip_dscp),
    FIELD("heartbeat_enable", voice_basic.heartbeat_enable),
    FIELD("heartbeat_interval", voice_basic.heartbeat_interval),
    FIELD("tcp_keepalive_enable", voice_basic.tcp_keepalive_enable),
    FIELD("udp_keepalive_enable", voice_basic.udp_keepalive_enable),
    FIELD("dns_server", dns_server),
    named(Source::PcscfAddress, "pcscf_addr"),
    FIELD_WHEN(Tls, "sip_ca_cert_file", voice_basic.ca_cert_file),
    FIELD_WHEN(Tls, "sip_cert_file", voice_basic.cert_file),
    FIELD_WHEN(Tls, "sip_key_file", voice_basic.key_file),

    section("REGISTRAR_%d", Source::SectionOfEachServer),
    VOIP_FIELD("enable", sip_server.registrar_enable),
    VOIP_FIELD("addr", sip_server.registrar),
    FIELD("port", sip_server.registrar_port),

    section("SIPDOMAIN"),
    FIELD("enable", sip_server.sip_domain_enable),
    FIELD("addr", sip_server.sip_domain),

    section("PROXYSERVER_%d", Source::SectionOfEachServer),
    VOIP_FIELD("addr", sip_server.proxy),
    FIELD("port", sip_server.proxy_port),

    section("OUTBOUNDPROXY_%d", Source::SectionOfEachServer),
    VOIP_FIELD("enable", sip_server.outbound_proxy_enable),
    VOIP_FIELD("addr", sip_server.outbound_proxy),
    FIELD("port", sip_server.outbound_proxy_port),

    section("SIM"),
    FIELD("iccid", sim_info.ICCID),
    FIELD("imsi", sim_info.IMSI),
    FIELD("impi", sim_info.IMPI),
    FIELD("ims_domain", sim_info.IMS_DOMAIN),
    FIELD("impu", sim_info.IMPU),
    FIELD("msisdn", sim_info.MSISDN),
    FIELD("mbdn", sim_info.MBDN),

    section("BLOCKPHONE"),
    make(Source::BlockList, CAPI_FIELD_AS("VOIP_CALL_BLOCK_ENTRY_", call_block.entry)),

    section("STUN"),
    FIELD("natmode", voice_nat.mode),
    FIELD("server", voice_nat.stun_server_address),
    FIELD("port", voice_nat.stun_server_port),
    FIELD("username", voice_nat.stun_username),
    FIELD("password", voice_nat.stun_password),
    FIELD("interval", voice_nat.keepalive_interval),
    FIELD("nataddr", voice_nat.external_router_address),
    FIELD("natsipport", voice_nat.external_sip_signal_port),
    FIELD("natrtpport", voice_nat.external_base_rtp_port),

    section("SIGNALING"),
    FIELD_WHEN(Voip, "subscribe_mwi_event", voice_basic.subscribe_mwi_event_enable),

    section("SERVICE"),
    FIELD("vmwi_enable", voice_basic.mwi_enable),
    FIELD("gate_control_enable", voice_parameter.gate_control_enable),

    section("SHORT_MESSAGE"),
    FIELD("sca", sms_cfg.sca),
    FIELD("psi", sms_cfg.psi),

    section("STACK", Source::SectionOfChosenStack),
    EACH_FIELD("enable", voice_stack, enable),
    EACH_FIELD("type", voice_stack, type),
    EACH_FIELD("priority", voice_stack, priority),
    EACH_FIELD("codec", voice_stack, codec),
    EACH_FIELD("T1", voice_stack, t1),
    EACH_FIELD("access", voice_stack, access),
};

#undef FIELD
#undef FIELD_WHEN
#undef VOIP_FIELD
#undef EVS_FIELD
#undef EACH
#undef EACH_FIELD
#undef EACH_VOIP_FIELD

inline constexpr auto kRows = make_text_table<kDrafts>();

}  // namespace capi::stack_rows
