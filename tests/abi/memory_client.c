/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/* A client as small as can be, or the same without the library. Prints how many KiB of memory
 * belong to it alone and cannot be dropped; as "master" it stays until its input ends. */
#include <stdio.h>
#include <string.h>

#ifdef WITH_LIBRARY
#include "capi.h"

static int use_library(int is_master) {
  const struct capi_callbacks none = {0};
  char value[64];
  capi_init(&none, is_master, NULL);
  return capi_config_get("sip_line_1", "option_sip_line_enable", value, sizeof value);
}
#else
static int use_library(int is_master) { return is_master; }
#endif

static int private_dirty_kib(void) {
  char line[256];
  int kib = -1;
  FILE *file = fopen("/proc/self/smaps_rollup", "r");
  if (file == NULL) return -1;
  while (fgets(line, sizeof line, file) != NULL &&
         sscanf(line, "Private_Dirty: %d kB", &kib) != 1) {
  }
  fclose(file);
  return kib;
}

int main(int argc, char **argv) {
  const int is_master = argc > 1 && strcmp(argv[1], "master") == 0;
  if (use_library(is_master) != 0) return 1;
  printf("%d\n", private_dirty_kib());
  fflush(stdout);
  if (is_master) getchar();
  return 0;
}
