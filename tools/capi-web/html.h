// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// HTML in which a text is never markup.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tools::web {

// Markup of our own: a literal, which the compiler makes sure of.
class Markup {
 public:
  template <size_t N>
  consteval Markup(const char (&text)[N]) : text_(text, N - 1) {}
  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

class Html {
 public:
  Html() = default;

  // Markup, as it is.
  Html& raw(Markup markup);

  // Text from anywhere, also within the quotes of an attribute.
  Html& text(std::string_view text);

  // An attribute with its blank in front: raw("<a").attr("href", path).raw(">").
  Html& attr(Markup name, std::string_view value);

  // An element with nothing but text in it.
  Html& element(Markup name, std::string_view text);

  // What another writer has written.
  Html& add(const Html& other);

  bool is_empty() const { return text_.empty(); }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// A text as a part of an address: what could mean something there is coded.
std::string in_address(std::string_view text);

}  // namespace tools::web
