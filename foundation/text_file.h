// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Writing a file as a text in memory that goes out in large pieces. The C library's formatting
// takes many times as long as the copying of the bytes. Write errors go unnoticed.
#pragma once

#include <cstdio>
#include <cstring>
#include <string_view>

#include "foundation/text.h"

namespace capi {

class TextFile {
 public:
  explicit TextFile(FILE* file) : file_(file) { setvbuf(file, nullptr, _IONBF, 0); }
  ~TextFile() { flush(); }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  void add(std::string_view text) {
    while (text.size() > sizeof buffer_ - used_) {
      const std::string_view fitting = head(text, sizeof buffer_ - used_);
      copy(fitting);
      text = tail(text, fitting.size());
      flush();
    }
    copy(text);
  }

  void add(int number) {
    NumberText text;
    add(text.put(number));
  }

  void flush() {
    fwrite(buffer_, 1, used_, file_);
    used_ = 0;
  }

 private:
  void copy(std::string_view text) {
    memcpy(buffer_ + used_, text.data(), text.size());
    used_ += text.size();
  }

  FILE* file_;
  size_t used_ = 0;
  char buffer_[8192];
};

}  // namespace capi
