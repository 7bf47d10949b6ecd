/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* What a web front end does when a user has changed a line's name: web_front_end LINE NAME */
#include <capi.h>
#include <stdio.h>
#include <stdlib.h>

enum { VOIP_STACK_FILE = 1 };

static void log_line(int level, const char *text) {
  if (level <= 4) fprintf(stderr, "%s\n", text);
}

/* A record is read, changed and written whole: what else is in it stays as it is. */
static int change_name(int line, const char *name) {
  struct capi_voice_sip_line record;
  if (capi_get_voice_sip_line(&record, line) != 0) return -1;
  strcpy_safe(record.display_name, name, sizeof record.display_name);
  return capi_set_voice_sip_line(&record, line);
}

/* A setter tells nobody: the voice stack reads its file, all others hear of it by the signal. */
static int tell_of_change(void) {
  if (capi_make_config_file(VOIP_STACK_FILE) != 0) return -1;
  return capi_fire_internal_event("vop_sig_cfg_changed_info");
}

int main(int argc, char **argv) {
  int result;
  if (argc != 3) {
    fprintf(stderr, "usage: %s LINE NAME\n", argv[0]);
    return 2;
  }
  capi_init(NULL, 0, log_line);
  result = change_name((int)strtol(argv[1], NULL, 10), argv[2]);
  if (result == 0) result = tell_of_change();
  capi_uninit();
  if (result != 0) {
    fprintf(stderr, "web_front_end: line %s is not changed\n", argv[1]);
    return 1;
  }
  printf("line %s is %s now\n", argv[1], argv[2]);
  return 0;
}
