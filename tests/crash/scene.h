// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The operations that are explored: a row each.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tracer.h"
#include "verdict.h"

namespace capi::crash {

// What is promised once success has been reported.
enum class Promise : uint8_t {
  Consistent,  // the old content or the new one
  Durable,     // the new one
};

// What becomes of the mode and owner that a file had.
enum class ModeRule : uint8_t { Kept, MayChange };

struct Scene {
  std::string group;
  std::string name;
  std::vector<std::string> directories;  // which the operation changes files in
  Promise promise;
  std::function<void()> set_up;   // makes what was stored before
  std::function<bool()> operate;  // true when it reports success
  std::function<bool()> next;     // the next change of the same files
  std::function<Parts()> read;    // as a reader sees the files
  ModeRule mode_rule = ModeRule::Kept;
  std::vector<std::string> by_products{};  // endings of names that may be added
  Failures failures{};                     // during the operation
  bool uses_library = true;
};

std::vector<Scene> call_log_scenes();
std::vector<Scene> message_scenes();
std::vector<Scene> configuration_scenes();  // voice-stack, SIM, voice block, status, schema files
std::vector<Scene> reference_scenes();

// What a file holds, in a few words.
std::string content_of(const std::string& path);

// The same of bytes; "what" tells what they are.
std::string summary(const std::string& what, std::string_view bytes);

}  // namespace capi::crash
