// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the library can do, an operation at a time, as the trials run it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace capi::test {

// Makes this process the master of the device.
void become_master();

struct Operation {
  std::string name;

  // Brings a fresh adapter and this process into the state for it.
  std::function<void()> prepare = become_master;

  // Its result; where it has none, or more than one, something that stands for it.
  std::function<int()> run;

  // The files that it may change.
  std::vector<std::string> files = {};

  // The content of one without what is different every time.
  std::function<std::string(std::string)> comparable = [](std::string text) { return text; };

  // What a file of its kind holds that is made anew.
  std::string fresh = {};

  // Uses and frees what it left, with nothing failing any more: whether that is as it should be.
  std::function<bool()> recover = [] { return true; };

  // Whether what the locks tell belongs to the operation's own log.
  bool is_of_locks = false;

  // How many blocks of memory the process may keep for its next call.
  int keeps = 0;
};

using Operations = std::vector<Operation>;

// By family.
Operations start_operations();
Operations configuration_operations();
Operations device_operations();
Operations call_log_operations();
Operations message_operations();
Operations signal_operations();
Operations foundation_operations();

}  // namespace capi::test
