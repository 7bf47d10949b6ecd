/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Many values at once: a copy of the whole record, taken under one lock, and values by name from
 * it. All values of a snapshot belong together: no other process's change falls between them.
 */
#ifndef CAPI_SNAPSHOT_H
#define CAPI_SNAPSHOT_H

#include "capi/api.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/*
 * Copies the record out of the segment into the caller's "snapshot" (25028 bytes), live state
 * included. Returns 0, or -1 with the buffer untouched when it is null or the segment not attached.
 * Takes lock 0 once: not to be called from a callback of capi_init().
 */
int capi_snapshot_take(struct cfg_shared_record *snapshot);

/*
 * capi_config_get() on a snapshot: the same arguments, texts and results. Nothing is logged; takes
 * no lock, makes no system call, allocates nothing, and may be called from any thread and any
 * callback, also on the record that a callback is given.
 */
int capi_snapshot_get(const struct cfg_shared_record *snapshot, const char *section,
                      const char *name, char *buf, int size);

/*
 * Writes to a file of the caller's choice what capi_make_config_file() writes for this type of
 * voice stack, with the values of a snapshot: to show or to compare it, without the adapter's own
 * file being touched. Returns 0, or -1 for a null argument or when the file cannot be created;
 * a write that fails after that is logged, and the file stays as it was. Takes no lock, needs no
 * capi_init(), and may be called from any thread and any callback.
 */
int capi_snapshot_write_config_file(const struct cfg_shared_record *snapshot, unsigned type,
                                    const char *path);

/*
 * Receives a value that differs between two snapshots: its section and key, as capi_config_get()
 * takes them, and both texts, all valid during the call only. A result other than 0 ends the walk.
 */
typedef int (*capi_snapshot_change_cb)(const char *section, const char *name, const char *before,
                                       const char *after, void *user);

/*
 * Hands every value of the key table that differs between "before" and "after" to a callback, in
 * the order of the table, with the "user" that was given for it; a value that several sections have
 * in common once, with the first. Returns 0, the callback's result that ended the walk, or -1 for a
 * null snapshot or callback. Takes no lock, needs no capi_init(), and may be called from any thread
 * and any callback.
 */
int capi_snapshot_diff(const struct cfg_shared_record *before,
                       const struct cfg_shared_record *after, capi_snapshot_change_cb callback,
                       void *user);

CAPI_END_DECLS

#endif
