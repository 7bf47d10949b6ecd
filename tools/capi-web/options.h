// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The command line.
#pragma once

#include <string>
#include <vector>

namespace tools::web {

struct Options {
  std::vector<std::string> listen = {"127.0.0.1:8080"};
  std::vector<std::string> hosts = {};
  std::string password_file = {};
  std::string token_file = {};
  double session_minutes = 30;
  double confirm_seconds = 60;
  double timeout_seconds = 3;
  double comment_seconds = 25;
  double connections = 64;
  bool verbose = false;
  bool from_stdin = false;
};

enum class Task { Serve, SetPassword };

// Reads the command line into options that have their defaults. Ends the process where only help or
// the version is asked for. Throws a Failure.
Task read_options(int argc, char** argv, Options& options);

}  // namespace tools::web
