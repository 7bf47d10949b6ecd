// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cjson/cJSON.h>

#include "adapter.h"
#include "value.h"

namespace tools {

// All of the adapter: status, settings of one moment, calls and messages. The caller owns it.
cJSON* export_document(const Attachment& adapter, Secrets secrets);

}  // namespace tools
