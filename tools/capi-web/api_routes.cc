// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The interface for programs, our own pages' scripts among them (docs/web-api.json).
#include "answer.h"
#include "api.h"
#include "route.h"

namespace tools::web {
namespace {

constexpr Route kRoutes[] = {
    {Method::Get, "/api/1/status", Access::Reader, guarded<get_status>},
    {Method::Get, "/api/1/alerts", Access::Reader, guarded<get_alerts>},
    {Method::Get, "/api/1/carriers", Access::Reader, guarded<get_carriers>},
    {Method::Get, "/api/1/checks", Access::Reader, guarded<get_checks>},
    {Method::Get, "/api/1/log", Access::Reader, guarded<get_log>},
    {Method::Get, "/api/1/export", Access::Reader, guarded<get_export>},
    {Method::Get, "/api/1/keys", Access::Reader, guarded<get_keys>},
    {Method::Get, "/api/1/keys/{key}", Access::Reader, guarded<get_key>},
    {Method::Get, "/api/1/settings", Access::Reader, guarded<get_settings>},
    {Method::Post, "/api/1/lint", Access::Change, guarded<post_lint>},
    {Method::Get, "/api/1/calls", Access::Reader, guarded<get_calls>},
    {Method::Delete, "/api/1/calls", Access::Change, guarded<delete_calls>},
    {Method::Delete, "/api/1/calls/{type}/{node}", Access::Change, guarded<delete_call>},
    {Method::Get, "/api/1/call-days", Access::Reader, guarded<get_call_days>},
    {Method::Post, "/api/1/messages", Access::Change, guarded<post_message>},
    {Method::Post, "/api/1/messages/read", Access::Change, guarded<post_read>},
    {Method::Get, "/api/1/messages/{box}", Access::Reader, guarded<get_messages>},
    {Method::Delete, "/api/1/messages/{box}", Access::Change, guarded<delete_messages>},
    {Method::Post, "/api/1/messages/{box}/{id}/read", Access::Change, guarded<post_message_read>},
    {Method::Delete, "/api/1/messages/{box}/{id}", Access::Change, guarded<delete_message>},
    {Method::Get, "/api/1/changes", Access::Reader, guarded<get_changes>},
    {Method::Post, "/api/1/changes", Access::Change, guarded<post_change>},
    {Method::Get, "/api/1/changes/{id}", Access::Reader, guarded<get_change>},
    {Method::Post, "/api/1/changes/{id}/confirm", Access::Change, guarded<post_confirm>},
    {Method::Post, "/api/1/changes/{id}/cancel", Access::Change, guarded<post_cancel>},
};

}  // namespace

Routes api_routes() { return kRoutes; }

}  // namespace tools::web
