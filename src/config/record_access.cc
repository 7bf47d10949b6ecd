// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whole records, copied in and out of the segment.

#include <cstring>

#include "capi/backend.h"
#include "capi/config.h"
#include "config/records_at.h"
#include "foundation/log.h"
#include "foundation/member.h"
#include "record/context.h"
#include "record/whole_write.h"

namespace capi {
namespace {

// Callers count records from 1.
bool in_range(const Records& records, int index) { return index >= 1 && index <= records.count; }

// Their arguments are in the order of their many callers', which need not move them.

int read_bytes(void* out, int index, const Records& records) {
  if (out == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& record) {
    if (!in_range(records, index)) return -1;
    memcpy(out, bytes_at(record, records.offset, records.size, index - 1), records.size);
    return 0;
  });
}

int write_bytes(const void* in, int index, const Records& records) {
  if (in == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    if (!in_range(records, index)) return -1;
    const RecordChange change(record, topic_at(records.offset));
    write_whole(bytes_at(*change, records.offset, records.size, index - 1), in, records.size);
    return 0;
  });
}

template <typename Record>
int copy_out(const RecordsOf<Record>& records, Record* out, int index = 1) {
  return read_bytes(out, index, records);
}

template <typename Record>
int copy_in(const RecordsOf<Record>& records, const Record* in, int index = 1) {
  return write_bytes(in, index, records);
}

// Log a failure under a public function's name and hand the result on. Inlined they would be most
// of their many callers' code; and without an index, those end with a jump here.
[[gnu::noinline]] int log_failure(int result, const char* func, int line, const char* message) {
  if (result == -1) capiv2_log_print(kLogWarning, func, line, message, 0);
  return result;
}

[[gnu::noinline]] int log_failure(int result, const char* func, int line, const char* message,
                                  int index) {
  if (result == -1) capiv2_log_print(kLogWarning, func, line, message, index);
  return result;
}

}  // namespace
}  // namespace capi

using namespace capi;

// ---- Backend -----------------------------------------------------------------------------------

int capi_cfg_backend_get_voice_stack(capi_voice_stack* record, int index) {
  return copy_out(CAPI_RECORDS(voice_stack), record, index);
}
int capi_cfg_backend_set_voice_stack(const capi_voice_stack* record, int index) {
  return copy_in(CAPI_RECORDS(voice_stack), record, index);
}
int capi_cfg_backend_get_voice_switch(capi_voice_switch* record) {
  return copy_out(CAPI_RECORDS(voice_switch), record);
}
int capi_cfg_backend_get_system_access(capi_system_access* record) {
  return copy_out(CAPI_RECORDS(system_access), record);
}
int capi_cfg_backend_get_voice_basic(capi_voice_basic* record) {
  return copy_out(CAPI_RECORDS(voice_basic), record);
}
int capi_cfg_backend_set_voice_basic(const capi_voice_basic* record) {
  return copy_in(CAPI_RECORDS(voice_basic), record);
}
int capi_cfg_backend_get_voice_sip_line(capi_voice_sip_line* record, int index) {
  return copy_out(CAPI_RECORDS(sip_line), record, index);
}
int capi_cfg_backend_set_voice_sip_line(const capi_voice_sip_line* record, int index) {
  return copy_in(CAPI_RECORDS(sip_line), record, index);
}
int capi_cfg_backend_get_voice_sip_line_features(capi_voice_sip_line_feature* record, int index) {
  return copy_out(CAPI_RECORDS(sip_line_feature), record, index);
}
int capi_cfg_backend_set_voice_sip_line_features(const capi_voice_sip_line_feature* record,
                                                 int index) {
  return copy_in(CAPI_RECORDS(sip_line_feature), record, index);
}
int capi_cfg_backend_get_voice_parameter(capi_voice_parameter* record) {
  return copy_out(CAPI_RECORDS(voice_parameter), record);
}
int capi_cfg_backend_set_voice_parameter(const capi_voice_parameter* record) {
  return copy_in(CAPI_RECORDS(voice_parameter), record);
}
int capi_cfg_backend_get_slic_parameter(capi_slic_parameter* record) {
  return copy_out(CAPI_RECORDS(slic_parameter), record);
}
int capi_cfg_backend_set_slic_parameter(const capi_slic_parameter* record) {
  return copy_in(CAPI_RECORDS(slic_parameter), record);
}
int capi_cfg_backend_set_voice_call_forward(const capi_voice_call_forward* record, int index) {
  return copy_in(CAPI_RECORDS(call_forward), record, index);
}
int capi_cfg_backend_get_voice_speed_dial(capi_voice_speed_dial* record) {
  return copy_out(CAPI_RECORDS(speed_dial), record);
}
int capi_cfg_backend_set_voice_speed_dial(const capi_voice_speed_dial* record) {
  return copy_in(CAPI_RECORDS(speed_dial), record);
}
int capi_cfg_backend_get_voice_speed_dial30(capi_voice_speed_dial30* record) {
  return copy_out(CAPI_RECORDS(speed_dial30), record);
}
int capi_cfg_backend_set_voice_speed_dial30(const capi_voice_speed_dial30* record) {
  return copy_in(CAPI_RECORDS(speed_dial30), record);
}
int capi_cfg_backend_get_voice_call_white_list(capi_voice_call_white_list* record) {
  return copy_out(CAPI_RECORDS(call_white_list), record);
}
int capi_cfg_backend_get_voice_call_redirection(capi_voice_call_redirection* record) {
  return copy_out(CAPI_RECORDS(call_redirection), record);
}
int capi_cfg_backend_get_voice_sms_cfg(capi_voice_sms_cfg* record) {
  return copy_out(CAPI_RECORDS(sms_cfg), record);
}

