/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Reading the shared record as it is now, without its lock: many times faster than the getters that
 * take lock 0, and with any number of readers at once.
 *
 * What is read is whole and belongs together. While a writer is inside, a read tries again for a
 * moment and then waits for lock 0, so that a writer that stays inside or died there holds nobody
 * up for longer than it does the other getters; only then does a read make system calls. In a
 * thread that has lock 0 itself, and on a device without locks, it takes what stands there.
 *
 * Nothing here logs or allocates. All may be called from any thread, from a log sink and from the
 * callbacks of capi_init(). None looks whether another segment has taken the place of the attached
 * one: calls that take lock 0 do, and capi_watch_changed() and capi_get_presence().
 */
#ifndef CAPI_LIVE_H
#define CAPI_LIVE_H

#include "capi/api.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/* capi_config_get() without lock and log line: the same arguments, texts and results. */
int capi_live_get(const char *section, const char *name, char *buf, int size);

/* The kinds of records, with what "number" counts: 0 where there is one only. */
enum capi_record_kind {
  CAPI_RECORD_SIM_INFO = 0,
  CAPI_RECORD_HW_INFO = 1,
  CAPI_RECORD_SERVING_CELL = 2,
  CAPI_RECORD_VOICE_SWITCH = 3,
  CAPI_RECORD_VOICE_STACK = 4, /* stacks 1 to 5 */
  CAPI_RECORD_VOICE_BASIC = 5,
  CAPI_RECORD_SYSTEM_ACCESS = 6,
  CAPI_RECORD_SIP_LINE = 7,         /* lines 1 and 2 */
  CAPI_RECORD_SIP_LINE_FEATURE = 8, /* lines 1 and 2 */
  CAPI_RECORD_VOICE_PARAMETER = 9,
  CAPI_RECORD_SPEED_DIAL = 10,
  CAPI_RECORD_SPEED_DIAL30 = 11,
  CAPI_RECORD_CALL_FORWARD = 12, /* forwards 1 and 2 */
  CAPI_RECORD_SIP_REGISTRATION = 13,
  CAPI_RECORD_SMS_CFG = 14,
  CAPI_RECORD_SLIC_PARAMETER = 15,
  CAPI_RECORD_SIP_SERVER = 16,
  CAPI_RECORD_VOICE_NAT = 17,
  CAPI_RECORD_CALL_BLOCK = 18,
  CAPI_RECORD_CALL_WHITE_LIST = 19,
  CAPI_RECORD_CALL_REDIRECTION = 20,
  CAPI_RECORD_CS_REG_STAT = 21,         /* lines 1 and 2, here too */
  CAPI_RECORD_PHONE_PHY_STATUS = 22,    /* lines 1 and 2; a text of 128 bytes, empty if unknown */
  CAPI_RECORD_SHARED_REG_SUMMARY = 23,  /* lines 1 and 2 */
  CAPI_RECORD_SHARED_CALL_STATE = 24,   /* lines 1 and 2 */
  CAPI_RECORD_SHARED_PHONE_STATUS = 25, /* lines 1 and 2 */
  CAPI_RECORD_IMS_VOICE = 26,           /* 484 bytes */
  CAPI_RECORD_LTE_NET_INFO = 27,
  CAPI_RECORD_VENDOR = 28 /* 160 bytes */
};

/*
 * Copies a whole record out; "size" is that of "record" in bytes. What was never set is zero.
 * Returns 0, or -1 with the buffer untouched for an unknown kind, a number out of range, a null
 * buffer, a size that is not the record's, or a segment that is not attached.
 */
int capi_live_read(int kind, int number, void *record, size_t size);

/*
 * capi_get_runtime_line_reg_stat() without lock and log line: line 0 or 1, stack 0 to 4; duration
 * and texts are filled in, and what was never published reads as unregistered for a network
 * failure. Returns 0, or -1 as that does.
 */
int capi_live_get_line_reg_stat(int line, struct capi_line_reg_stat *record, int stack);

/*
 * Brings a snapshot (capi/snapshot.h) up to date. "*generation" is 0 at first and then tells which
 * state "snapshot" holds; generations only grow.
 * Returns 1 when the snapshot was copied anew, 0 when nothing had changed and nothing was copied,
 * or -1 with both untouched for a null argument or a segment that is not attached.
 */
int capi_live_refresh(struct cfg_shared_record *snapshot, uint64_t *generation);

/*
 * The records of the configuration as their getters in capi/config.h hand them out, with the same
 * results but without lock and log line.
 */
#define CAPI_LIVE_GETTER(name, KIND)                                       \
  static inline int capi_live_get_##name(struct capi_##name *record) {     \
    return capi_live_read(CAPI_RECORD_##KIND, 0, record, sizeof(*record)); \
  }
#define CAPI_LIVE_NUMBERED_GETTER(name, kind_struct, KIND)                           \
  static inline int capi_live_get_##name(struct capi_##kind_struct *record, int i) { \
    return capi_live_read(CAPI_RECORD_##KIND, i, record, sizeof(*record));           \
  }

CAPI_LIVE_NUMBERED_GETTER(voice_stack, voice_stack, VOICE_STACK)
CAPI_LIVE_NUMBERED_GETTER(voice_sip_line, voice_sip_line, SIP_LINE)
CAPI_LIVE_NUMBERED_GETTER(voice_sip_line_feature, voice_sip_line_feature, SIP_LINE_FEATURE)
CAPI_LIVE_NUMBERED_GETTER(voice_call_forward, voice_call_forward, CALL_FORWARD)
CAPI_LIVE_GETTER(system_access, SYSTEM_ACCESS)
CAPI_LIVE_GETTER(voice_switch, VOICE_SWITCH)
CAPI_LIVE_GETTER(voice_basic, VOICE_BASIC)
CAPI_LIVE_GETTER(voice_parameter, VOICE_PARAMETER)
CAPI_LIVE_GETTER(slic_parameter, SLIC_PARAMETER)
CAPI_LIVE_GETTER(voice_speed_dial, SPEED_DIAL)
CAPI_LIVE_GETTER(voice_speed_dial30, SPEED_DIAL30)
CAPI_LIVE_GETTER(voice_call_white_list, CALL_WHITE_LIST)
CAPI_LIVE_GETTER(voice_call_redirection, CALL_REDIRECTION)
CAPI_LIVE_GETTER(voice_sms_cfg, SMS_CFG)
CAPI_LIVE_GETTER(voice_sip_registration, SIP_REGISTRATION)
CAPI_LIVE_GETTER(voice_sip_server, SIP_SERVER)
CAPI_LIVE_GETTER(voice_nat, VOICE_NAT)
CAPI_LIVE_GETTER(voice_call_block, CALL_BLOCK)
CAPI_LIVE_GETTER(sim_info, SIM_INFO)
CAPI_LIVE_GETTER(hw_info, HW_INFO)
CAPI_LIVE_GETTER(serving_cell, SERVING_CELL)
CAPI_LIVE_GETTER(lte_net_info, LTE_NET_INFO)
/* capi_get_runtime_line_cs_reg_stat() without lock and log line, of line 0 or 1. */
static inline int capi_live_get_line_cs_reg_stat(int line, struct capi_line_cs_reg_stat *record) {
  return capi_live_read(CAPI_RECORD_CS_REG_STAT, line + 1, record, sizeof(*record));
}

#undef CAPI_LIVE_GETTER
#undef CAPI_LIVE_NUMBERED_GETTER

CAPI_END_DECLS

#endif
