// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A fresh adapter for every test: its files, no IPC objects, a recording vsdk_cmd.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "capi.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/process.h"

namespace capi::test {

inline constexpr char kToolPath[] = "/usr/sbin/vsdk_cmd";

// Installs a vsdk_cmd that records the arguments of each call.
void install_recording_tool(const std::string& path = kToolPath);

// The arguments of the calls so far, a call a line.
std::vector<std::string> posted();

// The value of a critical section's semaphore: 1 is free, 0 is held; -1 without a set.
int lock_value(unsigned id);

// Removes every System V object of this view.
void remove_ipc_objects();

class Adapter : public testing::Test {
 protected:
  // Puts the adapter's files in place: "/tmp/m_data" and vsdk_cmd.
  void SetUp() override;

  // Detaches, and checks that no lock was left held.
  void TearDown() override;

  // Starts this process, as the master or as one of the others, and forgets what that logged.
  void start_master();
  void start_client();

  // Runs "body" in another process of the device, which attaches first and detaches after it.
  void in_client(const std::function<void()>& body);

  // Loads a setting file of this content and publishes it.
  void publish(const std::string& settings);

  // The record in the segment, as any process sees it.
  static cfg_shared_record& segment();

  const capi_callbacks no_callbacks_{};
};

// One value by name; the text "<result>" in angle brackets when the result is not 0.
std::string get_config(const std::string& section, const std::string& key);

}  // namespace capi::test
