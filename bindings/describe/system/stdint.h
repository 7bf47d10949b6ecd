/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* Names that the public headers take from the system's: what they are there is not described. */
typedef signed char int8_t;
typedef unsigned char uint8_t;
typedef short int16_t;
typedef unsigned short uint16_t;
typedef int int32_t;
typedef unsigned int uint32_t;
typedef long long int64_t;
typedef unsigned long long uint64_t;
