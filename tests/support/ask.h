// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a getter of a text gives its caller.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

#include "support/log_capture.h"

namespace capi::test {

struct Answer {
  int result;
  std::string text;

  bool operator==(const Answer&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  return out << answer.result << " \"" << answer.text << "\"";
}

// Calls getter(buf, len) with a buffer of that many bytes, none of which was 0 before. It may write
// no other byte.
template <typename Getter>
Answer ask(Getter getter, int len = 64) {
  constexpr size_t kGuard = 64;
  const auto size = static_cast<size_t>(std::max(len, 0));
  std::string buf(size + kGuard, '~');
  const int result = getter(buf.data(), len);
  EXPECT_EQ(buf.substr(size), std::string(kGuard, '~')) << "written behind the buffer";
  const std::string text = buf.substr(0, size);
  return {result, text.substr(0, text.find('\0'))};
}

}  // namespace capi::test
