// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/shell.h"

#include <cstdlib>
#include <cstring>

#include "capi/util.h"
#include "foundation/text.h"

namespace {

constexpr size_t kLineSize = 1024;

struct Freer {
  void operator()(void* memory) const { free(memory); }
};

}  // namespace

void capi::run_shell(const char* command) {
  if (system(command) == -1) return;  // a tool that cannot be run goes unnoticed
}

int get_linedata_from_pipe(const char* command, int line_no, char* buf, int len) {
  if (command == nullptr || buf == nullptr || len <= 0) return -1;
  const auto size = static_cast<size_t>(len);
  memset(buf, 0, size);
  const std::unique_ptr<char, Freer> line(static_cast<char*>(malloc(kLineSize)));
  if (!line) return -1;
  const capi::Pipe pipe(popen(command, "r"));
  if (!pipe) return -1;

  for (int number = 1; fgets(line.get(), kLineSize, pipe.get()) != nullptr; ++number) {
    if (number != line_no) continue;
    capi::copy_text(buf, size, capi::without_line_end(line.get()));
    return 0;
  }
  return -1;
}
