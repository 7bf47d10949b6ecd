/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Signals: named events with a few typed attributes. A program sees a name and an information
 * record; between programs a signal is a JSON object {"msg":"signal","name":...,"attrs":{...}}.
 *
 * The fields of a record are named as the attributes in "attrs". Texts are NUL-terminated arrays
 * whose capacity includes the terminator.
 *
 * Neither conversion logs or takes a lock; both may be called from any thread and any callback.
 */
#ifndef CAPI_SIGNAL_H
#define CAPI_SIGNAL_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

enum {
  /* Room for the name of any signal of the table below, and where other names are cut. */
  CAPI_SIGNAL_NAME_SIZE = 64,
  CAPI_SIGNAL_CALLS = 3,
  CAPI_SIGNAL_INFO_BYTES = 8304
};

/* "VOP_SIG_GENERAL_SIGNAL", and every signal whose name is not told of here. */
struct capi_signal_general {
  char param1[256];
  char param2[256];
  char param3[256];
  int32_t iParam1;
  int32_t iParam2;
  int32_t iParam3;
  int32_t iParam4;
};

/* "vop_sig_voip_phone_status_changed" */
struct capi_signal_phone_status {
  int32_t line;
  int32_t hookstatus;
  int32_t incomingcallindication;
};

/* "vop_sig_vosip_exit_event" */
struct capi_signal_exit_event {
  int32_t stat;
  int32_t fwupgradeflag;
  int32_t gracefulexitflag;
  int32_t voipiscalling;
};

/* "vop_sig_voip_csfb_state" */
struct capi_signal_csfb_state {
  int32_t lineid;
  int32_t state;
};

/* "vop_sig_voip_simcard_error" */
struct capi_signal_simcard_error {
  int32_t detach;
};

/* "vop_sig_voip_pcscf_error" */
struct capi_signal_pcscf_error {
  int32_t error;
};

/* "vop_sig_voip_proxy_connect_status" */
struct capi_signal_proxy_status {
  int32_t status;
};

/*
 * "vop_sig_voip_register_status". "line" to "stacktype" are attributes of the object "voipmsg".
 * Where they are missing phonenumber and stacktype read as "---", lineregstatusstring as
 * "UnRegistered".
 */
struct capi_signal_register_status {
  int32_t lineId;
  int32_t line;
  int32_t status;
  char phonenumber[32];
  char stacktype[32];
  char lineregstatusstring[64];
  int32_t hasvoicemail;
  int32_t hasnoE911address;
  int32_t simcarddeactivated;
  int32_t callfailed;
};

/* "vop_sig_voip_e911_address_onoff" */
struct capi_signal_e911_onoff {
  int32_t line;
  int32_t status;
};

/* "vop_sig_voip_vm_off" and "vop_sig_voip_vm_on" */
struct capi_signal_voice_mail {
  int32_t line;
};

/* "vop_sig_simcard_provisioned_status" */
struct capi_signal_provisioned_status {
  int32_t deactived;
};

struct capi_signal_call {
  int32_t callstate; /* see capi_convert_call_state_to_string() */
  char callpartynumber[32];
  char callpartyname[32];
};

/*
 * "vop_sig_voip_call_state_change". "callinfo" is sent as three objects, each with its position
 * from 0 as "call"; of those received the first three count, whatever their "call".
 */
struct capi_signal_call_state {
  int32_t line;
  struct capi_signal_call callinfo[CAPI_SIGNAL_CALLS];
};

/* "vop_sig_voip_app_critical_error" */
struct capi_signal_critical_error {
  int32_t watchcount;
};

/* "vop_sig_voip_call_log_info": the values of a call-log record. */
struct capi_signal_call_log {
  uint32_t index;
  uint32_t calltype;
  uint32_t endpt;
  uint32_t calltimestart;
  uint32_t calltimeconnect;
  uint32_t calltimeend;
  char displayname[64];
  char number[64];
  uint32_t PacketsSent;
  uint32_t PacketsReceived;
  uint32_t PacketsLost;
  uint32_t PacketsDiscarded;
  uint32_t BytesReceived;
  uint32_t BytesSent;
  uint32_t RoundTripDelay;
  uint32_t PayloadType;
  uint32_t ReceiveInterarrivalJitter;
  uint32_t MinJitter;
  uint32_t MaxJitter;
  uint32_t Decodelatency;
};

/* "vop_sig_vsdk_service_control". Missing texts read as "unknown". */
struct capi_signal_service_control {
  char message[64];
  char param1[256];
  char param2[256];
  char param3[256];
};

/* "vop_sig_timer_expired" */
struct capi_signal_timer_expired {
  int32_t cookie;
};

/*
 * "vop_sig_voip_call_sms_info". The id travels as a JSON number: exact up to 2^53, and up to 15
 * digits where it is printed. There are two bytes of padding behind bRead.
 */
struct capi_signal_sms {
  uint64_t MsgId;
  uint8_t status;
  uint8_t bRead;
  uint32_t BeginTime;
  uint32_t LastTime;
  char imsi[32];
  char LocalNumber[24];
  char RemoteNumber[24];
  uint32_t TextLen;
  uint32_t TextSize;
  uint32_t TextType;
  char Text[8192];
};

