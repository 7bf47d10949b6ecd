/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* What every public header begins with. */
#ifndef CAPI_API_H
#define CAPI_API_H

#include <stddef.h>
#include <stdint.h>

/*
 * The library exports functions of these names with other results (capi/thread.h). A program whose
 * linker finds libcapi first calls those with the C library's arguments.
 */
#if defined(_THREADS_H) && !defined(CAPI_WITH_C_THREADS)
#warning "<threads.h> with libcapi: link -lc before -lcapi, then define CAPI_WITH_C_THREADS"
#endif

/* Declarations between these two are exported from the library, with C linkage. */
#ifdef __cplusplus
#define CAPI_BEGIN_DECLS \
  extern "C" {           \
  _Pragma("GCC visibility push(default)")
#define CAPI_END_DECLS          \
  _Pragma("GCC visibility pop") \
  }
#else
#define CAPI_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define CAPI_END_DECLS _Pragma("GCC visibility pop")
#endif

/* A layout promise that C++ and C11 compilers check; C99 has no way to. */
#if defined(__cplusplus)
#define CAPI_LAYOUT_ASSERT(condition, name) static_assert(condition, #name)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define CAPI_LAYOUT_ASSERT(condition, name) _Static_assert(condition, #name)
#else
#define CAPI_LAYOUT_ASSERT(condition, name) struct capi_layout_assert_unchecked_##name
#endif

#endif
