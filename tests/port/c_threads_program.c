/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * A program that uses the library and the C library's threads, for which it is linked with the C
 * library first.
 */
#include <threads.h>
#define CAPI_WITH_C_THREADS
#include "capi.h"

static void no_log(int level, const char *text) { (void)level, (void)text; }

static int answer(void *arg) {
  (void)arg;
  return 42;
}

int main(void) {
  mtx_t mutex;
  thrd_t thread;
  int result = 0;
  capiv2_log_init(no_log);
  if (capi_lock() != 0) return 1;
  if (mtx_init(&mutex, mtx_recursive) != thrd_success) return 2;
  if (mtx_lock(&mutex) != thrd_success || mtx_lock(&mutex) != thrd_success) return 3;
  if (mtx_unlock(&mutex) != thrd_success || mtx_unlock(&mutex) != thrd_success) return 4;
  mtx_destroy(&mutex);
  if (thrd_create(&thread, answer, NULL) != thrd_success) return 5;
  if (thrd_join(thread, &result) != thrd_success || result != 42) return 6;
  return 0;
}
