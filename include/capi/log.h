/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* The log of the library and of its clients. */
#ifndef CAPI_LOG_H
#define CAPI_LOG_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/*
 * Receives one log message: its syslog level (0 to 7) and its text, a line without the newline at
 * its end. The text is valid during the call only. May be called from any thread that uses the
 * library, and with critical sections held: it must not call back into the library.
 */
typedef void (*capi_log_sink)(int level, const char *text);

/*
 * Sets where the messages of this process go; null restores the default, which is syslog and
 * standard error. capi_init() calls it with its third argument. Takes no lock.
 */
void capiv2_log_init(capi_log_sink sink);

/*
 * Logs one message at a syslog level. "func" is the name of the calling function, or null, and
 * "line" its source line; both go in front of the text: "%s():Line[%d] ", and on the default output
 * "[%s] %s():Line[%d] " with the level's name. The prefix and "fmt" together are cut at 1023
 * characters and the message at 2047. Nothing is filtered by level. Keeps errno; takes no lock and
 * may be called from any thread and from every callback but the sink.
 */
void capiv2_log_print(int level, const char *func, int line, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));

CAPI_END_DECLS

#endif
