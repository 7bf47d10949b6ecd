// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/text_file.h"

#include <cstring>

#include "foundation/text.h"

namespace capi {

TextFile::TextFile(FILE* file) : file_(file) { setvbuf(file, nullptr, _IONBF, 0); }

TextFile::~TextFile() { flush(); }

void TextFile::add(std::string_view text) {
  while (text.size() > sizeof buffer_ - used_) {
    const std::string_view fitting = head(text, sizeof buffer_ - used_);
    copy(fitting);
    text = tail(text, fitting.size());
    flush();
  }
  copy(text);
}

void TextFile::add(int number) {
  NumberText text;
  add(text.put(number));
}

void TextFile::flush() {
  fwrite(buffer_, 1, used_, file_);
  used_ = 0;
}

void TextFile::copy(std::string_view text) {
  memcpy(buffer_ + used_, text.data(), text.size());
  used_ += text.size();
}

}  // namespace capi
