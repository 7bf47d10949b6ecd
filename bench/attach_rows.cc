// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The start and the end of a client, and the posting of a signal.

#include "bench.h"
#include "capi.h"
#include "device.h"
#include "floor.h"

namespace bench {

Rows attach_rows() {
  constexpr char kSignal[] = "vop_sig_voip_call_log_event_updated";
  return {{"post a signal",
           1.10,
           {{"ours", repeat([=] { capi_fire_internal_event(kSignal); })},
            {"floor", repeat([=] {
               const std::string command = std::string(kToolPath) + " signal simple " + kSignal;
               floor::post_event("/tmp/adapter/bin/vsdk_cmd", command.c_str());
             })}},
           Clock::Wall},
          // Last of all, for it leaves this process detached.
          {"attach a client and detach it",
           1.10,
           {{"ours", repeat([] {
               static const capi_callbacks callbacks{};
               capi_uninit();
               capi_init(&callbacks, 0, discard_log);
             })},
            {"floor", repeat(floor::attach_and_detach)}}}};
}

}  // namespace bench
