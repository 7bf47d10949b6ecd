// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The hardware's facts for the room's other getters.
//
// A fact is asked for in the record, then in the file that manufacturing wrote, then it is a
// constant of the model: there is an answer for nearly every one, on a device that has lost its
// files, too.
//
// Leaves to its callers the line in the log when there is none.
#pragma once

namespace capi {

// capi_get_hardware_info() without its log line.
int get_hardware_info(int index, char* buf, int len);

}  // namespace capi
