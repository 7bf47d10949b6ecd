// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Which handler a request goes to, and what it has to have shown before.
#pragma once

#include <span>

#include "request.h"
#include "response.h"

namespace tools::web {

struct App;

enum class Access : uint8_t {
  Anyone,  // also without a login
  Login,   // a form of our own pages, without a login
  Reader,  // a login or an API token
  Form,    // a form of our own pages that carries the login's token as "token"
  Change,  // JSON from our own pages with the login's token in X-CAPI-Token, or with an API token
};

using Handler = Response (*)(const Request&, App&);

struct Route {
  Method method;
  const char* path;  // "/lines/{line}": a name stands for one part of a path, that is not empty
  Access access;
  Handler handler;
};
using Routes = std::span<const Route>;

inline constexpr char kEventsPath[] = "/api/1/events";

// The rows of each family, in files of their own.
Routes page_routes();
Routes api_routes();
Routes login_routes();
Routes event_routes();
Routes asset_routes();

// Finds the route among those of all families and fills in the request's parts. A HEAD goes where a
// GET would. Null where the path is unknown, or the method: then "allowed" has those that it knows.
const Route* find_route(Request& request, std::string& allowed);

}  // namespace tools::web
