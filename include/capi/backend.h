/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The backend under the public calls, for the library's own programs. Each takes and returns what
 * the public call over it does, without its log line; all but setting_item_cb() take lock 0.
 */
#ifndef CAPI_BACKEND_H
#define CAPI_BACKEND_H

#include "capi/api.h"
#include "capi/carrier.h"
#include "capi/lifecycle.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/* Under capi_init(), without the locks being created. Returns 0. */
int capiv2_cfg_backend_init(const struct capi_callbacks *callbacks, int is_master);

/* Under capi_post_init(): creates the runtime directories. Returns 0. */
int capiv2_cfg_backend_post_init(void);

/* Under capi_uninit(). Returns 0. */
int capiv2_cfg_backend_deinit(void);

/* Under capi_config_finish() and capi_init_settings_from_file(). */
int capi_cfg_backend_config_finish(void);
int capi_cfg_backend_init_settings_from_file(const char *path);

/*
 * Applies one item of a setting file to this process's staging copy. A null section is none.
 * Returns 0 when applied or ignored, -1 for a number out of range, a null key or value, or before
 * capi_init(). Takes no lock: the caller holds lock 0.
 */
int setting_item_cb(const char *section, const char *key, const char *value);

/*
 * Copy a runtime directory into "dst", which must hold 256 bytes, and return it; null for a null
 * "dst" or before capi_init(). An nv directory that is not set is the data directory.
 */
char *capiv2_cfg_backend_get_work_dir(char *dst);
char *capiv2_cfg_backend_get_data_dir(char *dst);
char *capiv2_cfg_backend_get_log_dir(char *dst);
char *capiv2_cfg_backend_get_bin_dir(char *dst);
char *capiv2_cfg_backend_get_nv_dir(char *dst);
char *capiv2_cfg_backend_get_ivr_dir(char *dst);

/* Under capi_config_get(), capi_config_set() and capi_make_config_file(). */
int capi_cfg_backend_get_config(const char *section, const char *name, char *buf, int size);
int capi_cfg_backend_set_config(const char *section, const char *name, int size, const char *value);
int capi_cfg_backend_make_config_file(unsigned type);

/*
 * Under the getters and setters of records in capi/config.h that have the same name without
 * "cfg_backend_", "features" being "feature" there.
 */
int capi_cfg_backend_get_voice_stack(struct capi_voice_stack *record, int index);
int capi_cfg_backend_set_voice_stack(const struct capi_voice_stack *record, int index);
int capi_cfg_backend_get_voice_switch(struct capi_voice_switch *record);
int capi_cfg_backend_get_system_access(struct capi_system_access *record);
int capi_cfg_backend_get_voice_basic(struct capi_voice_basic *record);
int capi_cfg_backend_set_voice_basic(const struct capi_voice_basic *record);
int capi_cfg_backend_get_voice_sip_line(struct capi_voice_sip_line *record, int index);
int capi_cfg_backend_set_voice_sip_line(const struct capi_voice_sip_line *record, int index);
int capi_cfg_backend_get_voice_sip_line_features(struct capi_voice_sip_line_feature *record,
                                                 int index);
int capi_cfg_backend_set_voice_sip_line_features(const struct capi_voice_sip_line_feature *record,
                                                 int index);
int capi_cfg_backend_get_voice_parameter(struct capi_voice_parameter *record);
int capi_cfg_backend_set_voice_parameter(const struct capi_voice_parameter *record);
int capi_cfg_backend_get_slic_parameter(struct capi_slic_parameter *record);
int capi_cfg_backend_set_slic_parameter(const struct capi_slic_parameter *record);
int capi_cfg_backend_set_voice_call_forward(const struct capi_voice_call_forward *record,
                                            int index);
int capi_cfg_backend_get_voice_speed_dial(struct capi_voice_speed_dial *record);
int capi_cfg_backend_set_voice_speed_dial(const struct capi_voice_speed_dial *record);
int capi_cfg_backend_get_voice_speed_dial30(struct capi_voice_speed_dial30 *record);
int capi_cfg_backend_set_voice_speed_dial30(const struct capi_voice_speed_dial30 *record);
int capi_cfg_backend_get_voice_call_white_list(struct capi_voice_call_white_list *record);
int capi_cfg_backend_get_voice_call_redirection(struct capi_voice_call_redirection *record);
int capi_cfg_backend_get_voice_sms_cfg(struct capi_voice_sms_cfg *record);

/* Returns 0 when the segment says that the SIM may be used, else 1. */
int capi_cfg_backend_check_simcard(void);

/*
 * Kept for old callers: know no carrier, and log a line that says so. The first returns -1; the
 * second clears "out" and returns 0, or -1 when it is null or the segment not attached.
 */
int capi_cfg_backend_get_carrier_info(const char *imsi, const char *iccid,
                                      struct capi_carrier_info *out);
int capi_cfg_backend_get_carrier_info_ext(const char *name, struct capi_carrier_info *out);

/* Under the calls in capi/runtime.h that have the same name without "cfg_backend_". */
int capi_cfg_backend_get_runtime_line_reg_stat(int line, struct capi_line_reg_stat *record,
                                               int stack);
int capi_cfg_backend_set_runtime_line_reg_stat(int line, struct capi_line_reg_stat *record,
                                               int stack);
int capi_cfg_backend_get_runtime_line_cs_reg_stat(int line, struct capi_line_cs_reg_stat *record);
int capi_cfg_backend_set_runtime_line_cs_reg_stat(int line,
                                                  const struct capi_line_cs_reg_stat *record);
int capi_cfg_backend_get_runtime_line_phone_phy_status(int line, char *buf, int len);
int capi_cfg_backend_set_runtime_line_phone_phy_status(int line, const char *text);
int capi_cfg_backend_set_shared_data(int type, const void *block);

CAPI_END_DECLS

#endif
