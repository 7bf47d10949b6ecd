/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Critical sections between the processes of the device: one set of System V semaphores, made by
 * the master and found by everybody else through the file "/tmp/m_data". And locks on files of the
 * caller's choice, which need neither.
 */
#ifndef CAPI_LOCK_H
#define CAPI_LOCK_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/*
 * The lock ids that have a meaning. There are 19, from 0; the others are unused. The library takes
 * id 10 inside id 0 and otherwise never two at once; whoever must hold two takes the lower first.
 */
enum capi_lock_id {
  CAPI_LOCK_CONF_SHM = 0,        /* the shared record */
  CAPI_LOCK_CALL_LOG = 2,        /* the call-log file */
  CAPI_LOCK_VOP_RUN_INFO = 10,   /* vendor storage, SIM information and voice-stack files */
  CAPI_LOCK_VOICE_REG_STAT = 12, /* reserved; the library does not take it */
  CAPI_LOCK_VOICE_SMS = 18,      /* the short-message files */
  CAPI_LOCK_COUNT = 19
};

/*
 * Creates the set and frees every lock; capi_init() of the master calls it. Returns 0 or errno:
 * EEXIST when there is a set, which is then left as it is, locks held included.
 */
int capi_critical_section_lock_create(void);

/*
 * Waits, without limit, until this process holds the lock. The lock goes back to the kernel when
 * the process dies; a thread that ends keeps it. Not recursive: whoever takes a lock twice waits
 * for ever. Returns 0 when held, else errno.
 *
 * A thread is never cancelled (pthread_cancel) while the library itself holds a lock, nor within
 * this call or the next one. Between the two that is the caller's matter: pthread_setcancelstate()
 * before locking, or a cleanup handler that unlocks.
 */
int capi_critical_section_lock(unsigned id);

/* Frees the lock. Returns 0, -1 when it is not held by anybody, or errno. */
int capi_critical_section_unlock(unsigned id);

/*
 * Writes the state of all locks to the text file "/tmp/capi_lock_stats", for people and scripts.
 * Returns 0, or errno when there is no set.
 */
int capi_critical_section_lock_stats(void);

/* Kept for old callers: do nothing and return 0. Every call of the library locks by itself. */
int capi_lock(void);
int capi_unlock(void);

/*
 * Waits, without limit, for an exclusive lock (flock) on a file, which is created when there is
 * none and stays. A process holds up to 32 such locks; "path" has less than 256 characters. Not
 * recursive: whoever locks a path twice waits for ever. The lock goes when the process ends;
 * programs that it runs do not inherit it, and a forked child cannot unlock it. One thread of a
 * process at a time.
 */
int capi_lock_file(const char *path);

/* Frees the lock on a path, given as for locking. Returns -1 when the process does not hold it. */
int capi_unlock_file(const char *path);

CAPI_END_DECLS

#endif
