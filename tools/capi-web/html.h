// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// HTML in which a text is never markup.
#pragma once

#include <string>
#include <string_view>

namespace tools::web {

class Html {
 public:
  // Markup of our own, as it is: a literal.
  template <size_t N>
  Html& raw(const char (&markup)[N]) {
    text_.append(markup, N - 1);
    return *this;
  }

  // Text from anywhere, also within the quotes of an attribute.
  Html& text(std::string_view text);

  // What another writer has written.
  Html& add(const Html& other);

  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

}  // namespace tools::web
