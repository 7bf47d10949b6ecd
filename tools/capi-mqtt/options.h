// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the bridge is told: by its file, and by options, which count more.
#pragma once

#include <adapter.h>

#include <span>
#include <string>

namespace tools::mqtt {

constexpr char kOptionsFile[] = "/etc/capi/mqtt.conf";
constexpr char kStateDirectory[] = "/var/lib/capi/mqtt";
constexpr char kCountersFile[] = "/run/capi-mqtt/counters";

struct Options {
  std::string host = "localhost";
  int port = 0;    // 0: 8883 with TLS, else 1883
  std::string id;  // of the adapter; empty for that of the device
  std::string cafile;
  std::string cert;
  std::string key;
  std::string user;
  std::string password_file;
  std::string state = kStateDirectory;
  std::string counters = kCountersFile;
  bool tells_calls = false;
  bool tells_messages = false;
  int keepalive = 60;

  bool has_tls() const { return !cafile.empty(); }
  int port_to_use() const { return port != 0 ? port : has_tls() ? 8883 : 1883; }
};

// An option, "--NAME" and "NAME = VALUE" in the file.
struct OptionRow {
  const char* name;
  const char* value;  // what it takes, for people
  const char* help;
  // Throws a Failure for a value that cannot be.
  void (*take)(const std::string& value, Options& options);
};
std::span<const OptionRow> all_options();

// Reads the text of a file of this name. Throws a Failure with the line.
void read_options(const std::string& file, const std::string& text, Options& options);

// What does not go together. Throws a Failure.
void refuse_inconsistent(const Options& options);

}  // namespace tools::mqtt
