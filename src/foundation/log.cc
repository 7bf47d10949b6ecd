// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/log.h"

#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace capi {
namespace {

constexpr size_t kFormatSize = 1024;
constexpr size_t kMessageSize = 2048;

constinit std::atomic<capi_log_sink> log_sink{nullptr};

const char* level_name(int level) {
  static constexpr char kNames[][8] = {"EMERG",   "ALERT",  "CRIT", "ERR",
                                       "WARNING", "NOTICE", "INFO", "DEBUG"};
  if (level < 0 || level > kLogDebug) return "UNK PRIORITY LEVEL";
  return kNames[level];
}

// Puts what stands in front of a message; the level's name only where no sink shows it itself. It
// shares the format's room with the format. Returns its length.
size_t put_prefix(char* to, bool with_level, int level, const char* func, int line) {
  int length = 0;
  if (with_level) length = snprintf(to, kFormatSize, "[%s] ", level_name(level));
  if (func != nullptr) {
    length += snprintf(to + length, kFormatSize - static_cast<size_t>(length), "%s():Line[%d] ",
                       func, line);
  }
  return std::min(static_cast<size_t>(length), kFormatSize - 1);
}

// Few formats are so long that their room on the stack would have to be there for all of them.
[[gnu::noinline]] void expand_head(char* to, size_t size, const char* fmt, size_t length,
                                   va_list args) {
  char cut[kFormatSize];
  *stpncpy(cut, fmt, length) = '\0';
  vsnprintf(to, size, cut, args);
}

// Where the last newline of a text stands, which most end with; else the text's end.
char* line_end(char* text) {
  char* newline = strrchr(text, '\n');
  return newline != nullptr ? newline : strchr(text, '\0');
}

}  // namespace
}  // namespace capi

using namespace capi;

void capiv2_log_init(capi_log_sink sink) { log_sink.store(sink, std::memory_order_release); }

void capiv2_log_print(int level, const char* func, int line, const char* fmt, ...) {
  const ErrnoKeeper keeper;
  const capi_log_sink sink = log_sink.load(std::memory_order_acquire);

  // Only the format is expanded, so that a percent sign in a function's name means itself.
  char message[kMessageSize + 1];  // one for the newline of standard error
  const size_t prefix = put_prefix(message, sink == nullptr, level, func, line);
  message[prefix] = '\0';
  const size_t room = kFormatSize - 1 - prefix;
  va_list args;
  va_start(args, fmt);
  if (fmt != nullptr && strnlen(fmt, kFormatSize) > room) {
    expand_head(message + prefix, kMessageSize - prefix, fmt, room, args);
  } else if (fmt != nullptr) {
    vsnprintf(message + prefix, kMessageSize - prefix, fmt, args);
  }
  va_end(args);

  if (sink == nullptr) {
    syslog(level, "%s", message);
    // Not by fprintf(), which takes 8 KB of stack for a stream without a buffer.
    strcpy(line_end(message), "\n");
    fputs(message, stderr);
  } else {
    *line_end(message) = '\0';
    sink(level, message);
  }
}
