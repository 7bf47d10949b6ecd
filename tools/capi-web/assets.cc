// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Style, scripts and pictures.
#include "assets.h"

#include <algorithm>

#include "app.h"
#include "route.h"

// In assets.inc stands CAPI_ASSET(symbol, name, path) for each file.
#define CAPI_ASSET(symbol, name, path)                                               \
  extern "C" __attribute__((visibility("hidden"))) const char symbol##_begin[];      \
  extern "C" __attribute__((visibility("hidden"))) const char symbol##_end[];        \
  __asm__(".pushsection .rodata\n" #symbol "_begin:\n.incbin \"" path "\"\n" #symbol \
          "_end:\n.byte 0\n.popsection\n");
#include "assets.inc"
#undef CAPI_ASSET

namespace tools::web {
namespace {

struct Type {
  std::string_view ending;
  const char* type;
};
constexpr Type kTypes[] = {
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", kJson},
    {".svg", "image/svg+xml"},
};

const char* type_of(std::string_view name) {
  const Type* const found =
      std::ranges::find_if(kTypes, [&](const Type& row) { return name.ends_with(row.ending); });
  return found == std::end(kTypes) ? "application/octet-stream" : found->type;
}

// Another content has another tag.
std::string tag_of(std::string_view content) {
  uint64_t hash = 14695981039346656037U;
  for (const char c : content) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return "\"" + std::to_string(hash) + "\"";
}

Response get_asset(const Request& request, App&) {
  const auto all = assets();
  const auto asset = std::ranges::find(all, request.part("name"), &Asset::name);
  if (asset == all.end()) return failure(request, 404, "There is no such file.");
  const std::string tag = tag_of(asset->content);
  Response response{.type = type_of(asset->name), .headers = {{"ETag", tag}}, .is_kept = true};
  if (request.header("if-none-match") == tag) {
    response.status = 304;
  } else {
    response.fixed = asset->content;
  }
  return response;
}

constexpr Route kRoutes[] = {
    {Method::Get, "/assets/{name}", Access::Anyone, get_asset},
};

}  // namespace

std::span<const Asset> assets() {
#define CAPI_ASSET(symbol, name, path) \
  Asset{name, {symbol##_begin, static_cast<size_t>(symbol##_end - symbol##_begin)}},
  static const Asset kAssets[] = {
#include "assets.inc"
      {}  // there may be none
  };
#undef CAPI_ASSET
  return std::span(kAssets).first(std::size(kAssets) - 1);
}

Routes asset_routes() { return kRoutes; }

}  // namespace tools::web
