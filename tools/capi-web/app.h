// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the handlers share, for the life of the process.
#pragma once

#include "session.h"

namespace tools::web {

struct App {
  Sessions sessions;
  bool is_attached = false;  // whether there is an adapter
};

}  // namespace tools::web
