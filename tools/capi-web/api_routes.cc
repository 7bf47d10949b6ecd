// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The interface for programs, our own pages' scripts among them (docs/web-api.json).
#include "api.h"
#include "route.h"

namespace tools::web {
namespace {

constexpr Route kRoutes[] = {
    {Method::Get, "/api/1/openapi.json", Access::Reader, get_openapi},
    {Method::Get, "/api/1/json/capictl.json", Access::Reader, get_shapes},
    {Method::Get, "/api/1/status", Access::Reader, get_status},
    {Method::Get, "/api/1/alerts", Access::Reader, get_alerts},
    {Method::Get, "/api/1/carriers", Access::Reader, get_carriers},
    {Method::Get, "/api/1/checks", Access::Reader, get_checks},
    {Method::Get, "/api/1/log", Access::Reader, get_log},
    {Method::Get, "/api/1/export", Access::Reader, get_export},
    {Method::Get, "/api/1/keys", Access::Reader, get_keys},
    {Method::Get, "/api/1/keys/{key}", Access::Reader, get_key},
    {Method::Get, "/api/1/settings", Access::Reader, get_settings},
    {Method::Post, "/api/1/lint", Access::Change, post_lint},
    {Method::Get, "/api/1/calls", Access::Reader, get_calls},
    {Method::Delete, "/api/1/calls", Access::Change, delete_calls},
    {Method::Delete, "/api/1/calls/{type}/{node}", Access::Change, delete_call},
    {Method::Get, "/api/1/call-days", Access::Reader, get_call_days},
    {Method::Post, "/api/1/messages", Access::Change, post_message},
    {Method::Post, "/api/1/messages/read", Access::Change, post_read},
    {Method::Get, "/api/1/messages/{box}", Access::Reader, get_messages},
    {Method::Delete, "/api/1/messages/{box}", Access::Change, delete_messages},
    {Method::Post, "/api/1/messages/{box}/{id}/read", Access::Change, post_message_read},
    {Method::Delete, "/api/1/messages/{box}/{id}", Access::Change, delete_message},
    {Method::Get, "/api/1/changes", Access::Reader, get_changes},
    {Method::Post, "/api/1/changes", Access::Change, post_change},
    {Method::Get, "/api/1/changes/{id}", Access::Reader, get_change},
    {Method::Post, "/api/1/changes/{id}/confirm", Access::Change, post_confirm},
    {Method::Post, "/api/1/changes/{id}/cancel", Access::Change, post_cancel},
};

}  // namespace

Routes api_routes() { return kRoutes; }

}  // namespace tools::web
