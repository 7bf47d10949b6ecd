// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Which calls or messages are meant.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace tools {

struct Filter {
  int type = -1;
  int line = -1;
  bool unread = false;
  std::string since;
  std::string number;
  std::string text;

  bool is_empty() const;
  bool has_type_only() const;
};

// What a filter looks at. What calls lack is as it is here.
struct Candidate {
  uint32_t time = 0;
  std::string number;
  unsigned type = 0;
  unsigned line = 0;
  bool is_read = false;
  std::string text = {};
};

// Whether it is meant. Made once for all candidates, because an age counts from now. Throws a
// Failure for a time that is none.
class Matcher {
 public:
  explicit Matcher(const Filter& filter);
  bool operator()(const Candidate& candidate) const;

 private:
  const Filter& filter_;
  int64_t since_;
};

// The moment that a date, a date and a time, or an age before now means, in seconds since 1970.
int64_t moment_of(const std::string& text, int64_t now);

// How many, and from which end.
struct Order {
  size_t limit = 0;
  bool is_reversed = false;

  // What is left of what is sorted from new to old.
  template <typename Item>
  void apply(std::vector<Item>& items) const {
    if (limit > 0 && items.size() > limit) items.resize(limit);
    if (is_reversed) std::reverse(items.begin(), items.end());
  }
};
}  // namespace tools
