/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Where the values of the configuration show in the voice stack's files: a walk through the table
 * that capi_make_config_file() writes by. For programs that tell what a key does.
 */
#ifndef CAPI_STACK_LINE_H
#define CAPI_STACK_LINE_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

/* What must hold for a line to show its value. */
enum capi_stack_line_condition {
  CAPI_STACK_LINE_ALWAYS = 0,
  CAPI_STACK_LINE_NO_INTERFACE = 1, /* the stack has no interface of its own */
  CAPI_STACK_LINE_TLS = 2,          /* basic_sip.transport_protocol is 2 */
  CAPI_STACK_LINE_SLOT = 3,         /* voice_parameter.count reaches the codec's slot */
  CAPI_STACK_LINE_AMR = 4,          /* that, and the slot's code_list holds "AMR" */
  CAPI_STACK_LINE_EVS = 5           /* that, and the slot's code_list holds "EVS" */
};

/* A line, or the lines that differ in their numbers only. */
struct capi_stack_line {
  char section[24];  /* "SIP"; with "%d" for the number of a numbered one: "REGISTRAR_%d" */
  char name[40];     /* "transport"; with "%d" where the line carries a number itself */
  int32_t first;     /* the first of the numbers, in section or name */
  int32_t count;     /* how many numbers there are; 1 for a line without */
  int32_t offset;    /* of the value in struct cfg_shared_record, for the first number */
  int32_t stride;    /* from there to the value for the next number; 0 when all show the same */
  uint32_t types;    /* bit n: the line of the file of type n shows the value; 6 is the generic */
  int32_t condition; /* an enum capi_stack_line_condition */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_stack_line, first) == 64, stack_line_first);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_stack_line) == 88, capi_stack_line);

/* Receives a line, which is valid during the call only. A result other than 0 ends the walk. */
typedef int (*capi_stack_line_cb)(const struct capi_stack_line *line, void *user);

/*
 * Hands every line that shows a value of the configuration, or what is worked out from one, to a
 * callback, with the "user" that was given for it, in the order of the file. A line that shows
 * another value in the file of another type comes once for each of the values. Needs no
 * capi_init(), takes no lock and may be called from any thread and any callback.
 * Returns 0, the callback's result that ended the walk, or -1 without a callback.
 */
int capi_stack_line_for_each(capi_stack_line_cb callback, void *user);

CAPI_END_DECLS

#endif
