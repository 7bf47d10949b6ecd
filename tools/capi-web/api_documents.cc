// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The description of the interface, which is part of the program.
#include "api.h"

#define CAPI_DOCUMENT(symbol, path)                                                           \
  extern "C" __attribute__((visibility("hidden"))) const char capi_web_##symbol##_begin[];    \
  extern "C" __attribute__((visibility("hidden"))) const char capi_web_##symbol##_end[];      \
  __asm__(".pushsection .rodata\ncapi_web_" #symbol "_begin:\n.incbin \"" CAPI_DOCUMENTS path \
          "\"\ncapi_web_" #symbol "_end:\n.byte 0\n.popsection\n");
CAPI_DOCUMENT(openapi, "/web-api.json")
CAPI_DOCUMENT(shapes, "/json/capictl.json")
#undef CAPI_DOCUMENT

namespace tools::web {
namespace {

Response document(const char* begin, const char* end) {
  return {.type = kJson, .fixed = {begin, static_cast<size_t>(end - begin)}};
}

}  // namespace

Response get_openapi(const Request&, App&) {
  return document(capi_web_openapi_begin, capi_web_openapi_end);
}

Response get_shapes(const Request&, App&) {
  return document(capi_web_shapes_begin, capi_web_shapes_end);
}

}  // namespace tools::web
