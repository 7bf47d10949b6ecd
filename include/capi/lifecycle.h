/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The start and the end of the library in a process, and the runtime directories. Nothing here may
 * be called from a callback of capi_init() or with a critical section held.
 */
#ifndef CAPI_LIFECYCLE_H
#define CAPI_LIFECYCLE_H

#include "capi/api.h"
#include "capi/log.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/*
 * Called once in the master's capi_init(), with lock 0 held, after the info files are read.
 * "record" is all zero; a result above 0 says that the device IMEI, WAN MAC and firmware version
 * that were filled in, each unless empty, and the voice switch mode replace those of the files.
 */
typedef int (*capi_init_override_cb)(struct cfg_shared_record *record);

/*
 * Called in the process that stored the circuit-switched registration of a line (0 or 1), with lock
 * 0 held: it must not call anything that takes lock 0. "stored" is the entry in the segment,
 * "segment" the whole record and "position" the entry's offset in it in bytes. The result is
 * ignored.
 */
typedef int (*capi_cs_reg_stat_cb)(int line, struct capi_line_cs_reg_stat *stored,
                                   struct cfg_shared_record *segment, int position);

/*
 * Called as capi_cs_reg_stat_cb is, for the SIP registration of a line (0 or 1) on a voice stack (0
 * to 4).
 */
typedef int (*capi_reg_stat_cb)(int line, int stack, struct capi_line_reg_stat *stored);

/* An array of three function pointers, each of which may be null. */
struct capi_callbacks {
  capi_init_override_cb init_override_cb;
  capi_cs_reg_stat_cb cs_reg_stat_cb;
  capi_reg_stat_cb reg_stat_cb;
};

/*
 * Attaches this process to the shared segment, making it where there is none. The one process with
 * "is_master" not 0 also creates the locks, clears the segment, fills in the defaults and reads
 * "/tmp/info.simcard", "/tmp/info.sys", "/tmp/info.wan", "/tmp/m_data" and
 * "/tmp/voice.cfg.default"; files that are missing are skipped. With null "callbacks" a master
 * attaches only. "log_sink" is as in capiv2_log_init().
 * Returns 0 always: what failed is logged, and the calls that need the segment then return -1.
 * A second call in a process changes nothing but the log sink. Takes lock 0.
 * If the segment is removed later and made anew, or the tool that names it is replaced, every
 * process goes on with the new segment within a second of its next call, and logs that; until there
 * is one, it uses the one that it has.
 */
int capi_init(const struct capi_callbacks *callbacks, int is_master, capi_log_sink log_sink);

/*
 * Creates the work, data, log, nv and ivr directories that are named. With "flag" not 0, as the
 * master passes it, also makes the call-log and short-message stores ready.
 * Returns 0 always: what failed is logged. Takes lock 0, then locks 2 and 18 after it.
 */
int capi_post_init(int flag);

/* Detaches this process; the segment and its content stay. Returns 0. Takes lock 0. */
int capi_uninit(void);

/*
 * Reads a setting file into this process's staging copy; capi_config_finish() publishes it. Lines
 * that are not understood are ignored. Returns 0, or -1 before capi_init() or when the file cannot
 * be opened for reading and writing. Takes lock 0 for the whole file.
 */
int capi_init_settings_from_file(const char *path);

/*
 * Publishes the staging copy into the segment, all but the live state, then fills in the LTE
 * network information ("lte_net_info.data" in the data directory or in "/tmp", else the settings)
 * and the SIP ports that are 0. Meant for the master: the staging copy of another process is empty.
 * Returns 0, or -1 before capi_init(). Takes lock 0.
 */
int capi_config_finish(void);

/*
 * Copies a runtime directory (0 work, 1 data, 2 log, 3 bin, 4 nv, 5 ivr) into "buf" of "len" bytes.
 * "buf" must hold 256 bytes whatever "len" says; it is zeroed over "len" first. An nv directory
 * that is not set is the data directory. Returns 0, or -1 for another index, a null buffer or
 * before capi_init(). Takes lock 0.
 */
int capi_get_runtime_dir(int index, char *buf, int len);

/*
 * Writes "directory/name" into "buf", cut to len - 1 characters. Returns "buf": empty for an index
 * above 5, a null name or before capi_init(). Takes lock 0.
 */
char *capi_get_runtime_path(int index, const char *name, char *buf, int len);

/* How far the adapter is; each needs the ones before it. */
enum capi_presence_state {
  CAPI_PRESENCE_NO_LOCKS = 0,   /* no master has started: "/tmp/m_data" or the locks are missing */
  CAPI_PRESENCE_NO_SEGMENT = 1, /* capi_init() found no segment that it could attach */
  CAPI_PRESENCE_NOT_PUBLISHED = 2, /* there is one, but no master has published its settings */
  CAPI_PRESENCE_PUBLISHED = 3
};

struct capi_presence {
  int32_t state;                 /* an enum capi_presence_state */
  uint32_t replaced;             /* how often another segment took the place of the attached one */
  uint64_t generation;           /* of the record now; 0 without a segment */
  uint64_t published_generation; /* that publishing ended with; 0 when nothing is published */
  int64_t published_at;          /* the time of it in seconds since 1970; 0 for the same */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_presence, published_at) == 24, presence_published_at);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_presence) == 32, capi_presence);

/*
 * Tells whether anybody is there. What the last capi_config_finish() since the master's start left
 * behind counts as published. Looks whether the segment was replaced, and uses the new one then.
 * Returns 0, or -1 with the buffer untouched before capi_init() or for null. Takes lock 0 only when
 * the segment was replaced; logs nothing otherwise.
 */
int capi_get_presence(struct capi_presence *presence);

CAPI_END_DECLS

#endif
