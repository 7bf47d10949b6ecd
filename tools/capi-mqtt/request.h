// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Requests as they arrive, and answers as they leave: docs/fleet-topics.md.
#pragma once

#include <adapter.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tools::mqtt {

constexpr size_t kMaxPayload = 65536;
constexpr int kMaxDepth = 8;
constexpr int kMaxConfirmWithin = 86400;
constexpr int kMaxSpread = 30;
constexpr size_t kMaxCorrelation = 256;

enum class Command { Set, Load, Reset, StackFile, Signal, Confirm, Cancel, Refresh };
constexpr size_t kCommandCount = 8;
const char* name_of(Command command);

// A value for a key, "SECTION.FIELD". A number stays one: it is none of the names of a value.
struct Assignment {
  std::string key;
  std::string value;
  bool is_number;
};

struct Request {
  Command command = Command::Refresh;
  std::string id;
  std::optional<int64_t> expires;  // in seconds since 1970

  std::vector<Assignment> set;
  std::string document;            // JSON
  std::vector<std::string> texts;  // keys, types or params
  std::string name;                // of a signal
  std::string pending;
  bool is_applied = false;
  std::optional<uint64_t> if_generation;
  int confirm_within = 0;  // 0 for no way back
  int spread = 0;
};

// What is wrong, as an element of "errors".
struct Error {
  std::string code;
  std::string message;
  std::string key = {};
  std::string allowed = {};
};
Error error_of(const Failure& failure);

enum class Status { Ok, Refused, Failed, Expired, Busy };
const char* name_of(Status status);

struct Answer {
  std::string id;       // empty for none
  std::string command;  // as in the topic
  Status status = Status::Ok;
  uint64_t generation = 0;
  std::vector<Error> errors = {};
  std::string pending = {};  // the id of the change that waits; empty for none
  int64_t deadline = 0;      // its, in seconds since 1970
};

// Ends a request. Nothing was changed, unless the status is Failed.
class Refusal : public std::exception {
 public:
  Refusal(Status status, Error error) : status_(status), error_(std::move(error)) {}
  const char* what() const noexcept override { return error_.message.c_str(); }
  Status status() const { return status_; }
  const Error& error() const { return error_; }

 private:
  Status status_;
  Error error_;
};

// The id of a request, however wrong the rest of it is; empty where none can be read.
std::string id_of(std::string_view payload);

// Throws a Refusal.
Request parse_request(const std::string& command, std::string_view payload);

// The answer as JSON, of at most 32768 bytes: of very many errors the first ones are told, and of
// very long texts the beginnings.
std::string text_of(const Answer& answer, int64_t now);

// The same with one error instead of all that it has, for a broker that takes no more.
std::string shortened(const std::string& answer);

// The seconds since 1970 of "2026-11-22T05:10:00Z"; none for another text.
std::optional<int64_t> time_of(const std::string& text);

}  // namespace tools::mqtt
