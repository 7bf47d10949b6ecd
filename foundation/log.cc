// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/log.h"

#include <syslog.h>

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

// Writes what stands in front of a message; the level's name only where no sink shows it itself.
// Returns the length, at most size - 1.
size_t put_prefix(char* out, size_t size, bool with_level, int level, const char* func, int line) {
  int length = 0;
  if (with_level && func != nullptr) {
    length = snprintf(out, size, "[%s] %s():Line[%d] ", level_name(level), func, line);
  } else if (with_level) {
    length = snprintf(out, size, "[%s] ", level_name(level));
  } else if (func != nullptr) {
    length = snprintf(out, size, "%s():Line[%d] ", func, line);
  }
  if (length <= 0) return 0;
  return static_cast<size_t>(length) < size ? static_cast<size_t>(length) : size - 1;
}

void cut_last_newline(char* text) {
  if (char* newline = strrchr(text, '\n')) *newline = '\0';
}

}  // namespace
}  // namespace capi

void capiv2_log_init(capi_log_sink sink) { capi::log_sink.store(sink, std::memory_order_release); }

void capiv2_log_print(int level, const char* func, int line, const char* fmt, ...) {
  using namespace capi;
  const ErrnoKeeper keeper;
  const capi_log_sink sink = log_sink.load(std::memory_order_acquire);

  // Prefix and format share one buffer's worth of characters; only the format is expanded, so that
  // a percent sign in a function's name means itself.
  char message[kMessageSize] = {};
  const size_t prefix = put_prefix(message, kFormatSize, sink == nullptr, level, func, line);
  char format[kFormatSize] = {};
  if (fmt != nullptr) strncpy(format, fmt, kFormatSize - 1 - prefix);

  va_list args;
  va_start(args, fmt);
  vsnprintf(message + prefix, kMessageSize - prefix, format, args);
  va_end(args);

  if (sink == nullptr) {
    syslog(level, "%s", message);
    cut_last_newline(message);
    fprintf(stderr, "%s\n", message);
  } else {
    cut_last_newline(message);
    sink(level, message);
  }
}
