// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Who may ask for what, and from where.
#pragma once

#include <optional>
#include <string_view>

#include "app.h"
#include "request.h"
#include "response.h"
#include "route.h"

namespace tools::web {

// Whether we may be called so: by an address, which nobody else's name can lead to, as "localhost"
// or by a name that we were given.
bool is_our_host(std::string_view host, const App& app);

// All logins end where another password was set: whoever knew the one before is not to stay.
void end_outdated_logins(App& app);

// Finds whose request it is.
void identify(Request& request, App& app);

// Why a route is not for this request; none where it is.
std::optional<Response> refusal(const Request& request, Access access);

}  // namespace tools::web
