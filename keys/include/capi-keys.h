/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * libcapi-keys: what each key of the configuration means, and whether a value makes sense for it.
 * For programs that people set values with; link -lcapi-keys -lcapi.
 *
 * The library's own calls take whatever they are given, as they always did: a port of 99999, "yes"
 * for a number, any text for an address. Who wants to be told asks here first. What a key means is
 * said where the interface or a standard says it, and nowhere else: a key of which neither does has
 * the origin CAPI_KEY_UNKNOWN, and takes any number or any text.
 *
 * The rules of capi.h hold here as well. All texts that are handed out live as long as the library.
 * But for capi_keys_set() no call needs capi_init(), takes a lock or logs, and each may be made
 * from any thread and any callback.
 */
#ifndef CAPI_KEYS_H
#define CAPI_KEYS_H

#include "capi/api.h"
#include "capi/config_key.h"
#include "capi/records.h"
#include "capi/snapshot.h"

CAPI_BEGIN_DECLS

/* Bytes of a buffer that any sentence fits into. */
enum { CAPI_KEYS_SENTENCE = 512 };

/* What a value has to be. */
enum capi_key_format {
  CAPI_KEY_NUMBER = 0,     /* in 32 bits, as the library writes it: "-2", "0", "5060" */
  CAPI_KEY_TEXT = 1,       /* any text */
  CAPI_KEY_IP = 2,         /* an IPv4 or IPv6 address */
  CAPI_KEY_HOST = 3,       /* an address or a name (RFC 1123) */
  CAPI_KEY_MAC = 4,        /* six bytes in hexadecimal with colons */
  CAPI_KEY_ICCID = 5,      /* 18 to 20 digits (ITU-T E.118, 3GPP TS 31.102) */
  CAPI_KEY_IMSI = 6,       /* 6 to 15 digits (3GPP TS 23.003) */
  CAPI_KEY_IMEI = 7,       /* 15 digits, or 16 with the software version (3GPP TS 23.003) */
  CAPI_KEY_IMPI = 8,       /* user, "at" sign and realm (3GPP TS 23.003) */
  CAPI_KEY_URI = 9,        /* a sip, sips or tel URI (RFC 3261, RFC 3966) */
  CAPI_KEY_PHONE = 10,     /* digits, "*" and "#", with or without a leading "+" */
  CAPI_KEY_TARGET = 11,    /* a phone number or a URI */
  CAPI_KEY_MSISDN = 12,    /* up to 15 digits, with or without a leading "+" (ITU-T E.164) */
  CAPI_KEY_INTERFACE = 13, /* the name of a network interface */
  CAPI_KEY_PATH = 14,      /* of a file or a directory */
  CAPI_KEY_DIAL_PLAN = 15, /* whose brackets and parentheses close */
  CAPI_KEY_HEX = 16,       /* up to 8 hexadecimal digits */
  CAPI_KEY_DIGITS = 17,    /* up to 7 decimal digits */
  CAPI_KEY_MCC = 18,       /* 3 digits (3GPP TS 23.003) */
  CAPI_KEY_MNC = 19,       /* 2 or 3 digits (3GPP TS 23.003) */
  CAPI_KEY_MODE_SET = 20,  /* modes 0 to 8 with commas between (RFC 4867) */
  CAPI_KEY_EVS_BR = 21,    /* a bit rate of EVS, or two with "-" between (3GPP TS 26.445) */
  CAPI_KEY_EVS_BW = 22     /* a bandwidth of EVS, or from "nb" to one (3GPP TS 26.445) */
};

/* Who says what a key's values mean. */
enum capi_key_origin {
  CAPI_KEY_INTERFACE_SAYS = 0,
  CAPI_KEY_STANDARD_SAYS = 1,
  CAPI_KEY_UNKNOWN = 2
};

/* What a key means. Texts that there are none of are empty. */
struct capi_key_meaning {
  const char *meaning;  /* a sentence */
  const char *unit;     /* "s", "ms" */
  const char *standard; /* "RFC 4028" */
  const char *note;     /* what else there is to know: special values, where texts pull apart */
  const char *start;    /* the value after a master's start without settings, as a text */
  int32_t format;       /* an enum capi_key_format */
  int32_t min;          /* a number is from here to "max", or one of capi_keys_for_each_value(); */
  int32_t max;          /* where min is above max, one of those only */
  int32_t longest;      /* characters of a text that are kept; 0 for a number */
  int32_t origin;       /* an enum capi_key_origin */
  int32_t is_secret;    /* 1 for a password, which is not to be shown */
  int32_t is_read_back; /* 1 when the device's own files have it: it is not meant to be set */
};

