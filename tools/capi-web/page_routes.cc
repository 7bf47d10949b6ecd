// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The pages for people.
#include "app.h"
#include "html.h"
#include "route.h"

namespace tools::web {
namespace {

Response get_overview(const Request&, App& app) {
  Html page;
  page.raw("<!DOCTYPE html>\n<html lang=\"en\"><head><title>Overview</title></head><body><main>");
  page.text(app.link.is_attached() ? "The adapter is up." : "No adapter is up.");
  page.raw("</main></body></html>\n");
  return html(page.take());
}

constexpr Route kRoutes[] = {
    {Method::Get, "/", Access::Reader, get_overview},
};

}  // namespace

Routes page_routes() { return kRoutes; }

}  // namespace tools::web
