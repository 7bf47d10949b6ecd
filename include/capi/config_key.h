/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Which keys there are: a walk through the table that setting files, capi_config_set() and
 * capi_config_get() go by. For programs that list, describe or check settings.
 */
#ifndef CAPI_CONFIG_KEY_H
#define CAPI_CONFIG_KEY_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

enum capi_config_key_kind { CAPI_CONFIG_NUMBER = 0, CAPI_CONFIG_TEXT = 1 };

/* A key, or the many keys that differ in their numbers only. */
struct capi_config_key {
  char section[24];    /* "sms"; with "%d" for the number of a numbered one: "sip_line_%d" */
  char name[64];       /* "option_sms_sca"; with "%d" where the key carries a number itself */
  int32_t section_max; /* sections are numbered from 1 to this; 0 for one without a number */
  int32_t name_max;    /* the same for the number in the key */
  int32_t kind;        /* an enum capi_config_key_kind */
  int32_t capacity;    /* bytes of a text that setting it keeps, the terminator included; or 4 */
  int32_t value_max;   /* a number is kept in 0 to this; 0 for one that is kept as it is */
  int32_t is_shared;   /* 1 when all sections of the number have the value in common */
  int32_t offset;      /* of the value in struct cfg_shared_record, for number 1 if it has one */
  int32_t stride;      /* from there to the value for the next number; 0 for none */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_config_key, section_max) == 88, config_key_section_max);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_config_key) == 120, capi_config_key);

/* Receives a key, which is valid during the call only. A result other than 0 ends the walk. */
typedef int (*capi_config_key_cb)(const struct capi_config_key *key, void *user);

/*
 * Hands every key to a callback, section by section, with the value that was given for it. Needs
 * no capi_init(), takes no lock and may be called from any thread and any callback.
 * Returns 0, the callback's result that ended the walk, or -1 without a callback.
 */
int capi_config_for_each(capi_config_key_cb callback, void *user);

/*
 * The key that capi_config_get() answers for, from a section and a name as it takes them: the
 * numbers of both are those of the key's pattern. What is taken for a key although it is spelled
 * otherwise, as any text in front of an entry's number, gives that key. Needs no capi_init(), takes
 * no lock and may be called from any thread and any callback.
 * Returns 0, or -1 with "key" untouched for a null argument, a section or name that there is not,
 * or a number out of its range.
 */
int capi_config_find(const char *section, const char *name, struct capi_config_key *key);

CAPI_END_DECLS

#endif
