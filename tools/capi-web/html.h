// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// HTML in which a text is never markup.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tools::web {

// Markup of our own: a literal, which the compiler makes sure of.
class Markup {
 public:
  template <size_t N>
  consteval Markup(const char (&text)[N]) : text_(text), size_(N - 1) {}
  std::string_view text() const { return {text_, size_}; }

 private:
  const char* text_;
  size_t size_;
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
