// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/line_lookup.h"

#include "foundation/file.h"
#include "foundation/text.h"

namespace capi {

bool look_up_line(FILE* file, std::string_view key, char* buf, size_t size) {
  char line[1024];
  while (fgets(line, sizeof line, file) != nullptr) {
    const std::string_view text = without_line_end(line);
    if (!starts_with(text, key) || !starts_with(tail(text, key.size()), "=")) continue;
    copy_text(buf, size, tail(text, key.size() + 1));
    return true;
  }
  return false;
}

bool look_up_line(const char* path, std::string_view key, char* buf, size_t size) {
  const File file = open_file(path, "r");
  return file && look_up_line(file.get(), key, buf, size);
}

}  // namespace capi
