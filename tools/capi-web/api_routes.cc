// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The interface for programs, our own pages' scripts among them.
#include "app.h"
#include "route.h"

namespace tools::web {
namespace {

Response get_status(const Request&, App& app) {
  cJSON* const document = cJSON_CreateObject();
  cJSON_AddBoolToObject(document, "attached", app.link.is_attached());
  return json(document);
}

constexpr Route kRoutes[] = {
    {Method::Get, "/api/1/status", Access::Reader, get_status},
};

}  // namespace

Routes api_routes() { return kRoutes; }

}  // namespace tools::web
