// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/log.h"

#include <syslog.h>

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

// A text that grows as far as its buffer allows.
class Prefix {
 public:
  Prefix(char* out, size_t size) : out_(out), room_(size - 1) { *out_ = '\0'; }

  void add(std::string_view text) {
    const std::string_view fitting = head(text, room_);
    memcpy(out_, fitting.data(), fitting.size());
    out_ += fitting.size();
    room_ -= fitting.size();
    *out_ = '\0';
  }

  void add(int number) {
    NumberText text;
    add(text.put(number));
  }

  char* end() const { return out_; }
  size_t room() const { return room_; }

 private:
  char* out_;
  size_t room_;
};

// Puts what stands in front of a message; the level's name only where no sink shows it itself.
void put_prefix(Prefix& prefix, bool with_level, int level, const char* func, int line) {
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
  char message[kMessageSize];
  Prefix prefix(message, kFormatSize);
  put_prefix(prefix, sink == nullptr, level, func, line);
  char cut[kFormatSize];
  if (fmt != nullptr && strnlen(fmt, kFormatSize) > prefix.room()) {
    *stpncpy(cut, fmt, prefix.room()) = '\0';
    fmt = cut;
  }

  if (fmt != nullptr) {
    va_list args;
    va_start(args, fmt);
    vsnprintf(prefix.end(), kMessageSize - static_cast<size_t>(prefix.end() - message), fmt, args);
    va_end(args);
  }

  if (sink == nullptr) {
    syslog(level, "%s", message);
    cut_last_newline(message);
    fprintf(stderr, "%s\n", message);
  } else {
    cut_last_newline(message);
    sink(level, message);
  }
}
