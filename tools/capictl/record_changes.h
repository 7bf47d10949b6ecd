// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What differs between two snapshots, a line a change.
#pragma once

#include "change_line.h"

namespace tools::capictl {

// Of these topics; what cannot be told in detail is told as "changed".
ChangeLines record_changes(const cfg_shared_record& before, const cfg_shared_record& now,
                           unsigned topics, const Context& context);

// Those of CAPI_TOPIC_LINES.
ChangeLines line_changes(const cfg_shared_record& before, const cfg_shared_record& now);

}  // namespace tools::capictl
