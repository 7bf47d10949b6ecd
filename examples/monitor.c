/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * A monitoring daemon: a line of text whenever a telephone line changes, until it is told to stop.
 * In between it sleeps: it is woken by changes of the lines only.
 * monitor [LOOKS]
 */
#include <capi.h>
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The runtime status counts lines and stacks from 0. */
enum { VOIP_STACK = 1, TEXT_BYTES = 128, STATUS_BYTES = 256 };

/* A pipe, so that a signal that comes just before the sleep ends it, too. */
static int stop_pipe[2];

static void stop(int number) {
  const char reason = (char)number;
  const int error = errno;
  if (write(stop_pipe[1], &reason, 1) != 1) _exit(1);
  errno = error;
}

/* Errors only: the rest is of no use to whoever runs a daemon. */
static void log_line(int level, const char *text) {
  if (level <= 4) fprintf(stderr, "%s\n", text);
}

static int describe(int line, char *text, size_t size) {
  struct capi_line_reg_stat status;
  char phone[TEXT_BYTES];
  if (capi_live_get_line_reg_stat(line, &status, VOIP_STACK) != 0 ||
      capi_live_read(CAPI_RECORD_PHONE_PHY_STATUS, line + 1, phone, sizeof phone) != 0)
    return -1;
  snprintf(text, size, "%.31s, %.127s", status.status_text, phone[0] != 0 ? phone : "Unknown");
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

/* Sleeps until something changed. Returns 1 then, 0 when it is told to stop, -1 on an error. */
static int await_change(struct capi_watch *watch) {
  struct pollfd fds[2];
  int changed = 0;
  fds[0].fd = watch->fd;
  fds[1].fd = stop_pipe[0];
  fds[0].events = fds[1].events = POLLIN;
  while (changed == 0) {
    if (poll(fds, 2, -1) == -1) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (fds[1].revents != 0) return 0;
    changed = capi_watch_changed(watch);
  }
  return changed > 0 ? 1 : -1;
}

int main(int argc, char **argv) {
  char last[CAPI_SIP_LINES][STATUS_BYTES] = {"", ""};
  long looks = argc > 1 ? strtol(argv[1], NULL, 10) : -1;
  struct capi_watch watch;
  int result;
  if (pipe(stop_pipe) != 0) return 1;
  signal(SIGINT, stop);
  signal(SIGTERM, stop);
  capi_init(NULL, 0, log_line);
  result = capi_watch_open(&watch, CAPI_TOPIC_LINES); /* before the first look */
  while (result == 0 && (result = look(last)) == 0 && --looks != 0) {
    const int woken = await_change(&watch);
    if (woken == 0) break;
    if (woken < 0) result = -1;
  }
  capi_watch_close(&watch);
  capi_uninit();
  if (result != 0) fputs("monitor: the adapter is not up\n", stderr);
  return result == 0 ? 0 : 1;
}
