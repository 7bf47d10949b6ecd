// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Writing a file as a text in memory that goes out in large pieces. The C library's formatting
// takes many times as long as the copying of the bytes. Write errors go unnoticed.
#pragma once

#include <cstddef>
#include <cstdio>

namespace capi {

class TextFile {
 public:
  explicit TextFile(FILE* file) : file_(file) { setvbuf(file, nullptr, _IONBF, 0); }
  ~TextFile() { flush(); }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  // The longest piece.
  static constexpr size_t kMaxPiece = 8192;

  // A place for a piece of at most so many characters, which is put together there; it counts up to
  // its end.
  char* begin_piece(size_t size) {
    if (size > sizeof buffer_ - used_) flush();
    return buffer_ + used_;
  }
  void end_piece(const char* end) { used_ = static_cast<size_t>(end - buffer_); }

  void flush() {
    fwrite(buffer_, 1, used_, file_);
    used_ = 0;
  }

 private:
  FILE* file_;
  size_t used_ = 0;
  char buffer_[kMaxPiece];
};

}  // namespace capi
