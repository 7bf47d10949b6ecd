/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* Names that the public headers take from the system's: what they are there is not described. */
typedef unsigned long size_t;
