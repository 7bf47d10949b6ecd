/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The records that the processes of the device exchange through the shared segment. Order and
 * widths of all fields are a contract between processes that may have been built apart: numbers are
 * signed 32-bit, texts are NUL-terminated arrays whose capacity includes the terminator, "enable"
 * fields hold 0 or 1.
 */
#ifndef CAPI_RECORDS_H
#define CAPI_RECORDS_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

enum {
  CAPI_RUNTIME_DIRS = 6,
  CAPI_VOICE_STACKS = 5,
  CAPI_SIP_LINES = 2,
  CAPI_SIP_SERVERS = 2,
  CAPI_CODEC_SLOTS = 12,
  CAPI_SPEED_DIALS = 10,
  CAPI_SPEED_DIALS30 = 30,
  CAPI_CALL_BLOCKS = 10,
  CAPI_WHITE_LIST_ENTRIES = 20,
  CAPI_REDIRECTIONS = 10,
  CAPI_STACK_INTERFACES = 6,
  CAPI_CALLS_PER_LINE = 3,
  CAPI_IMS_VOICE_BYTES = 484,
  CAPI_VENDOR_BYTES = 160,
  /* An EVS number that is not configured; the voice stack then uses its own default. */
  CAPI_EVS_UNSET = -2
};

struct capi_voice_switch {
  int32_t mode;
};

struct capi_voice_stack {
  int32_t enable;
  char type[64];
  int32_t priority;
  char codec[64];
  int32_t t1; /* SIP T1 */
  int32_t reserved;
  char access[64];
};

struct capi_voice_basic {
  int32_t local_port;
  int32_t local_tls_port;
  int32_t sip_dscp;
  char dial_plan[256];
  int32_t dial_on_hash_key;
  int32_t rtp_port;
  int32_t rtp_dscp;
  int32_t bind_interface;
  char country[64];
  char carrier[64];
  char user_agent[64];
  int32_t transport_protocol; /* 2 is TLS */
  int32_t tls_sip_uri_scheme;
  int32_t heartbeat_enable;
  int32_t heartbeat_interval;
  int32_t tcp_keepalive_enable;
  int32_t udp_keepalive_enable;
  int32_t srtp_mode;
  int32_t session_timer_method;
  int32_t session_timer_expires;
  int32_t session_timer_min_se;
  int32_t mwi_enable;
  int32_t subscribe_mwi_event_enable;
  int32_t mwi_subscribe_interval;
  int32_t default_dial_plan_enable;
  char ca_cert_file[128];
  char cert_file[128];
  char key_file[128];
};

struct capi_system_access {
  int32_t mode;
};

struct capi_voice_sip_line {
  char display_name[256];
  char user_name[256];
  char auth_name[256];
  char auth_password[256];
  int32_t enable;
  int32_t clir_enable;
};

struct capi_voice_sip_line_feature {
  int32_t hotline_enable;
  char hotline[64];
  int32_t callwaiting_enable;
  char conference_uri[64];
  int32_t dnd_enable;
  int32_t auto_dial_enable;
  int32_t vbd_enable;
  int32_t cpc_enable;
  int32_t cpc_duration;
  int32_t default_ptime;
  int32_t com_data_dtmf_mode;
  int32_t com_data_ec_enable;
  int32_t com_data_tone_detection_enable;
  int32_t tx_com_data_gain;
  int32_t rx_com_data_gain;
  int32_t emergency_call_enable;
};

