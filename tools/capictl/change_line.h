// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A change as capictl monitor tells of it: a line for people, an object for programs.
#pragma once

#include <cjson/cJSON.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "context.h"

namespace tools::capictl {

class ChangeLine {
 public:
  // "change" says what kind of change it is.
  ChangeLine(unsigned topic, const char* change);

  // Members of the object, in this order.
  ChangeLine& text(const char* name, std::string_view value);
  ChangeLine& number(const char* name, int64_t value);
  ChangeLine& flag(const char* name, bool value);
  ChangeLine& numbers(const char* name, const int32_t* values, size_t count);

  // What people read.
  ChangeLine& words(std::string words);
  // The same for a value: what has it, the old one and the new one.
  ChangeLine& values(std::string what, std::string before, std::string after);

  void print(const Context& context) const;

 private:
  struct Deleter {
    void operator()(cJSON* json) const { cJSON_Delete(json); }
  };

  const char* topic_;
  std::string time_;
  std::unique_ptr<cJSON, Deleter> json_;
  std::vector<std::string> words_;  // one, or the three of a value
};

using ChangeLines = std::vector<ChangeLine>;

// "config" for CAPI_TOPIC_CONFIG, in the order of enum capi_topic.
inline constexpr const char* kTopicNames[CAPI_TOPIC_COUNT] = {"config", "device", "lines", "calls",
                                                              "messages"};

// A time in seconds since 1970 as the clock on the wall shows it: "2026-11-22T06:10:00+01:00".
std::string local_time(int64_t seconds);

}  // namespace tools::capictl
