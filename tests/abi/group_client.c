/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * group_client start | use
 *
 * As the device's master makes all that a library makes, under /tmp/group; or uses that as another
 * process. Says which calls failed, and exits with their number.
 */
#include <capi.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

static int failures;

static void check(int ok, const char *what) {
  if (ok) return;
  printf("failed: %s\n", what);
  ++failures;
}

static void quiet(int level, const char *text) {
  (void)level;
  (void)text;
}

static void start(void) {
  static const char *const kDirs[] = {"work", "data", "log", "nv"};
  const struct capi_callbacks none = {0};
  char key[64];
  size_t i;

  capi_init(&none, 1, quiet);
  for (i = 0; i < sizeof kDirs / sizeof kDirs[0]; ++i) {
    char dir[64];
    snprintf(key, sizeof key, "option_runtime_info_%s_directory", kDirs[i]);
    snprintf(dir, sizeof dir, "/tmp/group/%s", kDirs[i]);
    check(capi_config_set("runtime_info", key, 0, dir) == 0, key);
  }
  capi_post_init(1);
}

static void use(void) {
  struct capi_call_log_record call;
  struct capi_sms_record message;
  struct capi_voice_basic basic;

  check(capi_get_voice_basic(&basic) == 0, "capi_get_voice_basic");
  check(capi_set_voice_basic(&basic) == 0, "capi_set_voice_basic");
  memset(&call, 0, sizeof call);
  check(capi_voip_add_call_log(1, &call) == 0, "capi_voip_add_call_log");
  memset(&message, 0, sizeof message);
  check(capi_voip_sms_add(CAPI_SMS_SENT, &message) == 0, "capi_voip_sms_add");
  check(utils_write_to_file("/tmp/group/data/written", "x", 1) == 1, "utils_write_to_file");
  check(capi_lock_file("/tmp/group/lock") == 0, "capi_lock_file");
  check(capi_unlock_file("/tmp/group/lock") == 0, "capi_unlock_file");
  check(capi_critical_section_lock_stats() == 0, "capi_critical_section_lock_stats");
}

int main(int argc, char **argv) {
  if (argc != 2) return 1;
  if (strcmp(argv[1], "start") == 0) {
    start();
  } else {
    capi_init(NULL, 0, quiet);
  }
  use();
  capi_uninit();
  return failures;
}
