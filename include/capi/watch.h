/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Being told of changes: a descriptor for poll(), select() or epoll that becomes readable when
 * something has changed. No daemon, no thread and no polling; while nobody watches, a change costs
 * its maker next to nothing.
 *
 * A watcher learns that there was a change, not how many there were, and reads what it wants to
 * know anew (capi/live.h). It is told before the change and then waits for it in its read, so that
 * a process that dies in between has told too early and never too late. Whoever may attach to the
 * segment can watch; setting something is not needed.
 */
#ifndef CAPI_WATCH_H
#define CAPI_WATCH_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/* What a watcher may want to know of; several are added up. */
enum capi_topic {
  CAPI_TOPIC_CONFIG = 1,   /* the settings of the voice services */
  CAPI_TOPIC_DEVICE = 2,   /* device, network, SIM, vendor blocks, directories */
  CAPI_TOPIC_LINES = 4,    /* registrations, telephones, published blocks */
  CAPI_TOPIC_CALLS = 8,    /* the call log */
  CAPI_TOPIC_MESSAGES = 16 /* the short messages */
};

#define CAPI_TOPIC_COUNT 5
#define CAPI_TOPIC_ALL 31

/* A watch of the caller's own, which only the three calls below change. */
struct capi_watch {
  int32_t fd;                            /* to be waited for until it is readable */
  uint32_t topics;                       /* that were asked for */
  uint64_t generation[CAPI_TOPIC_COUNT]; /* of each topic, in the order of enum capi_topic */
  int32_t file[CAPI_TOPIC_COUNT];        /* the library's own */
  int32_t spare;
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_watch, file) == 48, watch_file);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_watch) == 72, capi_watch);

/*
 * Begins to watch "topics". What changes from now on makes "watch->fd" readable, which is closed
 * on exec and may be waited for in any way, but must not be read from. Read the values that you
 * start with after this call.
 * Returns 0; or -1 with errno set, and "watch->fd" -1: EINVAL for null, no topics or unknown ones,
 * ENOTCONN before capi_init() or without a segment, EMFILE when this user or process has too many
 * watches or descriptors, EACCES for a file in "/tmp" that this user may not read. Takes no lock.
 */
int capi_watch_open(struct capi_watch *watch, unsigned topics);

/*
 * To be called when "fd" is readable, or at any time: which of the topics have changed since the
 * last call, or since the watch was opened, as a sum of enum capi_topic; their new generations
 * stand in "watch" then. Generations only grow. Makes "fd" unreadable until the next change. After
 * the segment was replaced by another one, which this call notices, all topics have changed.
 * Returns 0 when nothing that was asked for has changed, which may happen after a wake-up too, or
 * -1 with errno set, as capi_watch_open(). Takes lock 0 only when the segment was replaced. One
 * thread at a time may use a watch; a child of fork() opens one of its own.
 */
int capi_watch_changed(struct capi_watch *watch);

/*
 * Ends a watch and closes its descriptor. Nothing happens for null or one that is not open. Takes
 * no lock.
 */
void capi_watch_close(struct capi_watch *watch);

CAPI_END_DECLS

#endif
