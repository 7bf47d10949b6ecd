// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Requests as bytes: only what has one meaning is let through. There is one reader of them, so that
// nothing is checked in one sense and used in another.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

#include "request.h"

namespace tools::web {

// A request that is whole, with nothing in it decoded yet.
struct Message {
  std::string method;
  std::string target;  // begins with one "/"
  Fields headers;      // names in small letters
  std::string body;
};

// Reads a head with its empty line. Returns 0, or the status that refuses it: 400, 411, 413, 417,
// 501 or 505. "length" is that of the body, which comes behind.
int read_head(std::string_view head, Message& message, size_t& length);

inline constexpr size_t kMaxHead = 8192;
inline constexpr size_t kMaxBody = 65536;

// What arrives on a connection, until it makes whole requests.
class Gate {
 public:
  // What arrived, in any pieces. Returns the bytes that are whole requests now, each of which
  // stands in messages() as well. After a refusal nothing is taken any more.
  std::string take(std::string_view bytes);

  std::deque<Message>& messages() { return messages_; }

  // 0, or the status with which to end the connection.
  int refusal() const { return refusal_; }

  // Whether what was refused asked for "/api/...".
  bool is_refused_for_api() const { return is_refused_for_api_; }

  // Whether a request has begun that is not whole.
  bool is_waiting() const { return !held_.empty(); }

  size_t held() const { return held_.size(); }

  void refuse(int status);

 private:
  bool read_one();
  void look_for_head_end();

  std::string held_;
  size_t looked_at_ = 0;  // of the head, for its end
  size_t head_ = 0;       // the size of the head, once it is whole
  size_t body_ = 0;
  Message message_;
  std::deque<Message> messages_;
  int refusal_ = 0;
  bool is_refused_for_api_ = false;
};

}  // namespace tools::web
