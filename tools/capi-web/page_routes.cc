// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The pages for people. None of them changes anything.
#include "answer.h"
#include "pages.h"
#include "route.h"

namespace tools::web {
namespace {

constexpr Route kRoutes[] = {
    {Method::Get, "/", Access::Reader, guarded<get_overview_page>},
    {Method::Get, "/calls", Access::Reader, guarded<get_calls_page>},
    {Method::Get, "/calls.csv", Access::Reader, guarded<get_calls_csv>},
    {Method::Get, "/messages", Access::Reader, guarded<get_messages_page>},
    {Method::Get, "/settings", Access::Reader, guarded<get_settings_page>},
    {Method::Get, "/settings/{section}", Access::Reader, guarded<get_section_page>},
    {Method::Get, "/changes", Access::Reader, guarded<get_changes_page>},
    {Method::Get, "/diagnostics", Access::Reader, guarded<get_diagnostics_page>},
    {Method::Get, "/export.json", Access::Reader, guarded<get_export_file>},
};

}  // namespace

Routes page_routes() { return kRoutes; }

}  // namespace tools::web
