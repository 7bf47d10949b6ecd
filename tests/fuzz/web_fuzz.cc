// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a browser or anybody else sends: through the gate, decoding, guard and routes, to handlers
// that do nothing but look at what they are handed.

#include <algorithm>
#include <string>

#include "fuzz/support.h"
#include "tools/capi-web/front.h"
#include "tools/capi-web/route.h"

namespace tools::web {
namespace {

using capi::fuzz::require;

// A login that an input may name, so that it comes past the guard.
constexpr char kToken[] = "t0ken";

bool is_text(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

Response look(const Request& request, App&) {
  require(request.path.starts_with('/') && is_text(request.path));
  require(find(request.headers, "host") != nullptr);
  for (const auto& [name, value] : request.parts) require(!name.empty() && !value.empty());
  return json(cJSON_Duplicate(request.json.get(), 1));
}

// Only who has the secret of the login comes here, and whoever changes something its token as well.
Response look_as_reader(const Request& request, App& app) {
  require(request.session != nullptr);
  return look(request, app);
}

Response look_as_writer(const Request& request, App& app) {
  const bool has_token =
      request.header("x-capi-token") == kToken || request.field("token") == kToken;
  require(has_token && request.method != Method::Get && request.method != Method::Head);
  return look_as_reader(request, app);
}

constexpr Route kRoutes[] = {
    {Method::Get, "/", Access::Anyone, look},
    {Method::Post, "/login", Access::Login, look},
    {Method::Get, "/lines/{line}", Access::Reader, look_as_reader},
    {Method::Post, "/logout", Access::Form, look_as_writer},
    {Method::Post, "/api/1/changes", Access::Change, look_as_writer},
    {Method::Delete, "/api/1/calls/{id}/{part}", Access::Change, look_as_writer},
};

}  // namespace

Routes page_routes() { return kRoutes; }
Routes api_routes() { return {}; }
Routes login_routes() { return {}; }
Routes event_routes() { return {}; }
Routes asset_routes() { return {}; }

}  // namespace tools::web

namespace {

using capi::fuzz::require;
using tools::web::Gate;

// In whatever pieces bytes come, the same comes out.
void compare_pieces(std::string_view bytes, const Gate& at_once, std::string_view handed_on) {
  Gate by_piece;
  std::string together;
  const size_t size = bytes.size() % 7 + 1;
  for (size_t i = 0; i < bytes.size(); i += size) together += by_piece.take(bytes.substr(i, size));
  require(by_piece.refusal() == at_once.refusal() && together == handed_on);
}

void answer_all(Gate& gate, tools::web::App& app) {
  for (const tools::web::Message& message : gate.messages()) {
    const tools::web::Response response = tools::web::serve(message, "::1", app);
    require(response.status != 500);
    for (const auto& [name, value] : response.headers) {
      require(value.find_first_of("\r\n") == std::string::npos);
    }
    tools::web::Events events;
    events.open("me", message.target);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static tools::web::App app;
  app.sessions.end_all();
  app.sessions.add({.name = "me", .secret = "s3cret", .token = "t0ken"}, tools::web::now_ms());
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Gate gate;
  const std::string handed_on = gate.take(bytes);
  require(handed_on.size() <= bytes.size() && bytes.starts_with(handed_on));
  compare_pieces(bytes, gate, handed_on);
  answer_all(gate, app);
  return 0;
}
