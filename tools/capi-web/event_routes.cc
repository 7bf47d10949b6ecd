// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The stream of events. The server makes one of the answer.
#include "app.h"
#include "route.h"

namespace tools::web {
namespace {

Response get_events(const Request& request, App&) {
  if (request.method == Method::Head) return {.type = kEventStream};
  return {.type = kEventStream,
          .is_stream = true,
          .session = request.session->name,
          .last_event = std::string(request.header("last-event-id"))};
}

constexpr Route kRoutes[] = {
    {Method::Get, kEventsPath, Access::Reader, get_events},
};

}  // namespace

Routes event_routes() { return kRoutes; }

}  // namespace tools::web
