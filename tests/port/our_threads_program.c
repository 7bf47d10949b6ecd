/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* A program that uses the library's threads, by the header that says so. */
#include "capi.h"
#include "capi/thread.h"

static void no_log(int level, const char *text) { (void)level, (void)text; }

static int count(void *arg) {
  ++*(int *)arg;
  return 42;
}

int main(void) {
  mtx_t mutex;
  thrd_t thread;
  int result = 77;
  int calls = 0;
  capiv2_log_init(no_log);
  if (capi_lock() != 0) return 1;
  if (mtx_init(&mutex, mtx_recursive) != 1 || thrd_success != 1) return 2;
  if (mtx_lock(&mutex) != 1 || mtx_lock(&mutex) != 1) return 3;
  if (mtx_unlock(&mutex) != 1 || mtx_unlock(&mutex) != 1) return 4;
  mtx_destroy(&mutex);
  if (thrd_create(&thread, 64, count, &calls) != 1) return 5;
  if (thrd_join(thread, &result) != 1 || result != 0 || calls != 1) return 6;
  return 0;
}
