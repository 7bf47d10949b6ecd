/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* Names that the public headers take from the system's: what they are there is not described. */
typedef struct capi_system_mutex pthread_mutex_t;
typedef struct capi_system_condition pthread_cond_t;
typedef unsigned long pthread_t;
