// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What all commands share: the options, the ways to end, and the adapter.
#pragma once

#include <capi.h>
#include <sys/types.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace capictl {

enum ExitCode : int {
  kDone = 0,
  kFinding = 1,  // a check found something, or two things differ
  kUsage = 2,
  kFailed = 3,
};

// Ends the program; the text says what is wrong and what to do about it.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Context {
  bool json = false;
  bool verbose = false;  // the library's log goes to standard error
  bool show_secrets = false;
  int exit_code = kDone;

  capi_log_sink log_sink() const;
};

// This process as a client of the adapter, for as long as the object lives.
class Attachment {
 public:
  explicit Attachment(const Context& context);
  ~Attachment();
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;
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

}  // namespace capictl
