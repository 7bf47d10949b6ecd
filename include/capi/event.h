/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* Internal events: signals that tell the other processes of the device about a change. */
#ifndef CAPI_EVENT_H
#define CAPI_EVENT_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/*
 * Post a signal by running the device's vsdk_cmd: the one in the bin directory when it is readable,
 * else "/usr/sbin/vsdk_cmd". The first form carries the name alone; the second three texts, of
 * which null ones are sent empty. Name and texts go to the shell as they are and must be short and
 * without quotes: numbers, ids and names. What does not fit into a command of 1023 characters is
 * cut.
 * A tool is run only when it, the directories on the way to it and links to it belong to root or
 * to the caller, and when not everybody may write it; the path of the one in the bin directory
 * also must not hold what a shell would interpret, nor a blank, or the system's is run instead.
 * Return 0, also for a tool that fails or is missing; a null name posts nothing. Return -1, with a
 * log line, when there is no tool that may be run, for a name in the first form that a shell would
 * interpret (rule 11), and for a single quote in any text of the second. The tool runs as a
 * child process while the call waits. Take lock 0 briefly for the directory: not to be called from
 * a callback of capi_init().
 */
int capi_fire_internal_event(const char *name);
int capi_fire_internal_event2(const char *name, const char *param1, const char *param2,
                              const char *param3);

/* Returns the constant name of a call state (1 to 15), or "Unknown". Takes no lock. */
const char *capi_convert_call_state_to_string(int state);

CAPI_END_DECLS

#endif
