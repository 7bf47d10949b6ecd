// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A sentence for people, put together in a caller's buffer, which may be null or too small: what
// does not fit is left out.
#pragma once

#include <cstddef>

namespace capi::keys {

class Sentence {
 public:
  Sentence(char* buf, int size);

  __attribute__((format(printf, 2, 3))) void add(const char* format, ...);

 private:
  char* buf_;
  size_t size_;
  size_t used_ = 0;
};

}  // namespace capi::keys
