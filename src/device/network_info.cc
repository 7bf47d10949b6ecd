// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The network as the shared record and the system's own tools know it.

#include <cstdio>
#include <cstring>

#include "capi/device.h"
#include "capi/util.h"
#include "foundation/log.h"
#include "foundation/shell.h"
#include "foundation/text.h"
#include "record/segment_text.h"

namespace capi {
namespace {

constexpr Field kWanMac = CAPI_FIELD_OF(wan_mac);
constexpr Field kWanIp = CAPI_FIELD_OF(wan_ip);
constexpr Field kPublicIp = CAPI_FIELD_OF(public_ip);
constexpr Field kWanInterface = CAPI_FIELD_OF(wan_if_name);
constexpr Field kXcapInterface = CAPI_FIELD_OF(xcap_if_name);
constexpr Field kLteInterface = CAPI_FIELD_OF(lte_if_name);

// The first line that a shell command prints; "format" takes the parameter. A command that does not
// fit is not run at all: what is left of it might do anything.
template <size_t N>
int run_pipeline(const char (&format)[N], const char* parameter, char* buf, int len) {
  char command[512];
  const int length = snprintf(command, sizeof command, format, parameter);
  if (length < 0 || static_cast<size_t>(length) >= sizeof command) return -1;
  return get_linedata_from_pipe(command, 1, buf, len);
}

// Where an address ends a command of sed's may begin, and sed can run programs.
bool may_stand_in_sed_address(const char* text) { return strpbrk(text, "'/\n") == nullptr; }

int ask_for_wan_ip(char* buf, int len) {
  char ifname[16];
  if (capi_get_runtime_wan_interface(ifname, sizeof ifname) != 0) return -1;
  if (buf == nullptr) {
    CAPI_LOG_AS("capi_get_runtime_wan_ip", kLogNotice, "Failed! if_name[%s]", ifname);
    return -1;
  }
  return capi_get_interface_ip(ifname, buf, len);
}

}  // namespace
}  // namespace capi

int capi_get_interface_ip(const char* ifname, char* buf, int len) {
  using namespace capi;
  constexpr size_t kLabel = sizeof "addr:" - 1;
  if (buf == nullptr) return -1;
  memset(buf, 0, buffer_size(len));
  if (ifname == nullptr || ifname[0] == '\0') return -1;
  char line[64];
  if (refuse_unless(may_stand_in_sed_address(ifname), ifname, __func__)) return -1;
  if (run_pipeline("ifconfig | sed -n '/%s/,$p' | sed -n '1,8p' | grep 'inet addr' | "
                   "awk '{print $2}'",
                   ifname, line, sizeof line) != 0) {
    return -1;
  }
  if (strlen(line) < kLabel) return -1;
  copy_text(buf, buffer_size(len), line + kLabel);
  return 0;
}

int capi_get_interface_mac(const char* ifname, char* buf, int len) {
  using namespace capi;
  if (get_segment_text(kWanMac, buf, len) == 0) return 0;
  if (ifname == nullptr || refuse_unquoted(ifname, __func__)) return -1;
  return run_pipeline("ifconfig %s | grep \"HWaddr\" | awk '{ print $5 }'", ifname, buf, len);
}

int capi_get_runtime_wan_ip(char* buf, int len) {
  using namespace capi;
  if (get_segment_text(kWanIp, buf, len) == 0) return 0;
  const int result = ask_for_wan_ip(buf, len);
  if (result == -1) CAPI_LOG(kLogNotice, "Unable to get runtime wan ip!");
  return result;
}

int capi_get_runtime_public_ipaddr(char* buf, int len) {
  using namespace capi;
  return get_segment_text(__func__, "Unable to get public IP address!", kPublicIp, buf, len);
}

int capi_get_runtime_wan_interface(char* buf, int len) {
  using namespace capi;
  CAPI_LOG(kLogErr, "OMG,please fix me\n");
  return get_segment_text(__func__, "get wan interface in runtime failure!", kWanInterface, buf,
                          len);
}

// On this device the baseband is the WAN.
int capi_get_runtime_bb_interface(char* buf, int len) {
  using namespace capi;
  return get_segment_text(__func__, "get wan interface in runtime failure!", kWanInterface, buf,
                          len);
}

int capi_get_runtime_xcap_interface(char* buf, int len) {
  using namespace capi;
  return get_segment_text(__func__, "get xcap interface in runtime failure!", kXcapInterface, buf,
                          len);
}

int capi_get_runtime_3g_interface(char* buf, int len) {
  using namespace capi;
  return get_segment_text(__func__, "get 3g interface in runtime failure!", kLteInterface, buf,
                          len);
}

int capi_get_runtime_process_num(const char* name) {
  using namespace capi;
  constexpr int kCountersOwn = 2;  // grep and its shell
  char line[31];
  if (name == nullptr || refuse_unquoted(name, __func__)) return -1;
  if (run_pipeline("ps | grep %s | wc -l", name, line, sizeof line) != 0) return -1;
  return parse_int32(line) - kCountersOwn;
}
