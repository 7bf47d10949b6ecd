// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What clients know of the interface without a function that names it: records behind a void
// pointer, numbers behind an int, and limits. Described beside the library, for nothing of it is in
// the library's own description.
#include <capi-keys.h>
#include <capi.h>
#include <capi/thread.h>

extern "C" {

#pragma GCC visibility push(default)

void capi_records(capi_serving_cell_info*, capi_shared_reg_summary*, capi_shared_call_state*,
                  capi_shared_phone_status*) {}

void capi_numbers(capi_config_key_kind, capi_stack_line_condition, capi_hardware_info_index,
                  capi_simcard_info_index, capi_quorble_info_type, capi_lock_id,
                  capi_shared_data_type, capi_param_type, capi_sms_selector, capi_presence_state,
                  capi_record_kind, capi_topic, thrd_result, mtx_type) {}

void capi_keys_numbers(capi_key_format, capi_key_origin, capi_key_check) {}

void capi_limits(decltype(CAPI_CALL_LOG_TYPES), decltype(CAPI_CARRIER_FITS_IMSI),
                 decltype(CAPI_CARRIER_APNS), decltype(CAPI_IPC_ALL_INTERFACES),
                 decltype(CAPI_KEYS_SENTENCE), decltype(CAPI_RUNTIME_DIRS),
                 decltype(CAPI_SIGNAL_CALLS), decltype(CAPI_SMS_MAX_MESSAGES),
                 decltype(CAPI_TOPIC_COUNT)) {}

#pragma GCC visibility pop

}  // extern "C"
