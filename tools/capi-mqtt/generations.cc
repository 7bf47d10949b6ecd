// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "generations.h"

#include <adapter.h>
#include <files.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "log.h"

namespace tools::mqtt {
namespace {

// 0 for what damage has left: from a number that is too high no later one would lead back, and
// readers of JSON tell whole numbers apart up to 2^53.
uint64_t number_in(std::string_view text) {
  constexpr uint64_t kEnd = uint64_t{1} << 53U;
  if (text.ends_with('\n')) text.remove_suffix(1);
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end && number < kEnd ? number : 0;
}

}  // namespace

uint64_t Generations::next(int64_t now) {
  if (last_ + 1 >= end_) reserve(now);
  return ++last_;
}

// Many at once: a change of a setting costs no write. With this many a second they have 15 digits
// until 2100, which every reader of JSON takes as they are.
void Generations::reserve(int64_t now) {
  constexpr uint64_t kMany = 65536;
  std::string text;
  const uint64_t kept = read_file(path_, text) ? number_in(text) : 0;
  const uint64_t by_clock = static_cast<uint64_t>(std::max<int64_t>(now, 0)) * kMany;
  last_ = std::max({last_, kept, by_clock});
  end_ = last_ + kMany;
  const int error = files::replace(path_, std::to_string(end_) + "\n", 0600);
  if (error != 0) log(path_ + " cannot be written: " + strerror(error));
}

}  // namespace tools::mqtt
