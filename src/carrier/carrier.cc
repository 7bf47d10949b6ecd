// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "carrier/carrier.h"

#include <cstring>

#include "capi/backend.h"
#include "capi/device.h"
#include "carrier/carrier_rows.h"
#include "carrier/trial_sim.h"
#include "device/sim_info.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {
namespace {

using carrier_rows::kRows;
using carrier_rows::kTestRow;
using carrier_rows::Row;

constexpr int kSimIdSize = 32;

// The given text, or that of the inserted SIM.
void get_sim_id(char (&id)[kSimIdSize], const char* given, int index) {
  if (given != nullptr) {
    strcpy_safe(id, given, kSimIdSize);
  } else {
    get_sim_info(index, id, kSimIdSize - 1);
  }
}

bool fits_imsi(const Row& row, std::string_view imsi) {
  const std::string_view mcc = kRows.text(row.mcc);
  if (!starts_with(imsi, mcc)) return false;
  return contains(kRows.text(row.mnc_list), head(tail(imsi, mcc.size()), row.mnc_length));
}

bool fits_iccid(const Row& row, std::string_view iccid) {
  const std::string_view prefix = kRows.text(row.iccid_prefix);
  return !prefix.empty() && starts_with(iccid, prefix);
}

const Row* find_row(std::string_view imsi, std::string_view iccid) {
  const Row* first = nullptr;
  for (const Row& row : kRows) {
    if (!fits_imsi(row, imsi)) continue;
    if (fits_iccid(row, iccid)) return &row;
    if (first == nullptr) first = &row;
  }
  return first;
}

const Row* find_row(uint32_t id) {
  for (const Row& row : kRows) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

capi_carrier_info to_record(const Row& row) {
  return {row.id,
          row.attribute1,
          row.attribute2,
          row.mnc_length,
          kRows.text(row.file).data(),
          kRows.text(row.iccid_prefix).data(),
          kRows.text(row.mcc).data(),
          kRows.text(row.mnc_list).data()};
}

// A SIM that is tried out stands for a carrier that the device knows.
bool find_trial_carrier(std::string_view imsi, capi_carrier_info& out) {
  TrialSim sim;
  if (!read_trial_sim(sim)) return false;
  const Row* row = find_row(sim.id);
  if (row == nullptr || !sim.has_network_of(imsi)) return false;
  out = to_record(*row);
  out.mnc_length = static_cast<uint32_t>(strlen(sim.mnc));
  return true;
}

}  // namespace

int find_carrier(const char* imsi, const char* iccid, capi_carrier_info& out) {
  out = {};
  char own_imsi[kSimIdSize] = {};
  char own_iccid[kSimIdSize] = {};
  get_sim_id(own_imsi, imsi, CAPI_SIM_IMSI);
  get_sim_id(own_iccid, iccid, CAPI_SIM_ICCID);
  if (own_imsi[0] == '\0' || own_iccid[0] == '\0') {
    CAPI_LOG_AS("capi_get_carrier_info", kLogWarning, "no imsi or iccid data\n");
    return -1;
  }
  if (const Row* row = find_row(own_imsi, own_iccid)) {
    out = to_record(*row);
    return 0;
  }
  if (find_trial_carrier(own_imsi, out)) return 0;
  out = to_record(kTestRow);
  return -1;
}

}  // namespace capi

using namespace capi;

int capi_get_carrier_info(const char* imsi, const char* iccid, capi_carrier_info* out) {
  return out != nullptr ? find_carrier(imsi, iccid, *out) : -1;
}

int capi_get_carrier_info_ext(const char* name, capi_carrier_info* out) {
  if (name == nullptr || name[0] == '\0') {
    CAPI_LOG(kLogWarning, "Invalid carrier file\n");
    return -1;
  }
  if (out == nullptr) return -1;
  for (const Row& row : kRows) {
    if (!contains(kRows.text(row.file), name)) continue;
    *out = to_record(row);
    return 0;
  }
  return capi_cfg_backend_get_carrier_info_ext(name, out);
}

int capi_carrier_for_each(const char* imsi, const char* iccid, capi_carrier_cb callback,
                          void* user) {
  if (callback == nullptr) return -1;
  for (const Row& row : kRows) {
    int fits = 0;
    if (imsi != nullptr && fits_imsi(row, imsi)) fits |= CAPI_CARRIER_FITS_IMSI;
    if (iccid != nullptr && fits_iccid(row, iccid)) fits |= CAPI_CARRIER_FITS_ICCID;
    const capi_carrier_info carrier = to_record(row);
    if (const int result = callback(&carrier, fits, user)) return result;
  }
  return 0;
}

int capi_cfg_backend_get_carrier_info(const char*, const char*, capi_carrier_info*) {
  CAPI_LOG(kLogErr, "OMG,please fix me\n");
  const CriticalSection section(kConfShmLock);
  return -1;
}

int capi_cfg_backend_get_carrier_info_ext(const char*, capi_carrier_info* out) {
  CAPI_LOG(kLogErr, "OMG,please fix me\n");
  if (out == nullptr) return -1;
  *out = {};
  return with_shared_record([](const cfg_shared_record&) { return 0; });
}
