// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A client of libcapi.so that has functions of its own under the library's names, as a program has
// that was linked with the C library's threads first.
#include <gtest/gtest.h>

#include "capi/thread.h"

namespace {

int calls_of_ours = 0;

int count_call() {
  ++calls_of_ours;
  return 99;
}

}  // namespace

int mtx_init(mtx_t*, int) { return count_call(); }
int mtx_lock(mtx_t*) { return count_call(); }
int mtx_unlock(mtx_t*) { return count_call(); }
int mtx_destroy(mtx_t*) { return count_call(); }
int cnd_init(cnd_t*) { return count_call(); }
int cnd_broadcast(cnd_t*) { return count_call(); }
int cnd_destroy(cnd_t*) { return count_call(); }
int port_gettimeofday(timeval*) { return count_call(); }

namespace {

TEST(OwnNames, TheLibraryCallsItsOwnFunctions) {
  waitor_t waitor;
  EXPECT_EQ(waitor_init(&waitor), 1);
  EXPECT_EQ(waitor_set(&waitor, 5), 1);
  EXPECT_EQ(waitor_get(&waitor), 5);
  EXPECT_EQ(waitor_waitfor_timeout(&waitor, 1), 1);
  EXPECT_EQ(waitor_destroy(&waitor), 1);
  EXPECT_EQ(calls_of_ours, 0);
  EXPECT_EQ(mtx_lock(&waitor.mutex), 99);
}

}  // namespace
