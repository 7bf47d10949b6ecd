/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * A monitoring daemon: a line of text whenever a telephone line changes, until it is told to stop.
 * monitor [LOOKS]
 */
#include <capi.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The runtime status counts lines and stacks from 0. */
enum { SECONDS_BETWEEN_LOOKS = 1, VOIP_STACK = 1, TEXT_BYTES = 128, STATUS_BYTES = 256 };

static volatile sig_atomic_t is_told_to_stop;

static void stop(int number) {
  (void)number;
  is_told_to_stop = 1;
}

/* Errors only: a daemon that looks every second would fill the log with the rest. */
static void log_line(int level, const char *text) {
  if (level <= 4) fprintf(stderr, "%s\n", text);
}

static int describe(int line, char *text, size_t size) {
  struct capi_line_reg_stat status;
  char phone[TEXT_BYTES];
  if (capi_get_runtime_line_reg_stat(line, &status, VOIP_STACK) != 0 ||
      capi_get_runtime_line_phone_phy_status(line, phone, sizeof phone) != 0)
    return -1;
  snprintf(text, size, "%.31s, %s", status.status_text, phone);
  return 0;
}

/* Tells of the lines that differ from "last", and keeps what they are now there. */
static int look(char last[][STATUS_BYTES]) {
  char now[STATUS_BYTES];
  int line;
  for (line = 0; line < CAPI_SIP_LINES; ++line) {
    if (describe(line, now, sizeof now) != 0) return -1;
    if (strcmp(now, last[line]) == 0) continue;
    printf("line %d: %s\n", line + 1, now);
    strcpy(last[line], now);
  }
  return fflush(stdout);
}

int main(int argc, char **argv) {
  char last[CAPI_SIP_LINES][STATUS_BYTES] = {"", ""};
  long looks = argc > 1 ? strtol(argv[1], NULL, 10) : -1;
  int result;
  signal(SIGINT, stop);
  signal(SIGTERM, stop);
  capi_init(NULL, 0, log_line);
  while ((result = look(last)) == 0 && !is_told_to_stop && --looks != 0)
    sleep(SECONDS_BETWEEN_LOOKS);
  capi_uninit();
  if (result != 0) fputs("monitor: the adapter is not up\n", stderr);
  return result == 0 ? 0 : 1;
}
