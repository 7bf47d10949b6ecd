// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the keys mean, as rows, in the order of config/field_rows.h: a key without a row here, or a
// row without a key, does not compile.
//
// A row says what the interface or a standard says, in one sentence. Where neither does, the key
// takes any number or any text and its origin is unknown: what a voice stack makes of such a value
// may be asked, and must not be guessed.
#pragma once

#include "keys/key_draft.h"

namespace capi::keys {

inline constexpr std::string_view kStacks =
    "Stack 1 is VoLTE's, and the emergency calls', 2 VoIP's, 3 VoWiFi's, 4 CS's and 5 QVC's.";
inline constexpr std::string_view kManufacturing =
    "capi_get_hardware_info() tells what the manufacturing file has, whatever stands here.";
inline constexpr std::string_view kOneAddress =
    "Whether the stack takes more than one is not stated.";
inline constexpr std::string_view kServingCell =
    "Not published while there is an lte_net_info.data.";
inline constexpr std::string_view kOneDomain =
    "Both sections name the same one, which is no server's own.";

inline constexpr KeyDraft kKeyDrafts[] = {
    key("voice_switch", "mode", kUnknownNumber, "Mode of the voice switching, which is passed on."),
    key("voice_access", "mode", kUnknownNumber, "Mode of the system's access, which is passed on."),

    key("basic_sip", "local_port", kPort, "Local port of SIP over UDP and TCP.").cites("RFC 3261"),
    key("basic_sip", "local_tls_port", kPort, "Local port of SIP over TLS.").cites("RFC 3261"),
    key("basic_sip", "rtp_port", kPort, "First of the local ports of RTP.").cites("RFC 3550"),
    key("basic_sip", "bind_interface", kUnknownNumber,
        "The interface that is bound to, as a number that is passed on."),
    key("basic_sip", "sip_dscp", range(0, 63, Values::Dscp),
        "DSCP that SIP packets are marked with.")
        .by("RFC 2474"),
    key("basic_sip", "rtp_dscp", range(0, 63, Values::Dscp),
        "DSCP that RTP packets are marked with.")
        .by("RFC 2474"),
    key("basic_sip", "dial_on_hash_key", kUnknownNumber, "Dialling at the hash key.").start("1"),
    key("basic_sip", "transport_protocol", {CAPI_KEY_NUMBER, Values::Transport},
        "Transport of SIP; with TLS the certificates are used.")
        .cites("RFC 3261")
        .note("What other numbers than 2 stand for is not stated."),
    key("basic_sip", "tls_sip_uri_scheme", kUnknownNumber, "Scheme of the SIP URIs under TLS.")
        .cites("RFC 3261"),
    key("basic_sip", "heartbeat_enable", kSwitch, "Whether the heartbeat is used."),
    key("basic_sip", "heartbeat_interval", kUnknownNumber, "Time between two heartbeats.")
        .note("The unit is not stated."),
    key("basic_sip", "tcp_keepalive_enable", kSwitch, "Whether TCP connections are kept alive."),
    key("basic_sip", "udp_keepalive_enable", kSwitch, "Whether UDP flows are kept alive."),
    key("basic_sip", "srtp_mode", kUnknownNumber, "How SRTP is used.").cites("RFC 3711"),
    key("basic_sip", "session_timer_method", kUnknownNumber, "The method that refreshes a session.")
        .cites("RFC 4028"),
    key("basic_sip", "session_timer_expires", range(90, INT32_MAX, Values::SessionTimer),
        "Session interval that is asked for, the value of Session-Expires.")
        .unit("s")
        .by("RFC 4028")
        .note("What 0 stands for, the value of the start, is not stated."),
    key("basic_sip", "session_timer_min_se", range(90, INT32_MAX, Values::SessionTimer),
        "Shortest session interval that is accepted, the value of Min-SE.")
        .unit("s")
        .by("RFC 4028")
        .note("What 0 stands for, the value of the start, is not stated."),
    key("basic_sip", "mwi_enable", kSwitch, "Whether waiting messages are indicated.")
        .cites("RFC 3842"),
    key("basic_sip", "subscribe_mwi_event_enable", kSwitch,
        "Whether the VoIP stack subscribes to the message-summary event.")
        .cites("RFC 3842"),
    key("basic_sip", "mwi_subscribe_interval", kUnknownNumber,
        "Interval of the subscription to the message-summary event.")
        .cites("RFC 3842")
        .note("The unit is not stated."),
    key("basic_sip", "default_dial_plan_enable", kSwitch, "Whether the default dial plan is used."),
    key("basic_sip", "dial_plan", {CAPI_KEY_DIAL_PLAN}, "The dial plan.")
        .note(
            "Written into the stack's file in parentheses of its own. The notation is not stated."),
    key("basic_sip", "country", kUnknownText, "Country, the stack's country code of the media.")
        .note("Whether it is a name or a code, and of which list, is not stated."),
    key("basic_sip", "carrier", kUnknownText, "Carrier of the voice service."),
    key("basic_sip", "user_agent", kAnyText, "Value of the User-Agent header of SIP.")
        .by("RFC 3261"),
    key("basic_sip", "ca_cert_file", kPath, "File of the CA's certificate for SIP over TLS."),
    key("basic_sip", "cert_file", kPath, "File of the own certificate for SIP over TLS."),
    key("basic_sip", "key_file", kPath, "File of the own private key for SIP over TLS."),

    key("voice_stack", "enable", kSwitch, "Whether the stack is enabled.").note(kStacks),
    key("voice_stack", "priority", kUnknownNumber, "Priority of the stack.")
        .note("Whether a high or a low number comes first is not stated."),
    key("voice_stack", "t1", kNotNegative, "Timer T1 of SIP, the estimated round-trip time.")
        .by("RFC 3261")
        .note("The unit is not stated. The stack's file has another one beside it, the constant "
              "sip_t1_timer=2000."),
    key("voice_stack", "type", kUnknownText, "Type of the stack."),
    key("voice_stack", "codec", kUnknownText, "Codecs of the stack, as a list.")
        .note("The notation is not stated."),
    key("voice_stack", "access", kUnknownText, "Access of the stack."),

    key("sim_info", "ICCID", {CAPI_KEY_ICCID}, "Serial number of the SIM.")
        .by("ITU-T E.118")
        .read_back(),
    key("sim_info", "IMSI", {CAPI_KEY_IMSI}, "Identity of the subscriber.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("sim_info", "IMPI", {CAPI_KEY_IMPI}, "Private identity of the IMS user.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("sim_info", "IMS_DOMAIN", kHost, "Name of the home network's IMS domain.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("sim_info", "IMPU", kUri, "Public identity of the IMS user.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("sim_info", "MSISDN", kMsisdn, "Phone number of the subscriber.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("sim_info", "MBDN", kPhone, "Number that is dialled for the mailbox.")
        .by("3GPP TS 31.102")
        .read_back(),

    key("hw_info", "wan_mac", kMac, "MAC address of the WAN side.")
        .by("IEEE 802")
        .note(kManufacturing)
        .read_back(),
    key("hw_info", "lan_mac", kMac, "MAC address of the LAN side.")
        .by("IEEE 802")
        .note(kManufacturing)
        .read_back(),
    key("hw_info", "version", kAnyText, "Version of the hardware.").read_back(),
    key("hw_info", "serial", kAnyText, "Serial number of the device.")
        .note(kManufacturing)
        .read_back(),
    key("hw_info", "model", kAnyText, "Name of the model.").read_back(),
    key("hw_info", "contrycode", kAnyText, "Country code of the device.")
        .note("Spelled so.")
        .read_back(),
    key("hw_info", "imei0", kImei, "IMEI that manufacturing gave the device.")
        .by("3GPP TS 23.003")
        .read_back(),
    key("hw_info", "cellmodule", kAnyText, "The cellular module.").read_back(),
    key("hw_info", "language", kAnyText, "Language of the user interface.").read_back(),

    key("runtime_info", "fw_version", kAnyText, "Version of the firmware.")
        .start("v1.0.0")
        .read_back(),
    key("runtime_info", "fw_build_number", kAnyText, "Build number of the firmware."),
    key("runtime_info", "work_directory", kPath, "The work directory.").start("/tmp"),
    key("runtime_info", "data_directory", kPath,
        "The data directory, with info.simcard and the shared status files.")
        .start("/tmp"),
    key("runtime_info", "log_directory", kPath, "The log directory.").start("/tmp"),
    key("runtime_info", "bin_directory", kPath,
        "Directory of programs; never made by the library."),
    key("runtime_info", "nv_directory", kPath,
        "Directory of non-volatile data, with the call log and the messages.")
        .note("When it is empty the data directory serves."),
    key("runtime_info", "ivr_directory", kPath, "Directory of the IVR."),
    key("runtime_info", "uuid", kAnyText, "UUID of the system.").read_back(),
    key("runtime_info", "imei", kImei, "IMEI of the device.").by("3GPP TS 23.003").read_back(),
    key("runtime_info", "device_name", kAnyText, "Name of the device."),
    key("runtime_info", "wan_mac", kMac, "MAC address of the WAN interface.")
        .by("IEEE 802")
        .start("00:00:00:00:00:00")
        .read_back(),
    key("runtime_info", "wan_ip", kIp,
        "Address of the WAN interface, to which the VoWiFi stack binds.")
        .read_back(),
    key("runtime_info", "public_ip", kIp, "Public address of the WAN.").read_back(),
    key("runtime_info", "bb_if_name", kInterface,
        "Baseband interface, for stacks without one of their own.")
        .note("capi_get_runtime_bb_interface() tells the WAN interface instead."),
    key("runtime_info", "4g_if_name", kInterface, "The 4G interface.")
        .note("capi_get_runtime_3g_interface() tells it."),
    key("runtime_info", "wan_if_name", kInterface, "The WAN interface."),
    key("runtime_info", "xcap_if_name", kInterface, "The interface of XCAP.").cites("RFC 4825"),
    key("runtime_info", "dns_server", kIp, "DNS server of the voice stacks.").note(kOneAddress),
    key("runtime_info", "voip_ip", kIp, "Address that the VoIP stack binds to."),
    key("runtime_info", "ims_ip", kIp, "Address that the VoLTE stack binds to."),
    key("runtime_info", "sos_ip", kIp, "Address that the emergency stack binds to."),
    key("runtime_info", "pcscf_addr", kHost, "P-CSCF of the VoLTE, VoIP and VoWiFi stacks.")
        .cites("3GPP TS 24.229")
        .note(kOneAddress),
    key("runtime_info", "sos_pcscf", kHost, "P-CSCF of the emergency stack.")
        .cites("3GPP TS 24.229")
        .note(kOneAddress),
    key("runtime_info", "if_name_ims", kInterface, "Interface of the VoLTE stack."),
    key("runtime_info", "if_name_voip", kInterface, "Interface of the VoIP stack."),
    key("runtime_info", "if_name_vowifi", kInterface, "Interface of the VoWiFi stack."),
    key("runtime_info", "if_name_sos", kInterface, "Interface of the emergency stack."),
    key("runtime_info", "lte_netinfo_tac", kUnknownText, "Tracking area code of the serving cell.")
        .cites("3GPP TS 23.003")
        .note(
            "The notation is not stated. At most 7 characters are published, and none while there "
            "is an lte_net_info.data."),
    key("runtime_info", "lte_netinfo_globalcellid", {CAPI_KEY_HEX},
        "Cell identity of the serving cell, of which eNB and cell are worked out when it is set.")
        .cites("3GPP TS 23.003")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_cellid", kDigits,
        "Number of the serving cell in its eNB, where there is no global cell id.")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_mcc", {CAPI_KEY_MCC}, "Country code of the serving network.")
        .by("3GPP TS 23.003")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_mnc", {CAPI_KEY_MNC}, "Network code of the serving network.")
        .by("3GPP TS 23.003")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_band", kDigits, "Frequency band of the serving cell.")
        .by("3GPP TS 36.101")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_enbid", kDigits,
        "Number of the serving eNB, where there is no global cell id.")
        .note(kServingCell),
    key("runtime_info", "lte_netinfo_msisdn", kMsisdn, "Phone number on the LTE network.")
        .by("3GPP TS 23.003"),

    key("sip_feature", "hotline_enable", kSwitch, "Whether the hotline is used."),
    key("sip_feature", "callwaiting_enable", kSwitch, "Whether call waiting is used.")
        .cites("3GPP TS 22.083"),
    key("sip_feature", "dnd_enable", kSwitch, "Whether do-not-disturb is used.")
        .note("Stands as \"enable_dnd\" in the stack's file, which has do_not_disturb=0 as well."),
    key("sip_feature", "default_ptime", kNotNegative,
        "Default packet time, as ptime of SDP has it.")
        .unit("ms")
        .by("RFC 8866"),
    key("sip_feature", "auto_dial_enable", kSwitch, "Whether automatic dialling is used."),
    key("sip_feature", "vbd_enable", kSwitch, "Whether voice-band data is used.")
        .cites("ITU-T V.152"),
    key("sip_feature", "cpc_enable", kSwitch, "Whether CPC is used on the line."),
    key("sip_feature", "cpc_duration", kUnknownNumber, "Duration of CPC.")
        .note("The unit is not stated."),
    key("sip_feature", "com_data_dtmf_mode", kUnknownNumber, "DTMF mode under com_data.")
        .note("What com_data is is not stated."),
    key("sip_feature", "com_data_ec_enable", kSwitch, "Echo cancellation under com_data."),
    key("sip_feature", "com_data_tone_detection_enable", kSwitch, "Tone detection under com_data."),
    key("sip_feature", "tx_com_data_gain", kUnknownNumber, "Gain of what is sent under com_data.")
        .note("The unit is not stated."),
    key("sip_feature", "rx_com_data_gain", kUnknownNumber,
        "Gain of what is received under com_data.")
        .note("The unit is not stated."),
    key("sip_feature", "emergency_call_enable", kSwitch, "Whether the line makes emergency calls."),
    key("sip_feature", "hotline", kPhone, "Number of the hotline."),
    key("sip_feature", "conference_uri", kUri, "URI at which conferences are made.").by("RFC 3261"),

    key("sip_line", "enable", kSwitch, "Whether the line is enabled."),
    key("sip_line", "clir_enable", kSwitch, "Whether calls hide who is calling.")
        .cites("3GPP TS 22.081"),
    key("sip_line", "display_name", kAnyText, "Name that the called see.").by("RFC 3261"),
    key("sip_line", "user_name", kAnyText, "User part of the line's address of record.")
        .by("RFC 3261")
        .note("Stands as \"number\" in the stack's file."),
    key("sip_line", "auth_name", kAnyText, "User name for digest authentication.")
        .by("RFC 3261")
        .note("Stands as \"username\" in the stack's file."),
    key("sip_line", "auth_password", kAnyText, "Password for digest authentication.")
        .by("RFC 3261")
        .secret(),

    key("sip_server", "sip_domain_enable", kSwitch, "Whether the SIP domain is used.")
        .note(kOneDomain),
    key("sip_server", "sip_domain", kHost, "The SIP domain.").cites("RFC 3261").note(kOneDomain),
    key("sip_server", "registrar_port", kPort, "Port of the registrar.")
        .start("5060")
        .note("0 becomes 5060 when settings are published."),
    key("sip_server", "proxy_port", kPort, "Port of the proxy.")
        .start("5060")
        .note("0 becomes 5060 when settings are published."),
    key("sip_server", "outbound_proxy_port", kPort, "Port of the outbound proxy.")
        .start("5060")
        .note("0 becomes 5060 when settings are published."),
    key("sip_server", "registrar_enable", kSwitch, "Whether the registrar is used."),
    key("sip_server", "outbound_proxy_enable", kSwitch, "Whether the outbound proxy is used."),
    key("sip_server", "registrar", kHost, "The registrar.").cites("RFC 3261"),
    key("sip_server", "proxy", kHost, "The proxy.").cites("RFC 3261"),
    key("sip_server", "outbound_proxy", kHost, "The outbound proxy.").cites("RFC 3261"),

    key("voice_nat", "mode", kUnknownNumber, "How NAT is traversed."),
    key("voice_nat", "stun_server_port", kPort, "Port of the STUN server.").cites("RFC 8489"),
    key("voice_nat", "keepalive_interval", kUnknownNumber, "Time between two keep-alives.")
        .note("The unit is not stated."),
    key("voice_nat", "external_sip_signal_port", kPort, "Port of SIP as seen from outside."),
    key("voice_nat", "external_base_rtp_port", kPort,
        "First of the ports of RTP as seen from outside."),
    key("voice_nat", "stun_server_address", kHost, "The STUN server.").cites("RFC 8489"),
    key("voice_nat", "stun_username", kAnyText, "User name for the STUN server.").by("RFC 8489"),
    key("voice_nat", "stun_password", kAnyText, "Password for the STUN server.")
        .by("RFC 8489")
        .secret(),
    key("voice_nat", "external_router_address", kHost,
        "Address of the router as seen from outside."),

    key("voice_parameter", "count", range(0, CAPI_CODEC_SLOTS), "How many codec slots are in use.")
        .note("The loader takes a number beyond either end as that end."),
    key("voice_parameter", "evs_mode_switch", one_of(Values::EvsSwitch),
        "evs-mode-switch of EVS: 1 begins in the AMR-WB IO mode.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_hf_only", one_of(Values::EvsSwitch),
        "hf-only of EVS: 1 uses the header-full payload format only.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_dtx", one_of(Values::EvsSwitch),
        "dtx of EVS: whether discontinuous transmission is used.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_cmr", one_of(Values::EvsModeRequest),
        "cmr of EVS: how codec mode requests are used.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_ch_aw_recv", one_of(Values::EvsChannelAware),
        "ch-aw-recv of EVS: the channel-aware mode for what is received.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_br", {CAPI_KEY_EVS_BR}, "br of EVS: the range of bit rates.")
        .unit("kbit/s")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "evs_bw", {CAPI_KEY_EVS_BW}, "bw of EVS: the audio bandwidth.")
        .by("3GPP TS 26.445"),
    key("voice_parameter", "rfc2833_payload", range(0, 127),
        "RTP payload type of telephone events.")
        .by("RFC 4733"),
    key("voice_parameter", "rfc2833_name", kAnyText, "Name of the telephone events, as SDP has it.")
        .by("RFC 4733"),
    key("voice_parameter", "fax_mode", kUnknownNumber, "Mode of faxes."),
    key("voice_parameter", "dtmf_relay_method", kUnknownNumber, "Method of out-of-band DTMF."),
    key("voice_parameter", "cng", kUnknownNumber, "Generation of comfort noise."),
    key("voice_parameter", "ec", kSwitch, "Whether echoes are cancelled."),
    key("voice_parameter", "vad", kUnknownNumber, "Detection of voice activity."),
    key("voice_parameter", "polarity_reversal_type", kUnknownNumber,
        "Type of the polarity reversal on the lines."),
    key("voice_parameter", "volume", kUnknownNumber, "Volume.").note("The unit is not stated."),
    key("voice_parameter", "gate_control_enable", kSwitch, "Whether gate control is used."),

    key("call_forward", "direct_forward", kSwitch, "Whether all calls are forwarded.")
        .cites("3GPP TS 22.082"),
    key("call_forward", "busy_forward", kSwitch, "Whether calls to the busy line are forwarded.")
        .cites("3GPP TS 22.082"),
    key("call_forward", "noanswer_forward", kSwitch, "Whether unanswered calls are forwarded.")
        .cites("3GPP TS 22.082"),
    key("call_forward", "noanswer_forward_timeout", kNotNegative,
        "How long a call rings before it is forwarded.")
        .unit("s")
        .cites("3GPP TS 22.082"),
    key("call_forward", "direct_forward_dest", kTarget, "Where all calls are forwarded to.")
        .cites("3GPP TS 22.082"),
    key("call_forward", "busy_forward_dest", kTarget, "Where calls to the busy line go.")
        .cites("3GPP TS 22.082"),
    key("call_forward", "noanswer_forward_dest", kTarget, "Where unanswered calls go.")
        .cites("3GPP TS 22.082"),

    key("call_white_list", "enable", kSwitch, "Whether the white list of calls is used."),
    key("call_redirection", "enable", kSwitch, "Whether calls are redirected."),
    key("sip_registration", "reg_interval", kNotNegative,
        "Expiry of a registration that is asked for.")
        .unit("s")
        .cites("RFC 3261")
        .start("600000")
        .note("The value of the start is ten minutes as ms, and nearly seven days as what it is."),
    key("sms", "enable", kSwitch, "Whether short messages are used."),
    key("sms", "sca", kPhone, "Address of the service centre of short messages.")
        .by("3GPP TS 23.040"),
    key("sms", "psi", kUri, "Public service identity of the service centre.").by("3GPP TS 23.003"),
    key("slic_parameter", "settings", kAnyText,
        "Settings of the subscriber-line interface chip, which are passed on."),

    // The keys that carry a number.
    key("voice_parameter", "_name_", kAnyText, "Name of the slot's codec."),
    key("voice_parameter", "_packet_time_", kAnyText, "Packet time of the slot's codec.")
        .unit("ms")
        .cites("RFC 8866")
        .note("Whether it may be a list is not stated."),
    key("voice_parameter", "_mode_set_", {CAPI_KEY_MODE_SET},
        "Modes of the slot's AMR or EVS codec.")
        .by("RFC 4867"),
    key("voice_parameter", "_code_list_", kAnyText, "Constant string of the slot's codec.")
        .note("One that holds AMR or EVS brings the lines of those codecs into the stack's file."),
    key("voice_parameter", "_code_payload_", range(0, 127, Values::PayloadType),
        "RTP payload type of the slot's codec.")
        .by("RFC 3551"),
    key("voice_parameter", "_code_bitrate_", kUnknownNumber, "Bit rate of the slot's codec.")
        .note("The unit is not stated."),
    key("speed_dial", "entry_", kPhone, "Number that the key dials."),
    key("speed_dial30", "num_", kPhone, "Number of the speed dial."),
    key("call_block", "entry_", kAnyText, "Number or pattern of calls that are blocked.")
        .note("The notation of patterns is not stated."),
    key("call_white_list", "entry_", kUnknownText, "Entry of the white list of calls.")
        .note("Whether it may be a pattern is not stated."),
    key("call_redirection", "src_number_", kPhone, "Source number of a redirection.")
        .note("Belongs to dst_number of the same number."),
    key("call_redirection", "dst_number_", kPhone, "Destination number of a redirection.")
        .note("Belongs to src_number of the same number."),
};

}  // namespace capi::keys
