/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* A monitoring daemon: a line of text whenever a telephone line changes. monitor [LOOKS] */
#include <capi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { SECONDS_BETWEEN_LOOKS = 1, VOIP_STACK = 1, TEXT_BYTES = 128 };

static void log_line(int level, const char *text) {
  if (level <= 4) fprintf(stderr, "%s\n", text);
}

static void describe(int line, char *text, size_t size) {
  struct capi_line_reg_stat status;
  char phone[TEXT_BYTES] = "";
  memset(&status, 0, sizeof status);
  capi_get_runtime_line_reg_stat(line, &status, VOIP_STACK);
  capi_get_runtime_line_phone_phy_status(line, phone, sizeof phone);
  snprintf(text, size, "%.31s, %.127s", status.status_text, phone);
}

int main(int argc, char **argv) {
  char last[CAPI_SIP_LINES][2 * TEXT_BYTES] = {"", ""};
  const int looks = argc > 1 ? atoi(argv[1]) : -1;
  int look;
  capi_init(NULL, 0, log_line);
  for (look = 0; looks < 0 || look < looks; ++look) {
    int line;
    if (look > 0) sleep(SECONDS_BETWEEN_LOOKS);
    for (line = 0; line < CAPI_SIP_LINES; ++line) {
      char now[2 * TEXT_BYTES];
      describe(line, now, sizeof now);
      if (strcmp(now, last[line]) == 0) continue;
      printf("line %d: %s\n", line + 1, now);
      strcpy(last[line], now);
    }
    fflush(stdout);
  }
  return capi_uninit();
}