/* "vop_sig_cfg_changed_info" */
struct capi_signal_cfg_changed {
  int32_t index;
  char section[64];
  char name[64];
  char value[256];
};

/* "vop_sig_cellular_internet_state_change" */
struct capi_signal_internet_state {
  int32_t internet_state;
  int32_t ip_state;
};

/* "vop_sig_voip_call_failed" */
struct capi_signal_call_failed {
  int32_t line;
  int32_t failed;
};

/* "vop_sig_voip_slic_stat" */
struct capi_signal_slic_stat {
  char HookStatus0[16];
  char FaultStatus0[64];
  char HookStatus1[16];
  char FaultStatus1[64];
};

/* "vop_sig_voice_reg_stat": the values of a registration status. */
struct capi_signal_voice_reg_stat {
  int32_t LineId;
  int32_t VoiceType;
  int32_t Status;
  int32_t LastRegistrationAttemptTime;
  int32_t LastRegisteredTime;
  int32_t LastRegistrationDuration;
  int32_t LastDisconnectedTime;
  int32_t LastFailedReason;
  int32_t LastFailedReplyCode;
  int32_t TimesOfRegAttempt;
  int32_t TimesOfUnsuccessfulRegAttempt;
  int32_t TimesOfRegDisconnection;
  char StatusStr[32];
  char LastFailedReasonStr[64];
  char LastFailedReplyCodeStr[32];
  int32_t registerFlag;
  int32_t authRes;
  int32_t updateEnable;
};

/* "vop_sig_voip_sms_send". The id travels as a decimal text, so that it is exact. */
struct capi_signal_sms_send {
  uint64_t MsgId;
};

/* The information record of a signal: the member that belongs to its name. */
union capi_signal_info {
  struct capi_signal_general general;
  struct capi_signal_phone_status phone_status;
  struct capi_signal_exit_event exit_event;
  struct capi_signal_csfb_state csfb_state;
  struct capi_signal_simcard_error simcard_error;
  struct capi_signal_pcscf_error pcscf_error;
  struct capi_signal_proxy_status proxy_status;
  struct capi_signal_register_status register_status;
  struct capi_signal_e911_onoff e911_onoff;
  struct capi_signal_voice_mail voice_mail;
  struct capi_signal_provisioned_status provisioned_status;
  struct capi_signal_call_state call_state;
  struct capi_signal_critical_error critical_error;
  struct capi_signal_call_log call_log;
  struct capi_signal_service_control service_control;
  struct capi_signal_timer_expired timer_expired;
  struct capi_signal_sms sms;
  struct capi_signal_cfg_changed cfg_changed;
  struct capi_signal_internet_state internet_state;
  struct capi_signal_call_failed call_failed;
  struct capi_signal_slic_stat slic_stat;
  struct capi_signal_voice_reg_stat voice_reg_stat;
  struct capi_signal_sms_send sms_send;
};

CAPI_LAYOUT_ASSERT(sizeof(union capi_signal_info) == CAPI_SIGNAL_INFO_BYTES, signal_info);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_signal_sms, BeginTime) == 12, signal_sms_times);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_signal_sms, Text) == 112, signal_sms_text);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_general) == 784, signal_general);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_register_status) == 156, signal_register_status);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_call_state) == 208, signal_call_state);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_call_log) == 200, signal_call_log);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_service_control) == 832, signal_service_control);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_cfg_changed) == 388, signal_cfg_changed);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_slic_stat) == 160, signal_slic_stat);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_signal_voice_reg_stat) == 188, signal_voice_reg_stat);

/* A JSON value of cJSON (cjson/cJSON.h). */
struct cJSON;

/*
 * Makes the JSON object of a signal from its name and information record. A name that is not in the
 * table is sent as a general signal under that name. A text without a terminator loses its last
 * character. Returns the object, which the caller may change and releases with cJSON_Delete(), or
 * null when there is no memory. Its keys are the library's own texts, as cJSON knows of them:
 * once loaded, the library stays until the process ends, whoever calls dlclose().
 */
struct cJSON *ctrlv2_siginfo_to_json(const char *name, const union capi_signal_info *info);

/*
 * Fills an information record from the JSON object of a signal: clears all of it, then reads the
 * attributes of the signal's name, of a name that is not in the table those of a general signal.
 * "name" is null or a buffer of CAPI_SIGNAL_NAME_SIZE bytes that takes the name. A longer name is
 * cut to what such a buffer holds, and its attributes are those of the name as cut: nobody's
 * message writes behind the buffer.
 *
 * An attribute that is missing or of another JSON type reads as 0 or as its default text, which is
 * "" unless said otherwise; without "attrs" the record stays cleared. A number outside the range of
 * its field becomes the nearest in it, and a text that is too long is cut.
 * Returns 0, or -1 with "name" empty and the record untouched when there is no object with a
 * "name".
 */
int ctrlv2_json_to_siginfo(const struct cJSON *json, char *name, union capi_signal_info *info);

CAPI_END_DECLS

#endif