/*
 * What a key means, by section and name as capi_config_get() takes them, or as
 * capi_config_for_each() hands it over. Returns 0, or -1 with "meaning" untouched for a null
 * argument or a key that there is not.
 */
int capi_keys_find(const char *section, const char *name, struct capi_key_meaning *meaning);
int capi_keys_describe(const struct capi_config_key *key, struct capi_key_meaning *meaning);

/*
 * Writes what a key takes, for people: "0 to 65535", "0 (off) or 1 (on)", "an IP address, as
 * 192.0.2.1". Returns 0, or -1 for a null argument.
 */
int capi_keys_allowed(const struct capi_config_key *key, char *buf, int size);

/* What is wrong with a value. */
enum capi_key_check {
  CAPI_KEY_OK = 0,
  CAPI_KEY_UNKNOWN_SECTION = 1,
  CAPI_KEY_UNKNOWN_KEY = 2,
  CAPI_KEY_ODD_SPELLING = 3, /* taken for a key that is spelled otherwise */
  CAPI_KEY_NOT_A_NUMBER = 4,
  CAPI_KEY_OUT_OF_RANGE = 5,
  CAPI_KEY_NOT_ONE_OF = 6,
  CAPI_KEY_WRONG_FORMAT = 7,
  CAPI_KEY_TOO_LONG = 8,           /* the rest would not be kept */
  CAPI_KEY_WOULD_BE_CUT = 9,       /* a setting file ends a value at "#" and ";" */
  CAPI_KEY_WOULD_LOSE_BLANKS = 10, /* a setting file's values have no blanks */
  CAPI_KEY_LINE_END = 11
};

/*
 * Checks a value for a key, by section and name as a setting file has them, and tells people in a
 * sentence of at most CAPI_KEYS_SENTENCE - 1 characters what is wrong, and what is allowed. The
 * sentence never shows a secret. An empty text is a text that is not set, and right for every key
 * that takes texts. The first of several faults is told: section, key, line end, cut, blanks,
 * length, and the value itself.
 * Returns an enum capi_key_check with an empty sentence for CAPI_KEY_OK, or -1 for a null section,
 * name or value. The buffer for the sentence may be null.
 */
int capi_keys_check(const char *section, const char *name, const char *value, char *sentence,
                    int size);

/*
 * capi_config_set() for a value that is right: any other is refused, with the result and the
 * sentence of the check. Returns CAPI_KEY_OK when the value was set, or -1, with an empty sentence,
 * when capi_config_set() fails or for a null argument. Takes lock 0.
 */
int capi_keys_set(const char *section, const char *name, const char *value, char *sentence,
                  int size);

/*
 * The name of a number that a key may have: "tls" for 2 in basic_sip.transport_protocol. Null for a
 * null argument, an unknown key, or a number without a name.
 */
const char *capi_keys_value_name(const char *section, const char *name, int32_t number);

/*
 * The number that a name, in letters of either case, stands for. Returns 0, or -1 with "number"
 * untouched for a null argument, an unknown key or a name that there is not.
 */
int capi_keys_value_number(const char *section, const char *name, const char *value_name,
                           int32_t *number);

/* Receives a number and its name, or an empty text. A result other than 0 ends the walk. */
typedef int (*capi_key_value_cb)(int32_t number, const char *value_name, void *user);

/*
 * Hands the numbers that are named for a key, or allowed beside its range, to a callback. Returns
 * 0, the callback's result that ended the walk, or -1 for a null argument.
 */
int capi_keys_for_each_value(const struct capi_config_key *key, capi_key_value_cb callback,
                             void *user);

/*
 * Fills a record with what the configuration is after a master's start without settings, that is
 * when capi_config_finish() has published nothing but defaults. Returns 0, or -1 for null.
 */
int capi_keys_start_record(struct cfg_shared_record *record);

/*
 * capi_snapshot_diff() from those values to a snapshot's. Returns what that does, or -1 without
 * memory.
 */
int capi_keys_for_each_change(const struct cfg_shared_record *snapshot,
                              capi_snapshot_change_cb callback, void *user);

CAPI_END_DECLS

#endif
