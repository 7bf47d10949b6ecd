// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// All of the adapter as tables and documents, for pages and programs.
#pragma once

#include <alerts.h>
#include <cjson/cJSON.h>
#include <stores.h>

#include <vector>

#include "app.h"
#include "html.h"

namespace tools::web {

// What is wrong, also where no adapter is up. Throws nothing of it.
std::vector<Alert> present_alerts(App& app);

// The stores that there are.
inline const Store* const kStores[] = {&kCallLog, &kReceivedMessages, &kSentMessages};

// Where what is held is seen at once, however narrow the window is.
void add_lock_table(Html& html, const Table& locks);

// All of it for who is asked for help, with no secret in it. The caller owns it.
cJSON* support_document(App& app);

}  // namespace tools::web
