// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The loop: connections, requests, event streams and the adapter's news, in one thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "app.h"

namespace tools::web {

struct Listen {
  std::string address;  // a number, without brackets
  uint16_t port = 0;    // 0 for one that is free
};

struct Limits {
  size_t connections = 64;
  int timeout_ms = 3000;       // for a request to be whole, and between two of a connection
  int comment_ms = 25 * 1000;  // between two comments of an event stream
};

class Server {
 public:
  // Listens. Throws what keeps it from that.
  Server(App& app, const std::vector<Listen>& places, const Limits& limits);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // "http://127.0.0.1:8080" for each place.
  std::vector<std::string> addresses() const;

  // Until SIGTERM or SIGINT.
  void run();

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace tools::web