/* A codec slot is one position in each of the six arrays. */
struct capi_voice_parameter {
  int32_t count; /* codec slots in use, 0 to 12 */
  char name[CAPI_CODEC_SLOTS][64];
  char packet_time[CAPI_CODEC_SLOTS][64];
  char code_list[CAPI_CODEC_SLOTS][64];   /* the codec's constant string */
  int32_t code_payload[CAPI_CODEC_SLOTS]; /* RTP payload type */
  int32_t code_bitrate[CAPI_CODEC_SLOTS];
  char mode_set[CAPI_CODEC_SLOTS][32]; /* AMR and EVS */
  int32_t evs_mode_switch;
  int32_t evs_hf_only;
  int32_t evs_dtx;
  int32_t evs_cmr;
  char evs_br[16]; /* bit-rate range */
  char evs_bw[16]; /* bandwidth */
  int32_t evs_ch_aw_recv;
  int32_t rfc2833_payload;
  char rfc2833_name[256];
  int32_t fax_mode;
  int32_t dtmf_relay_method;
  int32_t cng;
  int32_t ec;
  int32_t vad;
  int32_t polarity_reversal_type;
  int32_t volume;
  int32_t gate_control_enable;
};

struct capi_voice_speed_dial {
  char entry[CAPI_SPEED_DIALS][32];
};

struct capi_voice_speed_dial30 {
  char entry[CAPI_SPEED_DIALS30][32];
};

struct capi_voice_call_forward {
  int32_t direct_forward; /* unconditional */
  int32_t busy_forward;
  int32_t noanswer_forward;
  int32_t noanswer_forward_timeout; /* seconds */
  char direct_forward_dest[64];
  char busy_forward_dest[64];
  char noanswer_forward_dest[64];
};

struct capi_voice_sip_registration {
  int32_t reg_interval; /* seconds */
};

struct capi_voice_sms_cfg {
  int32_t enable;
  char sca[32];  /* service-centre address */
  char psi[128]; /* public service identity */
};

struct capi_slic_parameter {
  char settings[1024];
};

struct capi_voice_sip_server {
  char registrar[CAPI_SIP_SERVERS][256];
  int32_t registrar_port[CAPI_SIP_SERVERS];
  char proxy[CAPI_SIP_SERVERS][256];
  int32_t proxy_port[CAPI_SIP_SERVERS];
  char outbound_proxy[CAPI_SIP_SERVERS][256];
  int32_t outbound_proxy_port[CAPI_SIP_SERVERS];
  int32_t registrar_enable[CAPI_SIP_SERVERS];
  int32_t outbound_proxy_enable[CAPI_SIP_SERVERS];
  int32_t sip_domain_enable;
  char sip_domain[512];
};

struct capi_voice_nat {
  int32_t mode;
  char stun_server_address[256];
  int32_t stun_server_port;
  char stun_username[256];
  char stun_password[256];
  int32_t keepalive_interval;
  char external_router_address[256];
  int32_t external_sip_signal_port;
  int32_t external_base_rtp_port;
};

struct capi_voice_call_block {
  char entry[CAPI_CALL_BLOCKS][256];
};

struct capi_voice_call_white_list {
  int32_t enable;
  char entry[CAPI_WHITE_LIST_ENTRIES][32];
};

/* Source and destination at the same position belong together. */
struct capi_voice_call_redirection {
  int32_t enable;
  char src_number[CAPI_REDIRECTIONS][32];
  char dst_number[CAPI_REDIRECTIONS][32];
};

struct capi_sim_info {
  char ICCID[32];
  char IMSI[32];
  char IMPI[128];
  char IMS_DOMAIN[128];
  char IMPU[128];
  char MSISDN[32];
  char MBDN[32];
};

/* What manufacturing wrote into the device. */
struct capi_hw_info {
  char version[32];
  char serial[32];
  char model[32];
  char contrycode[32];
  char imei0[32];
  char language[32];
  char cellmodule[32];
  char wan_mac[32];
  char lan_mac[32];
};

/* The serving cell as the settings tell it. */
struct capi_serving_cell {
  char globalcellid[32]; /* hexadecimal */
  char tac[32];
  char cellid[32];
  char mcc[32];
  char mnc[32];
  char band[32];
  char enbid[32];
  char msisdn[32];
};

/* The serving cell as published: at most 7 characters each, the 8th byte is always 0. */
struct capi_lte_net_info {
  char act[8]; /* access technology */
  char mcc[8];
  char mnc[8];
  char tac[8];
  char enbid[8];
  char cellid[8];
  char band[8];
};

