// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "request.h"
#include "response.h"

namespace tools::web {

// The form to log in with: "password", and in "next" the page that was asked for. The message says
// what was wrong; empty for nothing.
Response login_page(const Request& request, std::string_view message, int status);

}  // namespace tools::web
