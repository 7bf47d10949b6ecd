/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The live status of the two telephone lines: one process publishes it, the others read. Here lines
 * are 0 and 1 and stacks 0 to 4.
 *
 * All take lock 0 while they copy, so that a status is never seen half written, and must not be
 * called from a callback of capi_init(). All return 0, or -1 with a log line for a line or stack
 * out of range, a null pointer or a segment that is not attached.
 */
#ifndef CAPI_RUNTIME_H
#define CAPI_RUNTIME_H

#include "capi/api.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/*
 * Publishes the SIP registration of a line on a stack. Stamps the magic into "record" too, and
 * calls this process's registration callback of capi_init() before it frees the lock.
 */
int capi_set_runtime_line_reg_stat(int line, struct capi_line_reg_stat *record, int stack);

/*
 * Reads the SIP registration of a line on a stack, with duration and texts filled in. What was
 * never published reads as unregistered for a network failure.
 */
int capi_get_runtime_line_reg_stat(int line, struct capi_line_reg_stat *record, int stack);

/*
 * Publish and read the circuit-switched registration of a line. The setter calls this process's
 * circuit-switched callback of capi_init() before it frees the lock.
 */
int capi_set_runtime_line_cs_reg_stat(int line, const struct capi_line_cs_reg_stat *record);
int capi_get_runtime_line_cs_reg_stat(int line, struct capi_line_cs_reg_stat *record);

/*
 * Publish and read what the telephone on a line does, a text of up to 127 characters; a longer one
 * is cut. An empty one reads as "Unknown".
 */
int capi_set_runtime_line_phone_phy_status(int line, const char *text);
int capi_get_runtime_line_phone_phy_status(int line, char *buf, int len);

/* What capi_set_shared_data() takes, a block for each line. */
enum capi_shared_data_type {
  CAPI_SHARED_REG_SUMMARY_1 = 0, /* struct capi_shared_reg_summary */
  CAPI_SHARED_REG_SUMMARY_2 = 1,
  CAPI_SHARED_CALL_STATE_1 = 2, /* struct capi_shared_call_state */
  CAPI_SHARED_CALL_STATE_2 = 3,
  CAPI_SHARED_PHONE_STATUS_1 = 4, /* struct capi_shared_phone_status */
  CAPI_SHARED_PHONE_STATUS_2 = 5
};

/*
 * Publishes a block, and for processes that do not link the library writes all blocks to the text
 * files "shared_line_reg_status", "shared_call_state_info" and "shared_phone_status" in the data
 * directory, a line of the file for each telephone line. The files are written anew for a type that
 * is unknown (-1) too. A file that cannot be written keeps its content; that is logged, and does
 * not matter to the result. Readers find the old file or the new one, never a part.
 */
int capi_set_shared_data(int type, const void *block);

CAPI_END_DECLS

#endif
