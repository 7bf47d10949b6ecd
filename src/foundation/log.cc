// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/log.h"

#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "foundation/text.h"

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

// A text that grows as far as its buffer has room for it and a terminator.
class Text {
 public:
  Text(char* begin, size_t size) : end_(begin), limit_(begin + size - 1) {}

  void add(std::string_view text) {
    const std::string_view fitting = head(text, room());
    memcpy(end_, fitting.data(), fitting.size());
    end_ += fitting.size();
  }

  void add(int number) {
    NumberText text;
    add(text.put(number));
  }

  char* end() const { return end_; }
  size_t room() const { return static_cast<size_t>(limit_ - end_); }

 private:
  char* end_;
  char* limit_;
};

// Puts what stands in front of a message; the level's name only where no sink shows it itself.
void put_prefix(Text& prefix, bool with_level, int level, const char* func, int line) {
  if (with_level) {
    prefix.add("[");
    prefix.add(level_name(level));
    prefix.add("] ");
  }
  if (func == nullptr) return;
  prefix.add(func);
  prefix.add("():Line[");
  prefix.add(line);
  prefix.add("] ");
}

// Expands what most formats consist of, as vsnprintf() does but in a fraction of its time: reading
// a value is logged, too. False at the first conversion of another kind.
bool expand(Text& text, const char* fmt, va_list args) {
  for (;;) {
    const char* percent = strchrnul(fmt, '%');
    text.add({fmt, static_cast<size_t>(percent - fmt)});
    if (*percent == '\0') return true;
    size_t bound = text.room();
    fmt = percent + 2;
    if (percent[1] == 'd') {
      text.add(va_arg(args, int));
      continue;
    }
    if (percent[1] == '.' && percent[2] == '*' && percent[3] == 's') {
      const int precision = va_arg(args, int);
      if (precision >= 0) bound = std::min(bound, static_cast<size_t>(precision));
      fmt = percent + 4;
    } else if (percent[1] != 's') {
      return false;
    }
    const char* value = va_arg(args, const char*);
    if (value == nullptr) return false;
    text.add(bounded(value, bound));
  }
}

// Cuts a message at its last newline, which most end with.
void cut_last_newline(const char* message, char* end) {
  while (end != message) {
    if (*--end != '\n') continue;
    *end = '\0';
    return;
  }
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
  char message[kMessageSize];
  Text prefix(message, kFormatSize);
  put_prefix(prefix, sink == nullptr, level, func, line);
  char cut[kFormatSize];
  if (fmt == nullptr) {
    fmt = "";
  } else if (strnlen(fmt, kFormatSize) > prefix.room()) {
    *stpncpy(cut, fmt, prefix.room()) = '\0';
    fmt = cut;
  }

  const size_t room = kMessageSize - static_cast<size_t>(prefix.end() - message);
  Text text(prefix.end(), room);
  va_list args;
  va_start(args, fmt);
  const bool expanded = expand(text, fmt, args);
  va_end(args);
  char* end = text.end();
  *end = '\0';
  if (!expanded) {
    va_start(args, fmt);
    vsnprintf(prefix.end(), room, fmt, args);
    va_end(args);
    end = strchr(prefix.end(), '\0');
  }

  if (sink == nullptr) {
    syslog(level, "%s", message);
    cut_last_newline(message, end);
    fprintf(stderr, "%s\n", message);
  } else {
    cut_last_newline(message, end);
    sink(level, message);
  }
}
