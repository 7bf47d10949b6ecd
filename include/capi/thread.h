/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The portable layer: mutexes, condition variables, threads, pipes, sleeps and waitors.
 *
 * Its first names are those of the C library's <threads.h>, with other types and results. A source
 * file includes one of the two headers, and capi.h does not include this one. A program that links
 * the library gets these functions, unless it is linked with the C library before
 * (docs/porting.md); other shared libraries that were built with <threads.h> keep the C library's,
 * and the library itself always calls its own.
 *
 * Functions give an enum thrd_result unless a comment says otherwise; a null pointer gives
 * thrd_error. None of them logs or takes a lock of the library; all may be called before
 * capi_init(), from any thread and from any callback. The caller owns mutexes, condition variables,
 * pipes and waitors: it initializes them before use and destroys them after it.
 */
#ifndef CAPI_THREAD_H
#define CAPI_THREAD_H

#ifdef _THREADS_H
#error "capi/thread.h cannot be included together with <threads.h>"
#endif

#include <pthread.h>

#include "capi/api.h"

CAPI_BEGIN_DECLS

struct timespec;
struct timeval;

/* An error is 0 and success 1, so that a result can be tested as a truth value. */
enum thrd_result {
  thrd_error = 0,
  thrd_success = 1, /* an error here: <threads.h> cannot be included together with capi/thread.h */
  thrd_timedout = 2,
  thrd_busy = 3,
  thrd_nomem = 4
};

/* Mutexes. mtx_recursive is a bit, and all others are ignored. */
enum mtx_type { mtx_plain = 0, mtx_timed = 1, mtx_recursive = 2 };

typedef pthread_mutex_t mtx_t;

/* Initializes a mutex; "type" is of enum mtx_type. */
int mtx_init(mtx_t *mutex, int type);

/* Wait, without limit, for a mutex, and free it. */
int mtx_lock(mtx_t *mutex);
int mtx_unlock(mtx_t *mutex);

/* Waits until "deadline" (CLOCK_REALTIME) at the latest, then gives thrd_timedout. */
int mtx_timedlock(mtx_t *mutex, const struct timespec *deadline);

/* Gives thrd_success or, whatever the reason, thrd_busy. */
int mtx_trylock(mtx_t *mutex);

/* Returns 0 or the error number of pthread_mutex_destroy(). */
int mtx_destroy(mtx_t *mutex);

/* Condition variables. The caller of a wait holds the mutex; a wait may end for no reason. */
typedef pthread_cond_t cnd_t;

/* Initializes a condition variable. */
int cnd_init(cnd_t *condition);

/* Wake one of the threads that wait, and all of them. */
int cnd_signal(cnd_t *condition);
int cnd_broadcast(cnd_t *condition);

/* Waits, without limit, with the mutex free meanwhile. */
int cnd_wait(cnd_t *condition, mtx_t *mutex);

/* Waits until "deadline" (CLOCK_REALTIME) at the latest, then gives thrd_timedout. */
int cnd_timedwait(cnd_t *condition, mtx_t *mutex, const struct timespec *deadline);

/* Returns 0 or the error number of pthread_cond_destroy(). */
int cnd_destroy(cnd_t *condition);

/* Threads. What a thread's function returns is lost. */
typedef pthread_t thrd_t;
typedef int (*thrd_start_t)(void *arg);

/*
 * Starts a thread. Its stack has stack_kib KiB, above 4096 4 MiB, and for 0 or less 20480 bytes;
 * less than the system needs is raised to that. Gives thrd_nomem without memory; *thread is 0 after
 * a failure. Every function of the library works on a stack of 20480 bytes, and leaves 4096 of them
 * to its caller, callbacks and log sink.
 */
int thrd_create(thrd_t *thread, int stack_kib, thrd_start_t function, void *arg);

/* Returns the id of the calling thread. */
thrd_t thrd_current(void);

/* Returns 1 when the ids are those of one thread, else 0. */
int thrd_equal(thrd_t a, thrd_t b);

/* Ends the calling thread; "result" is lost. */
void thrd_exit(int result) __attribute__((noreturn));

/* Lets a thread end without being joined. */
int thrd_detach(thrd_t thread);

/* Waits for the end of a thread. "result" may be null and is set to 0. */
int thrd_join(thrd_t thread, int *result);

/* Does what nanosleep() does and returns its result; "remaining" may be null. */
int thrd_sleep(const struct timespec *duration, struct timespec *remaining);

/* Returns what sched_yield() does. */
int thrd_yield(void);

/* Tells the time of day. Returns 0 or -1. */
int port_gettimeofday(struct timeval *now);

/* Sleep for so long, or until a signal arrives. A negative time is none. */
void os_sleep(int milliseconds);
void os_usleep(int microseconds);

/* Puts a descriptor of any kind into non-blocking mode. Returns 0, or -1 when that fails. */
int setSocketNonBlocking(int fd);

/*
 * Pipes: a pair of non-blocking descriptors, the reading end first. Programs that the process runs
 * do not inherit them.
 */

/* Makes a pipe. Returns 0 always; when there is none to be had both descriptors are -1. */
int pipe_init(int fds[2]);

/*
 * Move up to "len" bytes. What would block is tried again 10 times, with 10 ms between; a transfer
 * that is interrupted at once. Return the number of bytes moved, which may be less than "len", or
 * -1 with errno.
 */
int pipe_write(const int fds[2], const void *buf, int len);
int pipe_read(const int fds[2], void *buf, int len);

/* Return a descriptor of the pair; -1 for a null pair. */
int pipe_get_read_fd(const int fds[2]);
int pipe_get_write_fd(const int fds[2]);

/* Closes both ends and sets them to -1. Returns 0 always. */
int pipe_destroy(int fds[2]);

/*
 * Waitors: a value that threads wait for to become other than 0, which is "signalled". It stays so
 * until somebody sets 0.
 */
typedef struct capi_waitor {
  int32_t value;
  mtx_t mutex;
  cnd_t condition;
} waitor_t;

/* Initializes a waitor that is not signalled. */
int waitor_init(waitor_t *waitor);

/* Sets the value and, unless it is 0, wakes all that wait. */
int waitor_set(waitor_t *waitor, int value);

/* Returns the value; 0 for a null waitor. */
int waitor_get(waitor_t *waitor);

/* Waits, without limit, until the waitor is signalled. */
int waitor_waitfor(waitor_t *waitor);

/*
 * Waits as waitor_waitfor() does, without limit: the time bounds each wait inside, not the call.
 * Once it is over, the call keeps looking at the value without a pause.
 */
int waitor_waitfor_timeout(waitor_t *waitor, int milliseconds);

/* Destroys a waitor that nobody waits for. */
int waitor_destroy(waitor_t *waitor);

CAPI_END_DECLS

#endif