/* Circuit-switched registration of a line; the values belong to the publisher. */
struct capi_line_cs_reg_stat {
  int32_t value[5];
};

/* SIP registration of a line on a voice stack. */
struct capi_line_reg_stat {
  int32_t registered;
  int32_t publisher1;   /* these belong to the publisher */
  int32_t reg_time;     /* seconds since the epoch, 0 is unknown */
  int32_t reg_duration; /* seconds; filled on reading */
  int32_t unreg_time;   /* seconds since the epoch */
  int32_t fail_reason;  /* 0 none, 1 SIM not ready, 2 network, 3 unreachable, 4 rejected */
  int32_t detail_code;
  int32_t publisher2[3];
  char status_text[32]; /* these three are filled on reading */
  char reason_text[64];
  char detail_text[32];
  int32_t publisher3[3];
  char magic[4]; /* "SGER" once written */
};

struct capi_shared_reg_summary {
  int32_t line;
  uint8_t opaque[72];
  char regstatus[64];
  int32_t vm; /* voice mail is waiting */
  int32_t noe911;
  int32_t simdeactived;
  int32_t callfailed;
};

struct capi_shared_call {
  int32_t state; /* a call state, see capi_convert_call_state_to_string() */
  char number[32];
  char name[32];
};

struct capi_shared_call_state {
  int32_t line;
  struct capi_shared_call call[CAPI_CALLS_PER_LINE];
};

struct capi_shared_phone_status {
  int32_t line;
  int32_t hook;
  int32_t incoming;
};

/* The whole content of the shared segment. */
struct cfg_shared_record {
  char directory[CAPI_RUNTIME_DIRS][256]; /* work, data, log, bin, nv, ivr */

  char sys_uuid[64];
  char wan_mac[20];
  char fw_version[64];
  char fw_build_number[16];
  char public_ip[64];
  char wan_ip[64];
  char device_imei[32];
  char device_name[34];
  char bb_if_name[32];
  char lte_if_name[32];
  char wan_if_name[32];
  char xcap_if_name[32];
  char dns_server[64];
  char voip_ip[64];
  char ims_ip[64];
  char sos_ip[64];
  char pcscf_addr[256];
  char sos_pcscf[256];
  char stack_if_name[CAPI_STACK_INTERFACES][32]; /* ims, voip, vowifi, CS, QVC, sos */

  struct capi_sim_info sim_info;
  struct capi_hw_info hw_info;
  struct capi_serving_cell serving_cell;
  uint8_t sim_check_flag;
  uint8_t spare;

  struct capi_voice_switch voice_switch;
  struct capi_voice_stack voice_stack[CAPI_VOICE_STACKS];
  struct capi_voice_basic voice_basic;
  struct capi_system_access system_access;
  struct capi_voice_sip_line sip_line[CAPI_SIP_LINES];
  struct capi_voice_sip_line_feature sip_line_feature[CAPI_SIP_LINES];
  struct capi_voice_parameter voice_parameter;
  struct capi_voice_speed_dial speed_dial;
  struct capi_voice_speed_dial30 speed_dial30;
  struct capi_voice_call_forward call_forward[CAPI_SIP_LINES];
  struct capi_voice_sip_registration sip_registration;
  struct capi_voice_sms_cfg sms_cfg;
  struct capi_slic_parameter slic_parameter;
  struct capi_voice_sip_server sip_server;
  struct capi_voice_nat voice_nat;
  struct capi_voice_call_block call_block;
  struct capi_voice_call_white_list call_white_list;
  struct capi_voice_call_redirection call_redirection;

