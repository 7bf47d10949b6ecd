// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Logging in and out, and the tokens of programs.
#include "app.h"
#include "route.h"

namespace tools::web {

Routes login_routes() { return {}; }

}  // namespace tools::web
