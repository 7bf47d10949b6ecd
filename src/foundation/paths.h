// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Paths of the device that more than one room knows. Those that one room knows stand in it.
#pragma once

namespace capi {

// Where files go while no directory is named, which is where the master will put most of them.
inline constexpr char kFallbackDir[] = "/tmp";

// What manufacturing wrote. The locks take their key from it, too: it is there before any of us.
inline constexpr char kManufacturingFile[] = "/tmp/m_data";

}  // namespace capi
