// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What manufacturing wrote, under the keys of its file: the fields of the record that hold it.
//
// Two ways lead to these values: the master reads the file once into the record
// (record/info_files.h), and the getters of the device fall back on the file
// (device/hardware_info.h). The rows are here so that key and field are paired once.
#pragma once

#include "foundation/paths.h"
#include "record/field.h"

namespace capi {

inline constexpr field_rows::NamedField kHwWanMac =
    CAPI_FIELD_AS("m_mac6_wan_addr", hw_info.wan_mac);
inline constexpr field_rows::NamedField kHwLanMac =
    CAPI_FIELD_AS("m_mac6_lan_addr", hw_info.lan_mac);
inline constexpr field_rows::NamedField kHwVersion = CAPI_FIELD_AS("m_hw_ver", hw_info.version);
inline constexpr field_rows::NamedField kHwSerial = CAPI_FIELD_AS("m_serial", hw_info.serial);
inline constexpr field_rows::NamedField kHwModel = CAPI_FIELD_AS("m_model_name", hw_info.model);
inline constexpr field_rows::NamedField kHwCountry =
    CAPI_FIELD_AS("m_country_code", hw_info.contrycode);
inline constexpr field_rows::NamedField kHwImei = CAPI_FIELD_AS("m_imei0", hw_info.imei0);
inline constexpr field_rows::NamedField kHwCellModule =
    CAPI_FIELD_AS("m_cellular_module", hw_info.cellmodule);
inline constexpr field_rows::NamedField kHwLanguage =
    CAPI_FIELD_AS("m_ui_language", hw_info.language);

}  // namespace capi
