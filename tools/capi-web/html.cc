// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "html.h"

#include "text.h"

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

Html& Html::raw(Markup markup) {
  text_ += markup.text();
  return *this;
}

// Characters that HTML cannot have become the sign for that.
Html& Html::text(std::string_view text) {
  for (const char c : json_text(text)) {
    const std::string_view entity = entity_of(c);
    if (!entity.empty()) {
      text_ += entity;
    } else if ((static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t') || c == '\x7f') {
      text_ += "\xef\xbf\xbd";
    } else {
      text_ += c;
    }
  }
  return *this;
}

Html& Html::attr(Markup name, std::string_view value) {
  return raw(" ").raw(name).raw("=\"").text(value).raw("\"");
}

Html& Html::element(Markup name, std::string_view text) {
  return raw("<").raw(name).raw(">").text(text).raw("</").raw(name).raw(">");
}

Html& Html::add(const Html& other) {
  text_ += other.text_;
  return *this;
}

std::string in_address(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    if (is_plain) {
      result += c;
    } else {
      result += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return result;
}

}  // namespace tools::web
