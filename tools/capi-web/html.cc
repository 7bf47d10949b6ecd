// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "html.h"

namespace tools::web {
namespace {

std::string_view entity_of(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

}  // namespace

Html& Html::text(std::string_view text) {
  for (const char c : text) {
    const std::string_view entity = entity_of(c);
    if (entity.empty()) {
      text_ += c;
    } else {
      text_ += entity;
    }
  }
  return *this;
}

Html& Html::add(const Html& other) {
  text_ += other.text_;
  return *this;
}

}  // namespace tools::web
