/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* A library that was built with the C library's threads and knows nothing of ours. */
#include <threads.h>

static int answer(void *arg) {
  (void)arg;
  return 42;
}

/* Returns 0 when every call behaves as the C library's. */
int libc_threads_misbehave(void) {
  mtx_t mutex;
  if (mtx_init(&mutex, mtx_recursive) != thrd_success) return 1;
  if (mtx_lock(&mutex) != thrd_success) return 2;
  if (mtx_lock(&mutex) != thrd_success) return 3;
  if (mtx_unlock(&mutex) != thrd_success || mtx_unlock(&mutex) != thrd_success) return 4;
  mtx_destroy(&mutex);
  if (mtx_init(&mutex, mtx_plain) != thrd_success || mtx_lock(&mutex) != thrd_success) return 5;
  if (mtx_trylock(&mutex) != thrd_busy) return 6;
  if (mtx_unlock(&mutex) != thrd_success) return 7;
  mtx_destroy(&mutex);
  thrd_t thread;
  int result = 0;
  if (thrd_create(&thread, answer, NULL) != thrd_success) return 8;
  if (thrd_join(thread, &result) != thrd_success || result != 42) return 9;
  return 0;
}