  /* From here on: live state. Publishing the configuration leaves it alone. */
  struct capi_line_cs_reg_stat cs_reg_stat[CAPI_SIP_LINES];
  struct capi_line_reg_stat reg_stat[CAPI_VOICE_STACKS][CAPI_SIP_LINES];
  char phone_phy_status[CAPI_SIP_LINES][128];
  struct capi_shared_reg_summary shared_reg_summary[CAPI_SIP_LINES];
  struct capi_shared_call_state shared_call_state[CAPI_SIP_LINES];
  struct capi_shared_phone_status shared_phone_status[CAPI_SIP_LINES];
  uint8_t ims_voice[CAPI_IMS_VOICE_BYTES];
  struct capi_lte_net_info lte_net_info;
  uint8_t vendor[CAPI_VENDOR_BYTES];
};

#define CAPI_ASSERT_OFFSET(field, value) \
  CAPI_LAYOUT_ASSERT(offsetof(struct cfg_shared_record, field) == (value), field)

CAPI_ASSERT_OFFSET(sys_uuid, 1536);
CAPI_ASSERT_OFFSET(wan_mac, 1600);
CAPI_ASSERT_OFFSET(fw_version, 1620);
CAPI_ASSERT_OFFSET(fw_build_number, 1684);
CAPI_ASSERT_OFFSET(public_ip, 1700);
CAPI_ASSERT_OFFSET(wan_ip, 1764);
CAPI_ASSERT_OFFSET(device_imei, 1828);
CAPI_ASSERT_OFFSET(device_name, 1860);
CAPI_ASSERT_OFFSET(bb_if_name, 1894);
CAPI_ASSERT_OFFSET(dns_server, 2022);
CAPI_ASSERT_OFFSET(pcscf_addr, 2278);
CAPI_ASSERT_OFFSET(stack_if_name, 2790);
CAPI_ASSERT_OFFSET(sim_info, 2982);
CAPI_ASSERT_OFFSET(hw_info, 3494);
CAPI_ASSERT_OFFSET(serving_cell, 3782);
CAPI_ASSERT_OFFSET(sim_check_flag, 4038);
CAPI_ASSERT_OFFSET(voice_switch, 4040);
CAPI_ASSERT_OFFSET(voice_stack, 4044);
CAPI_ASSERT_OFFSET(voice_basic, 5084);
CAPI_ASSERT_OFFSET(system_access, 6000);
CAPI_ASSERT_OFFSET(sip_line, 6004);
CAPI_ASSERT_OFFSET(sip_line_feature, 8068);
CAPI_ASSERT_OFFSET(voice_parameter, 8436);
CAPI_ASSERT_OFFSET(speed_dial, 11568);
CAPI_ASSERT_OFFSET(speed_dial30, 11888);
CAPI_ASSERT_OFFSET(call_forward, 12848);
CAPI_ASSERT_OFFSET(sip_registration, 13264);
CAPI_ASSERT_OFFSET(sms_cfg, 13268);
CAPI_ASSERT_OFFSET(slic_parameter, 13432);
CAPI_ASSERT_OFFSET(sip_server, 14456);
CAPI_ASSERT_OFFSET(voice_nat, 16548);
CAPI_ASSERT_OFFSET(call_block, 17592);
CAPI_ASSERT_OFFSET(call_white_list, 20152);
CAPI_ASSERT_OFFSET(call_redirection, 20796);
CAPI_ASSERT_OFFSET(cs_reg_stat, 21440);
CAPI_ASSERT_OFFSET(reg_stat, 21480);
CAPI_ASSERT_OFFSET(phone_phy_status, 23320);
CAPI_ASSERT_OFFSET(shared_reg_summary, 23576);
CAPI_ASSERT_OFFSET(shared_call_state, 23888);
CAPI_ASSERT_OFFSET(shared_phone_status, 24304);
CAPI_ASSERT_OFFSET(ims_voice, 24328);
CAPI_ASSERT_OFFSET(lte_net_info, 24812);
CAPI_ASSERT_OFFSET(vendor, 24868);
CAPI_LAYOUT_ASSERT(sizeof(struct cfg_shared_record) == 25028, cfg_shared_record);

#undef CAPI_ASSERT_OFFSET

CAPI_END_DECLS

#endif
