// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration as a JSON document: {"sip_line_1": {"display_name": "Kitchen", "enable": 1}}.
#pragma once

#include <cjson/cJSON.h>

#include "value.h"

namespace tools {

// The values of these keys, which stand section by section; secrets only where they are shown. The
// caller owns it.
cJSON* document_of(const cfg_shared_record& record, const std::vector<const Key*>& keys,
                   Secrets secrets);

// The JSON Schema (draft 2020-12) of such a document with any of the keys. The caller owns it.
cJSON* document_schema();

}  // namespace tools
