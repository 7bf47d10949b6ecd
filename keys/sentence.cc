// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/sentence.h"

#include <cstdarg>
#include <cstdio>

namespace capi::keys {

Sentence::Sentence(char* buf, int size)
    : buf_(buf), size_(buf != nullptr && size > 0 ? static_cast<size_t>(size) : 0) {
  if (size_ > 0) buf_[0] = '\0';
}

void Sentence::add(const char* format, ...) {
  if (size_ < used_ + 2) return;  // no room but for the terminator
  va_list args;
  va_start(args, format);
  const int length = vsnprintf(buf_ + used_, size_ - used_, format, args);
  va_end(args);
  if (length < 0) return;
  used_ += static_cast<size_t>(length);
  if (used_ >= size_) used_ = size_ - 1;
}

}  // namespace capi::keys
