/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* What the voice application tells the others: a line is registered, a call has ended. */
#include <capi.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

/* The runtime status counts lines and stacks from 0; the types of calls are the device's own. */
enum { LINE_1 = 0, VOIP_STACK = 1, OUTGOING = 1, CALL_SECONDS = 42 };

static void log_line(int level, const char *text) {
  if (level <= 4) fprintf(stderr, "%s\n", text);
}

/* Called in the process that stores a registration, with lock 0 held: no call of the library. */
static int registration_changed(int line, int stack, struct capi_line_reg_stat *stored) {
  printf("line %d on stack %d: %s\n", line, stack, stored->registered ? "registered" : "not");
  return 0;
}

/* Live status is zero but for what is known: readers get times and texts made of it. */
static int publish_registration(void) {
  struct capi_line_reg_stat status;
  memset(&status, 0, sizeof status);
  status.registered = 1;
  status.reg_time = (int32_t)time(NULL);
  return capi_set_runtime_line_reg_stat(LINE_1, &status, VOIP_STACK);
}

/* Logs the call and posts the signal that tells of it. */
static int add_call(const char *number) {
  struct capi_call_log_record call;
  memset(&call, 0, sizeof call);
  call.endpt = LINE_1 + 1; /* 1 or 2, unlike the index of a line */
  call.calltimeend = (uint32_t)time(NULL);
  call.calltimestart = call.calltimeend - CALL_SECONDS;
  call.calltimeconnect = call.calltimestart;
  strcpy_safe(call.number, number, sizeof call.number);
  return capi_voip_add_call_log(OUTGOING, &call);
}

int main(void) {
  const struct capi_callbacks callbacks = {NULL, NULL, registration_changed};
  int result;
  capi_init(&callbacks, 0, log_line);
  result = publish_registration();
  if (result == 0) result = capi_set_runtime_line_phone_phy_status(LINE_1, "On-hook");
  if (result == 0) result = add_call("15551230009");
  capi_uninit();
  if (result == 0) puts("told of the registration and of a call");
  return result == 0 ? 0 : 1;
}
