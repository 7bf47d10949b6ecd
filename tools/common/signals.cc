// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "signals.h"

#include <capi.h>

#include <algorithm>

#include "adapter.h"
#include "text.h"

namespace tools {
namespace {

constexpr Signal kSignals[] = {
    {"vop_sig_cellular_internet_state_change", "the mobile data connection comes or goes"},
    {"vop_sig_cfg_changed_info", "a setting changed"},
    {"vop_sig_simcard_provisioned_status", "the SIM is provisioned, or not any more"},
    {"vop_sig_timer_expired", "a timer ran out"},
    {"vop_sig_voice_reg_stat", "a line's registration changed"},
    {"vop_sig_voip_app_critical_error", "the voice application is in trouble"},
    {"vop_sig_voip_call_failed", "a call failed"},
    {"vop_sig_voip_call_log_event_updated", "the call log changed; the library posts it"},
    {"vop_sig_voip_call_log_info", "a call for the call log"},
    {"vop_sig_voip_call_sms_info", "a short message, all of it"},
    {"vop_sig_voip_call_state_change", "a line's calls changed"},
    {"vop_sig_voip_csfb_state", "circuit-switched fallback begins or ends"},
    {"vop_sig_voip_e911_address_onoff", "the address for emergency calls"},
    {"vop_sig_voip_pcscf_error", "the registrar's proxy is in trouble"},
    {"vop_sig_voip_phone_status_changed", "a telephone is off or on the hook"},
    {"vop_sig_voip_proxy_connect_status", "the proxy is connected, or not any more"},
    {"vop_sig_voip_register_status", "a line is registered, or not any more"},
    {"vop_sig_voip_simcard_error", "the SIM is in trouble"},
    {"vop_sig_voip_slic_stat", "hooks and faults of the telephones"},
    {"vop_sig_voip_sms_send", "a short message is to be sent"},
    {"vop_sig_voip_sms_send_out", "a stored message waits to be sent; the library posts it"},
    {"vop_sig_voip_sms_updated_out", "the stored messages changed; the library posts it"},
    {"vop_sig_voip_vm_off", "a line has no voice mail any more"},
    {"vop_sig_voip_vm_on", "a line has voice mail"},
    {"vop_sig_vosip_exit_event", "the voice application ends"},
    {"vop_sig_vsdk_service_control", "a service is to start or stop"},
};

}  // namespace

std::span<const Signal> all_signals() { return kSignals; }

std::vector<std::string> signal_names() {
  std::vector<std::string> names;
  for (const Signal& signal : kSignals) names.emplace_back(signal.name);
  return names;
}

void refuse_unknown(const SignalCall& call) {
  const std::vector<std::string> names = signal_names();
  if (std::ranges::find(names, call.name) != names.end()) return;
  throw Failure("no program knows the signal " + call.name + guess(call.name, names) +
                    " All: capictl signal list. --force posts it",
                {kRefused, call.name});
}

void refuse_unsafe(const SignalCall& call) {
  constexpr size_t kMaxLength = 512;
  size_t length = call.name.size();
  if (call.name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789_.-") != std::string::npos) {
    throw Failure("a signal's name has letters, digits, \"_\", \".\" and \"-\" only", {kRefused});
  }
  for (const std::string& param : call.params) {
    length += param.size();
    if (param.find_first_of("'\"\\") != std::string::npos || param != printable(param)) {
      throw Failure(
          "\"" + param + "\" cannot be sent: it holds a quote, a backslash or a control character",
          {kRefused});
    }
  }
  if (length > kMaxLength) {
    throw Failure("name and texts have more than " + std::to_string(kMaxLength) +
                      " characters together; there is no room for them",
                  {kRefused});
  }
}

void post_signal(const SignalCall& call) {
  std::vector<std::string> params = call.params;
  params.resize(3);
  const int result = call.params.empty()
                         ? capi_fire_internal_event(call.name.c_str())
                         : capi_fire_internal_event2(call.name.c_str(), params[0].c_str(),
                                                     params[1].c_str(), params[2].c_str());
  if (result != 0) throw Failure("the signal could not be posted; --verbose tells more");
}

}  // namespace tools
