// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Keys as fields of forms.
#pragma once

#include <key_facts.h>

#include <vector>

#include "html.h"

namespace tools::web {

// A form for each section that the keys are of, with what is known of each. Without a record the
// fields cannot be written to.
void add_forms(Html& html, const std::vector<const Key*>& keys, const cfg_shared_record* record,
               const std::vector<SourceFile>& files);

}  // namespace tools::web
