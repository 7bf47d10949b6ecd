// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The values of a carrier's configuration file.

#include <cstdio>
#include <cstring>
#include <iterator>

#include "carrier/carrier.h"
#include "foundation/line_lookup.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/segment_text.h"

namespace capi {
namespace {

constexpr char kApnKeys[][16] = {"enable",   "type",     "network_type", "name",
                                 "authtype", "username", "password"};
static_assert(std::size(kApnKeys) == CAPI_CARRIER_APN_KEYS);

struct KeyName {
  char text[32];
};

KeyName key_name(unsigned index) {
  if (index == 0) return {"apn_num"};
  unsigned apn = 1;
  unsigned key = index - 1;
  for (; key >= CAPI_CARRIER_APN_KEYS; key -= CAPI_CARRIER_APN_KEYS) ++apn;
  KeyName name{};
  snprintf(name.text, sizeof name.text, "apn%u_%s", apn, kApnKeys[key]);
  return name;
}

int get_value(const char* path, unsigned index, char* buf, int len) {
  if (index >= CAPI_CARRIER_KEYS || buf == nullptr) return -1;
  char value[256] = {};
  if (!look_up_line(path, key_name(index).text, value, sizeof value)) return -1;
  copy_text(buf, buffer_size(len), value);
  return 0;
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_get_carrier_cfg(const char* imsi, const char* iccid, unsigned index, char* buf, int len) {
  if (buf != nullptr) memset(buf, 0, buffer_size(len));
  capi_carrier_info carrier{};
  if (find_carrier(imsi, iccid, carrier) != 0) {
    CAPI_LOG(kLogWarning, "Can't get carrier file!");
    return -1;
  }
  const int result = get_value(carrier.file, index, buf, len);
  if (result == -1) CAPI_LOG(kLogNotice, "Can't get carrier cfg, index %d error!", index);
  return result;
}
