// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Writing a file as a text in memory that goes out in large pieces. The C library's formatting
// takes many times as long as the copying of the bytes. Write errors go unnoticed.
#pragma once

#include <cstdio>
#include <string_view>

namespace capi {

class TextFile {
 public:
  explicit TextFile(FILE* file);
  ~TextFile();
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  void add(std::string_view text);
  void add(int number);
  void flush();

 private:
  void copy(std::string_view text);

  FILE* file_;
  size_t used_ = 0;
  char buffer_[8192];
};

}  // namespace capi
