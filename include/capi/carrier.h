/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Whose SIM is in the device: the carrier, the values of its configuration file, and whether the
 * SIM may be used. Calls that ask the shared record for the SIM take lock 0 meanwhile and must not
 * be called from a callback of capi_init().
 */
#ifndef CAPI_CARRIER_H
#define CAPI_CARRIER_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/* A carrier. The texts live as long as the library. */
struct capi_carrier_info {
  uint32_t id;
  uint32_t attribute1; /* 0 or 1; the attributes mean something to other programs only */
  uint32_t attribute2; /* 0 to 2 */
  uint32_t mnc_length; /* digits of the IMSI behind the MCC that are the MNC: 2 or 3 */
  const char *file;    /* path of the carrier configuration file */
  const char *iccid_prefix;
  const char *mcc;
  const char *mnc_list; /* separated by commas */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_carrier_info, file) == 16, carrier_file);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_carrier_info) == 16 + 4 * sizeof(char *), capi_carrier_info);

/*
 * Finds the carrier of a SIM. Of either text, of which 31 characters count, null means that of the
 * inserted SIM. A SIM that the device does not know may still be a test SIM
 * (capi_get_test_sim_info()): then the carrier is the one named there, with the MNC length of the
 * test SIM.
 * Returns 0; -1 with "out" cleared when the IMSI or the ICCID is empty, and -1 with the carrier of
 * test networks in "out" when there is none.
 */
int capi_get_carrier_info(const char *imsi, const char *iccid, struct capi_carrier_info *out);

/*
 * Finds the first carrier whose configuration file's path contains "name". Returns 0; for a name
 * that fits none too, with "out" cleared, unless the segment is not attached; -1 for a null or
 * empty name.
 */
int capi_get_carrier_info_ext(const char *name, struct capi_carrier_info *out);

/* How a carrier suits a SIM. Without CAPI_CARRIER_FITS_IMSI it is not the SIM's. */
enum { CAPI_CARRIER_FITS_IMSI = 1, CAPI_CARRIER_FITS_ICCID = 2 };

/*
 * Receives a carrier, which is valid during the call only, and how it suits the SIM, as bits. A
 * result other than 0 ends the walk.
 */
typedef int (*capi_carrier_cb)(const struct capi_carrier_info *carrier, int fits, void *user);

/*
 * Hands every carrier that the device knows to a callback, in the order in which they are tried,
 * with the value that was given for it. The first that fits the IMSI is the SIM's, unless a later
 * one fits both. A null "imsi" or "iccid" fits nothing. Takes no lock, needs no capi_init().
 * Returns 0, the callback's result that ended the walk, or -1 without a callback.
 */
int capi_carrier_for_each(const char *imsi, const char *iccid, capi_carrier_cb callback,
                          void *user);

enum {
  CAPI_CARRIER_APNS = 6,
  CAPI_CARRIER_APN_KEYS = 7,
  CAPI_CARRIER_KEYS = 1 + CAPI_CARRIER_APNS * CAPI_CARRIER_APN_KEYS
};

/*
 * Copies a value of the carrier's configuration file into "buf" of "len" bytes, which are zeroed
 * first, at most 255 characters. Index 0 is the number of APNs, 7 * (n - 1) + 1 to 7 * n are the
 * values of APN n from 1 to 6: enable, type, network type, name, authentication type, user name and
 * password. "imsi" and "iccid" are as in capi_get_carrier_info().
 *
 * Returns 0, or -1 for another index, or without a carrier, a file or a line in it.
 */
int capi_get_carrier_cfg(const char *imsi, const char *iccid, unsigned index, char *buf, int len);

/*
 * Reads the test SIM file "/quorbleconf/config/test_sim_info", a line of MCC (3 characters), MNC (2
 * or 3) and carrier id (1 to the highest that there is). "mcc" and "mnc" must hold 4 bytes each.
 * Returns 0, or -1 with all three untouched when there is no such file or its content is wrong.
 * Takes no lock.
 */
int capi_get_test_sim_info(char *mcc, char *mnc, uint32_t *id);

/*
 * Tells whether the inserted SIM may be used: the shared record may say so; otherwise the IMSI or
 * the IMPI in "info.simcard" in the data directory (read under lock 10) must belong to a known
 * network, or the IMSI to that of the test SIM. Returns 0 when it may and 1 when not.
 */
int capi_check_simcard(void);

CAPI_END_DECLS

#endif
