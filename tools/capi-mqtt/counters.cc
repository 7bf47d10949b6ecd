// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "counters.h"

#include <iterator>

namespace tools::mqtt {

std::string text_of(const Counters& counters) {
  const auto line = [](const std::string& name, uint64_t number) {
    return name + " " + std::to_string(number) + "\n";
  };
  std::string text = line("connected", counters.is_connected ? 1 : 0) +
                     line("connections", counters.connections) +
                     line("failures", counters.failures) + line("published", counters.published) +
                     line("events", counters.events);
  for (size_t i = 0; i < std::size(counters.answers); ++i) {
    text += line(std::string("answers_") + name_of(static_cast<Status>(i)), counters.answers[i]);
  }
  return text;
}

}  // namespace tools::mqtt
