/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The call log: the last 100 calls of each of three types, in one file of fixed size that all
 * processes share. It is "voip_call_log" in the nv directory, or in "/tmp" until a directory is
 * known; once found outside "/tmp" it stays there for the life of the process.
 *
 * Every call on the file takes lock 0 briefly, until its directory is one to stay in, then lock 2
 * for the file, and gives -1 when the file cannot be read or fails its check. A call on an image of
 * the caller's takes none, and of the two halves of a call only the one that completes it. Every
 * call that changes the log posts the signal "vop_sig_voip_call_log_event_updated" (capi/event.h)
 * after its lock is free, also when it failed. Not to be called from a callback of capi_init().
 */
#ifndef CAPI_CALL_LOG_H
#define CAPI_CALL_LOG_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

enum {
  CAPI_CALL_LOG_TYPES = 3,              /* the types are 0 to 2; what they mean is the callers' */
  CAPI_CALL_LOG_ENTRIES_PER_TYPE = 100, /* one more evicts the oldest of the type */
  CAPI_CALL_LOG_NODES = 300,            /* room for all types full: nodes are 0 to 299 */
  CAPI_CALL_LOG_NO_NODE = 0xFFFF,       /* ends a list */
  CAPI_CALL_LOG_TEXT_BYTES = 64,
  CAPI_CALL_LOG_VERSION = 51728
};

/* Media statistics of a call. */
struct capi_call_log_statistics {
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

/*
 * A node of the file, and a call as callers hand it in and get it back. The links, "index" and
 * "sequence" are the store's: what a caller puts there is not looked at. The unit of the times is
 * the callers': seconds since 1970 in all programs of this project. The texts hold at most 63
 * characters; longer ones are cut.
 */
struct capi_call_log_record {
  uint32_t calltype; /* 0 to 2, or 0xFFFFFFFF in a free node */
  uint16_t prev;     /* in the list of the type, or of the free nodes */
  uint16_t next;
  uint16_t index; /* the node's own */
  uint16_t endpt; /* phone line of the call: 1 or 2, and 0 where nobody said */
  uint32_t calltimestart;
  uint32_t calltimeconnect;
  uint32_t calltimeend;
  char displayname[CAPI_CALL_LOG_TEXT_BYTES];
  char number[CAPI_CALL_LOG_TEXT_BYTES];
  uint16_t sequence; /* counts the calls in order of adding: 0 to 65534, then 0 again */
  uint16_t all_prev; /* in the list of all entries */
  uint16_t all_next;
  uint16_t reserved;
  struct capi_call_log_statistics statistics;
};

/* The ends of a list of nodes, oldest first. */
struct capi_call_log_list {
  uint16_t count;
  uint16_t head;
  uint16_t tail;
};

/* The entries of one type. */
struct capi_call_log_entry_header {
  struct capi_call_log_list list;
  uint16_t reserved;
};

/* What the file begins with. */
struct capi_call_log_header {
  struct capi_call_log_list used; /* the entries of all types */
  struct capi_call_log_list free;
  uint16_t max_entry_num_per_type; /* these two and log_ver are the marks of a call log */
  uint16_t max_num_of_record_type;
  uint16_t next_sequence; /* of the next record that is added */
  uint16_t log_ver;
  struct capi_call_log_entry_header entry[CAPI_CALL_LOG_TYPES];
};

/* The whole file. All integers are little-endian. */
struct capi_call_log_image {
  struct capi_call_log_header header;
  struct capi_call_log_record node[CAPI_CALL_LOG_NODES];
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_record, endpt) == 10, call_log_endpt);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_record, displayname) == 24, call_log_displayname);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_record, number) == 88, call_log_number);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_record, sequence) == 152, call_log_sequence);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_record, statistics) == 160, call_log_statistics);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_call_log_record) == 208, call_log_record);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_call_log_entry_header) == 8, call_log_entry_header);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_header, free) == 6, call_log_free);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_header, log_ver) == 18, call_log_log_ver);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_header, entry) == 20, call_log_entry);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_call_log_image, node) == 44, call_log_node);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_call_log_image) == 62444, call_log_image);

