// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Style, scripts and pictures, which are part of the program.
#include "app.h"
#include "route.h"

namespace tools::web {

Routes asset_routes() { return {}; }

}  // namespace tools::web
