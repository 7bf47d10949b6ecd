// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capi-web: the adapter in a browser.
#include <cstdio>

#include "app.h"
#include "route.h"

int main() {
  using namespace tools::web;
  App app;
  Request request{.path = "/"};
  std::string allowed;
  const Route* const route = find_route(request, allowed);
  if (route == nullptr) return 1;
  fputs(route->handler(request, app).body.c_str(), stdout);
  return 0;
}