/*
 * Creates the file, or checks the one there is and replaces it by an empty one when it is damaged:
 * its old content is lost. A file that cannot be looked at (no permission, no descriptor, a read
 * error) stays as it is. capi_post_init() of the master calls it. Returns 0, or -1 when the file
 * cannot be created or looked at. Posts nothing.
 */
int capi_voip_init_call_log_file(void);

/*
 * Does what capi_voip_init_call_log_file() does, with a missing file taken for a damaged one.
 * Returns 0, or -1 when the file cannot be created or looked at.
 */
int capi_voip_verify_call_log_file(void);

/* Removes the file: all calls fail until the next init. Returns 0. */
int capi_voip_delete_call_log_file(void);

/* Replaces the file by an empty one, also on a full disk. Returns 0, or -1 when that fails. */
int capi_voip_clean_all_call_log(void);

/*
 * Removes all entries of a type. Returns 0, or -1 for another type and when there are none. A clean
 * while all 300 nodes are in use leaves a file that fails its next check.
 */
int capi_voip_clean_call_log_by_type(unsigned type);

/*
 * Reads the whole file, which can then be browsed without the lock. Returns 0, or -1 with "image"
 * undefined. Posts nothing.
 */
int capi_voip_read_call_log(struct capi_call_log_image *image);

/*
 * Adds a call; a full type loses its oldest entry. Returns 0, or -1 for another type or when the
 * file cannot be written: then what is stored stays as it was.
 */
int capi_voip_add_call_log(unsigned type, const struct capi_call_log_record *record);

/*
 * Add a call in two halves, in either order: the first brings all but the statistics, the second
 * the statistics. The half that comes first is kept in this process, where a further one of its
 * kind replaces it; the other half then adds the call as capi_voip_add_call_log() does and posts
 * the signal. Both must come from one thread of control: no lock guards what is kept.
 * Return 0 when the half is kept or the call added, -1 when adding it failed, which loses both.
 */
int capi_voip_add_call_log1(unsigned type, const struct capi_call_log_record *record);
int capi_voip_add_call_log2(const struct capi_call_log_record *record);

/*
 * Removes the entry in a node (0 to 299), which must be one of this type: that is not checked.
 * Returns 0, or -1 for another type or node, or a file that cannot be opened. When writing it fails
 * otherwise that is logged, the entry stays, and the result is 0. A full disk is no obstacle.
 */
int capi_voip_delete_call_log_by_node(unsigned type, unsigned node);

/*
 * Copy the list ends of a type, or a node, out of "image", or out of the file when "image" is null.
 * With an image they take no lock. A node is zeroed first. Return 0, or -1. Post nothing.
 */
int capi_voip_read_call_log_entry_header(const struct capi_call_log_image *image, unsigned type,
                                         struct capi_call_log_entry_header *header);
int capi_voip_read_call_log_node(const struct capi_call_log_image *image, unsigned node,
                                 struct capi_call_log_record *record);

/*
 * Receives an entry, as a copy that is valid during the call only, and the value that was given
 * with the callback. No lock is held: it may call the library. The result is ignored.
 */
typedef int (*capi_call_log_cb)(const struct capi_call_log_record *record, void *user);

/*
 * Read the file and hand the entries of a list to a callback, which may be null. The first goes
 * from the newest to the oldest: selector 0 is all entries, 1 those of type 1, 2 those of type 0
 * and 3 those of type 2. The second hands out all entries from the oldest to the newest.
 * Return 0, also when there are none, or -1, the first for another selector as well. At a link to
 * no node the first ends with 0, the second with -1. Post nothing.
 */
int capi_voip_call_log_dump(unsigned selector, capi_call_log_cb callback, void *user);
int capi_voip_call_log_dump_all(capi_call_log_cb callback, void *user);

/*
 * Copies the file by the shell's cp; "destination" goes to the shell as it is. Returns 0 when there
 * is a file, whatever became of the copy, else -1; -1 and a log line for a path, here or there,
 * that a shell would interpret (rule 11). Where sh is not bash, the copy may not be complete yet.
 * Posts nothing.
 */
int capi_voip_call_log_backup(const char *destination);

CAPI_END_DECLS

#endif