// ---- Public ------------------------------------------------------------------------------------

// Hands a result on, logging it when it is -1. The rest is the message and the index in it.
#define RETURN_LOGGING_FAILURE(call, ...) return log_failure(call, __func__, __LINE__, __VA_ARGS__)

int capi_get_system_access(capi_system_access* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_system_access(record),
                         "retrieve system access configuration failure!");
}
int capi_get_voice_stack(capi_voice_stack* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_stack(record, index),
                         "retrieve stack %d configuration of voice failure!", index);
}
int capi_get_voice_switch(capi_voice_switch* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_switch(record),
                         "retrieve switch configuration of voice failure!");
}
int capi_get_voice_basic(capi_voice_basic* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_basic(record),
                         "retrieve basic sip configuration of voice failure!");
}
int capi_get_voice_sip_line(capi_voice_sip_line* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_sip_line(record, index),
                         "retrieve sip line %d configuration of voice failure!", index);
}
int capi_get_voice_sip_line_feature(capi_voice_sip_line_feature* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_sip_line_features(record, index),
                         "retrieve sip line feature %d configuration of voice failure!", index);
}
int capi_get_voice_parameter(capi_voice_parameter* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_parameter(record),
                         "retrieve voice parameter configuration failure!");
}
int capi_get_slic_parameter(capi_slic_parameter* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_slic_parameter(record),
                         "retrieve slic parameter configuration failure!");
}
int capi_get_voice_speed_dial(capi_voice_speed_dial* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_speed_dial(record),
                         "retrieve speed dial configuration of voice failure!");
}
int capi_get_voice_speed_dial30(capi_voice_speed_dial30* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_speed_dial30(record),
                         "retrieve speed dial configuration of voice failure!");
}
int capi_get_voice_call_white_list(capi_voice_call_white_list* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_call_white_list(record),
                         "retrieve call white list configuration of voice failure!");
}
int capi_get_voice_call_redirection(capi_voice_call_redirection* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_call_redirection(record),
                         "retrieve call redirection configuration of voice failure!");
}
int capi_get_voice_sms_cfg(capi_voice_sms_cfg* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_get_voice_sms_cfg(record),
                         "retrieve sms configuration of voice failure!");
}

int capi_get_voice_sip_registration(capi_voice_sip_registration*) {
  RETURN_LOGGING_FAILURE(-1, "retrieve sip registration configuration of voice failure!");
}
int capi_get_voice_sip_server(capi_voice_sip_server*) {
  RETURN_LOGGING_FAILURE(-1, "retrieve sip server configuration of voice failure!");
}
int capi_get_voice_nat(capi_voice_nat*) {
  RETURN_LOGGING_FAILURE(-1, "retrieve sip nat configuration of voice failure!");
}
int capi_get_voice_call_block(capi_voice_call_block*) {
  RETURN_LOGGING_FAILURE(-1, "retrieve call block configuration of voice failure!");
}
int capi_get_voice_profile(void*) {
  RETURN_LOGGING_FAILURE(-1, "retrieve profile configuration of voice failure!");
}
int capi_get_voice_call_forward(capi_voice_call_forward*, int index) {
  RETURN_LOGGING_FAILURE(-1, "retrieve call forward line %d configuration of voice failure!",
                         index);
}

int capi_set_voice_stack(const capi_voice_stack* record, int index) {
  return capi_cfg_backend_set_voice_stack(record, index);
}
int capi_set_voice_basic(const capi_voice_basic* record) {
  return capi_cfg_backend_set_voice_basic(record);
}
int capi_set_voice_sip_line(const capi_voice_sip_line* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_sip_line(record, index),
                         " line index-%d, error", index);
}
int capi_set_voice_sip_line_feature(const capi_voice_sip_line_feature* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_sip_line_features(record, index),
                         " line index-%d, error", index);
}
int capi_set_voice_call_forward(const capi_voice_call_forward* record, int index) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_call_forward(record, index),
                         " line index-%d, error", index);
}
int capi_set_voice_speed_dial(const capi_voice_speed_dial* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_speed_dial(record), " error");
}
int capi_set_voice_speed_dial30(const capi_voice_speed_dial30* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_speed_dial30(record), " error");
}
int capi_set_voice_parameter(const capi_voice_parameter* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_voice_parameter(record), " error");
}
int capi_set_slic_parameter(const capi_slic_parameter* record) {
  RETURN_LOGGING_FAILURE(capi_cfg_backend_set_slic_parameter(record), " error");
}
