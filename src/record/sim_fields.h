// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The seven SIM values under the keys of "info.simcard", in the order in which callers number them
// and in which that file is written.
//
// The numbers are part of the interface (include/capi/device.h): a new value goes to the end.
#pragma once

#include "record/field.h"

namespace capi {

inline constexpr field_rows::NamedField kNamedSimFields[] = {
    CAPI_FIELD(sim_info, ICCID),      CAPI_FIELD(sim_info, IMSI), CAPI_FIELD(sim_info, IMPI),
    CAPI_FIELD(sim_info, IMS_DOMAIN), CAPI_FIELD(sim_info, IMPU), CAPI_FIELD(sim_info, MSISDN),
    CAPI_FIELD(sim_info, MBDN),
};

inline constexpr const auto& kSimFields = field_rows::kKeyedFields<kNamedSimFields>;

}  // namespace capi
