// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// This process and the adapter: attaching to it, and the ways in which that and all else may end.
#pragma once

#include <capi.h>
#include <sys/types.h>

#include <cstring>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace tools {

enum ExitCode : int {
  kDone = 0,
  kFailed = 1,
  kFinding = kFailed,  // a check found something, or two things differ
  kUsage = 2,
  kNotFound = 3,
  kRefused = 4,
  kNoAdapter = 5,
  kTimedOut = 6,
};

// What the codes mean, in their order. The names are those of errors in JSON.
struct ExitCodeRow {
  const char* name;
  const char* meaning;
};
inline constexpr ExitCodeRow kExitCodes[] = {
    {"done", "done"},
    {"failed", "it failed, or something was found (lint, check) or differs (diff)"},
    {"usage", "the command line is wrong"},
    {"not_found", "there is no such key, call, message or file"},
    {"refused", "a check refused it; nothing was changed"},
    {"no_adapter", "no adapter is up"},
    {"timed_out", "a lock was not free in time"},
};

// What else a program wants to know of a failure. Empty texts are left out.
struct Why {
  ExitCode code = kFailed;
  std::string key = {};      // what it is about, as it was given
  std::string allowed = {};  // what would be right
  std::string name = {};     // a finer name than that of the exit code
};

// Ends what somebody wanted; the text says what is wrong and what to do about it.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, Why why = {})
      : std::runtime_error(text), why_(std::move(why)) {}
  const Why& why() const { return why_; }

 private:
  Why why_;
};

// Where the library's log goes: to standard error, or nowhere.
void print_log(int level, const char* text);
void ignore_log(int level, const char* text);

// What a caller has to have of the adapter.
enum class Need {
  Adapter,  // all of it
  Record    // a look at the record is better than nothing
};

// This process as a client of the adapter, for as long as the object lives. Attaching takes lock 0:
// somebody who holds it for long is told of, and then the record may still be looked at.
class Attachment {
 public:
  // Waits for these locks, too, so that what is done with them need not wait. Throws a Failure.
  explicit Attachment(capi_log_sink log, Need need = Need::Adapter,
                      std::initializer_list<unsigned> locks = {});
  ~Attachment();
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

  // False when there is nothing but the record, and no library to ask.
  bool is_whole() const { return peeked_ == nullptr; }

  // The record, without a lock.
  cfg_shared_record snapshot() const;

 private:
  std::unique_ptr<cfg_shared_record> peeked_;
};

// A copy of the whole record.
cfg_shared_record take_snapshot();

// Whether a master has filled the record.
bool is_started(const cfg_shared_record& record);

// The content of a file of up to 16 MiB, far more than any that the adapter has. False, and errno,
// when it cannot be read.
bool read_file(const std::string& path, std::string& content);

// The same; throws a Failure.
std::string read_file(const std::string& path);

// Replaces a file by this content, or leaves it as it was and throws: it is written whole, to the
// medium, before it gets its name. What is no regular file is written to.
void replace_file(const std::string& path, const std::string& content, mode_t mode = 0666);

// A text in a field of a record, which may lack its terminator.
template <size_t N>
std::string text_of(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

}  // namespace tools
