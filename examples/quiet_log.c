/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Keeps passwords out of the log: quiet_log SECTION KEY [VALUE]
 *
 * The library logs what it sets at level 6 and what it hands out at level 7, values and all. Who
 * needs neither takes levels up to 5 only. Who wants them leaves out what tells of a password: a
 * line names the key whose value it shows, and only passwords' keys are named so.
 */
#include <capi.h>
#include <stdio.h>
#include <string.h>

static void log_line(int level, const char *text) {
  if (level > 5 && strstr(text, "password") != NULL) return;
  fprintf(stderr, "<%d> %s\n", level, text);
}

int main(int argc, char **argv) {
  char value[1024];
  int result = 0;
  if (argc != 3 && argc != 4) {
    fprintf(stderr, "usage: %s SECTION KEY [VALUE]\n", argv[0]);
    return 2;
  }
  capi_init(NULL, 0, log_line);
  if (argc == 4) result = capi_config_set(argv[1], argv[2], 0, argv[3]);
  if (result == 0) result = capi_config_get(argv[1], argv[2], value, sizeof value);
  capi_uninit();
  if (result != 0) {
    fprintf(stderr, "quiet_log: %s of %s is not there\n", argv[2], argv[1]);
    return 1;
  }
  printf("%s has %zu characters\n", argv[2], strlen(value));
  return 0;
}
