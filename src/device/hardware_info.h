// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

namespace capi {

// capi_get_hardware_info() without its log line.
int get_hardware_info(int index, char* buf, int len);

}  // namespace capi
