/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The configuration: whole records by type and index, and single values by section and key.
 *
 * All calls but the six that always fail take lock 0 while they copy, so that a record is never
 * seen half written, and must not be called from a callback of capi_init(). Lines, servers and
 * forwards are numbered 1 and 2, stacks 1 to 5. A setter tells those who watch (capi/watch.h) and
 * nobody else: post a signal (capi/event.h) and write the voice-stack file anew as needed. To read
 * without the lock, also from callbacks, there is capi/live.h.
 */
#ifndef CAPI_CONFIG_H
#define CAPI_CONFIG_H

#include "capi/api.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/*
 * Writes the text of one value into "buf" of "size" bytes, numbers in decimal. What does not fit is
 * cut to size - 1 characters without a word, numbers too: 12 bytes take any. Sections are named as
 * in setting files ("sip_line_1"), keys "option_" + section without number + "_" + field
 * ("option_sip_line_enable").
 *
 * ICCID and IMSI always fill 32 bytes of "buf" and IMPI 128, whatever "size" says.
 *
 * Returns 0; -1 for a null argument, an unknown section, a number in section or key that is out of
 * range, or a segment that is not attached; for an unknown key 0 in "basic_sip" and "sms" and 1
 * elsewhere. In all cases but the first "buf" is left as it was.
 */
int capi_config_get(const char *section, const char *name, char *buf, int size);

/*
 * Sets one value from its text, just as a line of a setting file does, in the segment and in this
 * process's staging copy. "size" is not used.
 * Returns 0, also for a section or key that is unknown and therefore ignored; -1 for a null
 * argument, a number in section or key that is out of range, or before capi_init().
 */
int capi_config_set(const char *section, const char *name, int size, const char *value);

/*
 * Writes the configuration file of a voice stack: type 0 "/tmp/vosip.conf.volte", 1 ".voip",
 * 2 ".vowifi", 3 ".cs", 4 ".qvc", 5 ".sos", others "/tmp/vosip.conf". Types 0, 2 and 5 also bring
 * "info.simcard" in the data directory up to date (lock 10 inside lock 0).
 * Returns 0, or -1 when the segment is not attached or the file cannot be created. A write that
 * fails after that is logged, and the file stays as it was.
 */
int capi_make_config_file(unsigned type);

/*
 * Copy a whole record out. Return 0, or -1 with the buffer untouched, and a log line, when the
 * index is out of range, the buffer null or the segment not attached.
 */
int capi_get_system_access(struct capi_system_access *record);
int capi_get_voice_stack(struct capi_voice_stack *record, int index);
int capi_get_voice_switch(struct capi_voice_switch *record);
int capi_get_voice_basic(struct capi_voice_basic *record);
int capi_get_voice_sip_line(struct capi_voice_sip_line *record, int index);
int capi_get_voice_sip_line_feature(struct capi_voice_sip_line_feature *record, int index);
int capi_get_voice_parameter(struct capi_voice_parameter *record);
int capi_get_slic_parameter(struct capi_slic_parameter *record);
int capi_get_voice_speed_dial(struct capi_voice_speed_dial *record);
int capi_get_voice_speed_dial30(struct capi_voice_speed_dial30 *record);
int capi_get_voice_call_white_list(struct capi_voice_call_white_list *record);
int capi_get_voice_call_redirection(struct capi_voice_call_redirection *record);
int capi_get_voice_sms_cfg(struct capi_voice_sms_cfg *record);

/*
 * Always fail: log a line, leave the buffer alone and return -1. Their values are read by name.
 * Take no lock.
 */
int capi_get_voice_sip_registration(struct capi_voice_sip_registration *record);
int capi_get_voice_sip_server(struct capi_voice_sip_server *record);
int capi_get_voice_nat(struct capi_voice_nat *record);
int capi_get_voice_call_block(struct capi_voice_call_block *record);
int capi_get_voice_profile(void *record);
int capi_get_voice_call_forward(struct capi_voice_call_forward *record, int index);

/*
 * Copy a whole record in, as it is. Return 0, or -1 as the getters do; the setters of the stack and
 * of the basic record do not log it.
 */
int capi_set_voice_stack(const struct capi_voice_stack *record, int index);
int capi_set_voice_basic(const struct capi_voice_basic *record);
int capi_set_voice_sip_line(const struct capi_voice_sip_line *record, int index);
int capi_set_voice_sip_line_feature(const struct capi_voice_sip_line_feature *record, int index);
int capi_set_voice_call_forward(const struct capi_voice_call_forward *record, int index);
int capi_set_voice_speed_dial(const struct capi_voice_speed_dial *record);
int capi_set_voice_speed_dial30(const struct capi_voice_speed_dial30 *record);
int capi_set_voice_parameter(const struct capi_voice_parameter *record);
int capi_set_slic_parameter(const struct capi_slic_parameter *record);

CAPI_END_DECLS

#endif
