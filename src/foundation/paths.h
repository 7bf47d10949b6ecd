// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Paths of the device that more than one room knows. Those that one room knows stand in it.
#pragma once

namespace capi {

// Each source has its own, which is shorter than the way to one that all share.

// Where files go while no directory is named, which is where the master will put most of them.
constexpr char kFallbackDir[] = "/tmp";

// What manufacturing wrote. The locks take their key from it, too: it is there before any of us.
constexpr char kManufacturingFile[] = "/tmp/m_data";

}  // namespace capi
