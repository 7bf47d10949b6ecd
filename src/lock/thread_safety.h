// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Clang's thread-safety annotations: which function takes, gives back or expects which lock.
//
// They stand on declarations, where they are part of the contract, and cost nothing: other
// compilers do not see them. A function that works on what a lock guards says CAPI_REQUIRES; one
// that takes the lock itself says CAPI_EXCLUDES, for a lock that is held already would be waited
// for, for ever. A lambda is a function of its own and needs its own annotation.
#pragma once

#if defined(__clang__)
#define CAPI_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define CAPI_THREAD_ANNOTATION(x)
#endif

#define CAPI_CAPABILITY(name) CAPI_THREAD_ANNOTATION(capability(name))
#define CAPI_SCOPED_CAPABILITY CAPI_THREAD_ANNOTATION(scoped_lockable)
#define CAPI_ACQUIRE(...) CAPI_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define CAPI_RELEASE(...) CAPI_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define CAPI_REQUIRES(...) CAPI_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define CAPI_EXCLUDES(...) CAPI_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
