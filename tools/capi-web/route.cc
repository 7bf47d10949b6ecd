// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "route.h"

#include <algorithm>

namespace tools::web {
namespace {

std::string_view first_part(std::string_view& path) {
  const size_t end = std::min(path.find('/'), path.size());
  const std::string_view part = path.substr(0, end);
  path.remove_prefix(std::min(end + 1, path.size()));
  return part;
}

bool is_name(std::string_view part) { return part.size() > 2 && part.front() == '{'; }

// Part by part. A path that ends with "/" has an empty part more.
bool matches(std::string_view pattern, std::string_view path, Fields& parts) {
  if (std::ranges::count(pattern, '/') != std::ranges::count(path, '/')) return false;
  while (!pattern.empty() || !path.empty()) {
    const std::string_view wanted = first_part(pattern);
    const std::string_view given = first_part(path);
    if (!is_name(wanted)) {
      if (wanted != given) return false;
      continue;
    }
    if (given.empty()) return false;
    parts.emplace_back(wanted.substr(1, wanted.size() - 2), given);
  }
  return true;
}

constexpr const char* kMethodNames[] = {"GET", "HEAD", "POST", "DELETE"};

void allow(std::string& allowed, Method method) {
  const char* const name = kMethodNames[static_cast<size_t>(method)];
  if (allowed.find(name) != std::string::npos) return;
  allowed += allowed.empty() ? "" : ", ";
  allowed += name;
  if (method == Method::Get) allowed += ", HEAD";
}

}  // namespace

const Route* find_route(Request& request, std::string& allowed) {
  const Method method = request.method == Method::Head ? Method::Get : request.method;
  for (const Routes routes :
       {page_routes(), api_routes(), login_routes(), event_routes(), asset_routes()}) {
    for (const Route& route : routes) {
      Fields parts;
      if (!matches(route.path, request.path, parts)) continue;
      if (route.method == method) {
        request.parts = std::move(parts);
        return &route;
      }
      allow(allowed, route.method);
    }
  }
  return nullptr;
}

}  // namespace tools::web
