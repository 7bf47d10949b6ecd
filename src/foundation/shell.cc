// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/shell.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "capi/util.h"
#include "foundation/log.h"
#include "foundation/memory.h"
#include "foundation/text.h"

namespace {

constexpr size_t kLineSize = 1024;

// A signal that is handled meanwhile is no end.
int next_character(FILE* file) {
  int c = getc(file);
  while (c == EOF && ferror(file) != 0 && errno == EINTR) {
    clearerr(file);
    c = getc(file);
  }
  return c;
}

// As fgets(), which loses what it had read when a signal comes. False at the end.
bool read_line(FILE* file, char* line, size_t size) {
  size_t length = 0;
  while (length < size - 1 && (length == 0 || line[length - 1] != '\n')) {
    const int c = next_character(file);
    if (c == EOF) break;
    line[length++] = static_cast<char>(c);
  }
  line[length] = '\0';
  return length > 0 && ferror(file) == 0;
}

}  // namespace

bool capi::may_stand_unquoted(const char* text) {
  // A shell with braces makes several words of one.
  if (strpbrk(text, "|&;<>()$`\\\"'*?[{\n\r") != nullptr) return false;
  // The rest would be a comment, or a home directory would take its place.
  for (char before = ' '; *text != '\0'; before = *text++) {
    if ((before == ' ' || before == '\t') && (*text == '#' || *text == '~')) return false;
  }
  return true;
}

bool capi::refuse_unless(bool may_stand, const char* text, const char* func) {
  if (may_stand) return false;
  CAPI_LOG_AS(func, kLogWarning, "not run, a shell would take this for more than text: %s\n", text);
  return true;
}

bool capi::refuse_unquoted(const char* text, const char* func) {
  return refuse_unless(may_stand_unquoted(text), text, func);
}

void capi::run_shell(const char* command) {
  if (system(command) == -1) return;  // a tool that cannot be run goes unnoticed
}

int get_linedata_from_pipe(const char* command, int line_no, char* buf, int len) {
  if (command == nullptr || buf == nullptr || len <= 0) return -1;
  const auto size = static_cast<size_t>(len);
  memset(buf, 0, size);
  const capi::Allocated<char> line(static_cast<char*>(malloc(kLineSize)));
  if (!line) return -1;
  const capi::CommandOutput output(popen(command, "re"));
  if (!output) return -1;

  for (int number = 1; read_line(output.get(), line.get(), kLineSize); ++number) {
    if (number != line_no) continue;
    capi::copy_text(buf, size, capi::without_line_end(line.get()));
    return 0;
  }
  return -1;
}
