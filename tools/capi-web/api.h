// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The handlers of the interface for programs, by what they are about. All throw Failures.
#pragma once

#include "app.h"
#include "request.h"
#include "response.h"

namespace tools::web {

Response get_openapi(const Request& request, App& app);
Response get_shapes(const Request& request, App& app);

Response get_status(const Request& request, App& app);
Response get_alerts(const Request& request, App& app);
Response get_carriers(const Request& request, App& app);
Response get_checks(const Request& request, App& app);
Response get_log(const Request& request, App& app);
Response get_export(const Request& request, App& app);

Response get_keys(const Request& request, App& app);
Response get_key(const Request& request, App& app);
Response get_settings(const Request& request, App& app);
Response post_lint(const Request& request, App& app);

Response get_calls(const Request& request, App& app);
Response get_call_days(const Request& request, App& app);
Response delete_calls(const Request& request, App& app);
Response delete_call(const Request& request, App& app);

Response get_messages(const Request& request, App& app);
Response post_message(const Request& request, App& app);
Response post_read(const Request& request, App& app);
Response post_message_read(const Request& request, App& app);
Response delete_messages(const Request& request, App& app);
Response delete_message(const Request& request, App& app);

Response get_changes(const Request& request, App& app);
Response get_change(const Request& request, App& app);
Response post_change(const Request& request, App& app);
Response post_confirm(const Request& request, App& app);
Response post_cancel(const Request& request, App& app);

}  // namespace tools::web
