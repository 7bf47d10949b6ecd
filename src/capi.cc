// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The front door: what a process calls at its start and its end, handed to the rooms in order.

#include "capi.h"

int capi_init(const capi_callbacks* callbacks, int is_master, capi_log_sink log_sink) {
  capiv2_log_init(log_sink);
  if (is_master != 0) capi_critical_section_lock_create();
  capiv2_cfg_backend_init(callbacks, is_master);
  return 0;
}

int capi_post_init(int flag) {
  capiv2_cfg_backend_post_init();
  if (flag != 0) {
    capi_voip_init_call_log_file();
    capi_voip_sms_init();
  }
  return 0;
}

int capi_uninit() {
  capiv2_cfg_backend_deinit();
  return 0;
}

int capi_init_settings_from_file(const char* path) {
  return capi_cfg_backend_init_settings_from_file(path);
}

int capi_config_finish() { return capi_cfg_backend_config_finish(); }

int capi_make_config_file(unsigned type) { return capi_cfg_backend_make_config_file(type); }
