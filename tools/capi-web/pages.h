// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The handlers of the pages for people, by what they show. All throw Failures.
#pragma once

#include "app.h"
#include "request.h"
#include "response.h"

namespace tools::web {

Response get_overview_page(const Request& request, App& app);
Response get_calls_page(const Request& request, App& app);
Response get_calls_csv(const Request& request, App& app);
Response get_messages_page(const Request& request, App& app);
Response get_settings_page(const Request& request, App& app);
Response get_section_page(const Request& request, App& app);
Response get_changes_page(const Request& request, App& app);
Response get_diagnostics_page(const Request& request, App& app);
Response get_export_file(const Request& request, App& app);

}  // namespace tools::web
