// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The pages for people. None of them changes anything.
#include "pages.h"
#include "route.h"

namespace tools::web {
namespace {

constexpr Route kRoutes[] = {
    {Method::Get, "/", Access::Reader, get_overview_page},
    {Method::Get, "/calls", Access::Reader, get_calls_page},
    {Method::Get, "/calls.csv", Access::Reader, get_calls_csv},
    {Method::Get, "/messages", Access::Reader, get_messages_page},
    {Method::Get, "/settings", Access::Reader, get_settings_page},
    {Method::Get, "/settings/{section}", Access::Reader, get_section_page},
    {Method::Get, "/changes", Access::Reader, get_changes_page},
    {Method::Get, "/diagnostics", Access::Reader, get_diagnostics_page},
    {Method::Get, "/export.json", Access::Reader, get_export_file},
};

}  // namespace

Routes page_routes() { return kRoutes; }

}  // namespace tools::web
