// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/live.h"

#include <iterator>

#include "config/by_name.h"
#include "config/records_at.h"
#include "foundation/member.h"
#include "foundation/text.h"
#include "record/live_read.h"

namespace capi {
namespace {

// In the order of enum capi_record_kind.
constexpr Records kKinds[] = {
    CAPI_RECORDS(sim_info),
    CAPI_RECORDS(hw_info),
    CAPI_RECORDS(serving_cell),
    CAPI_RECORDS(voice_switch),
    CAPI_RECORDS(voice_stack),
    CAPI_RECORDS(voice_basic),
    CAPI_RECORDS(system_access),
    CAPI_RECORDS(sip_line),
    CAPI_RECORDS(sip_line_feature),
    CAPI_RECORDS(voice_parameter),
    CAPI_RECORDS(speed_dial),
    CAPI_RECORDS(speed_dial30),
    CAPI_RECORDS(call_forward),
    CAPI_RECORDS(sip_registration),
    CAPI_RECORDS(sms_cfg),
    CAPI_RECORDS(slic_parameter),
    CAPI_RECORDS(sip_server),
    CAPI_RECORDS(voice_nat),
    CAPI_RECORDS(call_block),
    CAPI_RECORDS(call_white_list),
    CAPI_RECORDS(call_redirection),
    CAPI_RECORDS(cs_reg_stat),
    CAPI_RECORDS(phone_phy_status),
    CAPI_RECORDS(shared_reg_summary),
    CAPI_RECORDS(shared_call_state),
    CAPI_RECORDS(shared_phone_status),
    CAPI_WHOLE(ims_voice),
    CAPI_RECORDS(lte_net_info),
    CAPI_WHOLE(vendor),
};
static_assert(std::size(kKinds) == CAPI_RECORD_VENDOR + 1);

// What there is one of has number 0, or 1: nobody should have to look that up.
bool has_number(const Records& records, int number) {
  return (number >= 1 && number <= records.count) || (number == 0 && records.count == 1);
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_live_get(const char* section, const char* name, char* buf, int size) {
  if (section == nullptr || name == nullptr || buf == nullptr) return -1;
  int result = -1;
  const bool is_attached = read_live([&](const cfg_shared_record& record) {
    result = get_by_name(record, section, name, buf, buffer_size(size)).result;
  });
  return is_attached ? result : -1;
}

int capi_live_read(int kind, int number, void* record, size_t size) {
  if (kind < 0 || static_cast<size_t>(kind) >= std::size(kKinds) || record == nullptr) return -1;
  const Records& records = kKinds[kind];
  if (!has_number(records, number) || size != records.size) return -1;
  const int index = number > 0 ? number - 1 : 0;
  const bool is_attached = read_live([&](const cfg_shared_record& from) {
    copy_live(record, bytes_at(from, records.offset, records.size, index), size);
  });
  return is_attached ? 0 : -1;
}

int capi_live_refresh(cfg_shared_record* snapshot, uint64_t* generation) {
  if (snapshot == nullptr || generation == nullptr) return -1;
  if (is_unchanged(*generation)) return 0;
  const auto copy = [&](const cfg_shared_record& record) {
    copy_live(snapshot, &record, sizeof record);
  };
  return read_live(copy, generation) ? 1 : -1;
}
