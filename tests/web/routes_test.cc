// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The table of routes and the description of the interface for programs tell the same.
#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "tools/capi-web/api.h"
#include "tools/capi-web/route.h"

namespace tools::web {
namespace {

constexpr std::string_view kMethods[] = {"get", "head", "post", "delete"};

std::set<std::string> served() {
  std::set<std::string> operations;
  for (const Routes routes : {page_routes(), api_routes(), login_routes(), event_routes()}) {
    for (const Route& route : routes) {
      if (!std::string_view(route.path).starts_with("/api/")) continue;
      operations.insert(std::string(kMethods[static_cast<size_t>(route.method)]) + " " +
                        route.path);
    }
  }
  return operations;
}

Json description() {
  App app;
  return Json(cJSON_Parse(std::string(get_openapi({}, app).fixed).c_str()));
}

template <typename Visit>
void for_each_operation(const cJSON* document, Visit visit) {
  const cJSON* const paths = cJSON_GetObjectItem(document, "paths");
  for (const cJSON* path = paths->child; path != nullptr; path = path->next) {
    for (const cJSON* one = path->child; one != nullptr; one = one->next) visit(path, one);
  }
}

TEST(Routes, AreThoseThatAreDescribed) {
  const Json document = description();
  std::set<std::string> described;
  for_each_operation(document.get(), [&](const cJSON* path, const cJSON* operation) {
    described.insert(std::string(operation->string) + " " + path->string);
  });
  EXPECT_THAT(described, testing::ContainerEq(served()));
}

// Whoever changes something from a page has to show the login's token.
TEST(Routes, AskForWhatIsDescribed) {
  const Json document = description();
  for_each_operation(document.get(), [&](const cJSON* path, const cJSON* operation) {
    Request request{.path = path->string};
    const auto* const method = std::ranges::find(kMethods, std::string_view(operation->string));
    request.method = static_cast<Method>(method - std::begin(kMethods));
    std::string allowed;
    const Route* const route = find_route(request, allowed);
    ASSERT_NE(route, nullptr) << path->string;
    const bool is_change = cJSON_GetObjectItem(operation, "security") != nullptr;
    EXPECT_EQ(route->access, is_change ? Access::Change : Access::Reader) << path->string;
  });
}

TEST(Routes, ReadingChangesNothingAndNeedsALogin) {
  for (const Routes routes : {page_routes(), api_routes()}) {
    for (const Route& route : routes) {
      EXPECT_EQ(route.access, route.method == Method::Get ? Access::Reader : Access::Change)
          << route.path;
    }
  }
}

}  // namespace
}  // namespace tools::web
