// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/assembly.h"

#include "foundation/log.h"

namespace capi {
namespace {

enum Flag : int32_t { kNothing = 0, kDescription = 1, kStatistics = 2 };

int refuse_flag(int32_t flag, const char* func) {
  CAPI_LOG_AS(func, kLogWarning, "Invalid call_log_entry_body_flag %d !", flag);
  return -1;
}

}  // namespace

int take_description(CallAssembly& assembly, unsigned type, const capi_call_log_record& record,
                     CallAdder add) {
  static constexpr char kFunc[] = "capi_voip_add_call_log1";
  switch (assembly.flag) {
    case kDescription:
      CAPI_LOG_AS(kFunc, kLogWarning, "call_log_entry_body1 to be replaced!");
      [[fallthrough]];
    case kNothing:
      assembly.body1 = record;
      assembly.body1.calltype = type;
      assembly.flag = kDescription;
      return 0;
    case kStatistics: {
      const capi_call_log_statistics kept = assembly.body2.statistics;
      assembly.body2 = record;
      assembly.body2.calltype = type;
      assembly.body2.statistics = kept;
      assembly.flag = kNothing;
      return add(type, &assembly.body2);
    }
    default:
      return refuse_flag(assembly.flag, kFunc);
  }
}

int take_statistics(CallAssembly& assembly, const capi_call_log_record& record, CallAdder add) {
  static constexpr char kFunc[] = "capi_voip_add_call_log2";
  switch (assembly.flag) {
    case kStatistics:
      CAPI_LOG_AS(kFunc, kLogWarning, "call_log_entry_body2 to be replaced!");
      [[fallthrough]];
    case kNothing:
      assembly.body2 = record;
      assembly.flag = kStatistics;
      return 0;
    case kDescription:
      assembly.body1.statistics = record.statistics;
      assembly.flag = kNothing;
      return add(assembly.body1.calltype, &assembly.body1);
    default:
      return refuse_flag(assembly.flag, kFunc);
  }
}

}  // namespace capi
