// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "generations.h"

#include <adapter.h>
#include <files.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "log.h"

namespace tools::mqtt {

uint64_t Generations::next(int64_t now) {
  if (last_ + 1 >= end_) reserve(now);
  return ++last_;
}

// Many at once: a change of a setting costs no write. With this many a second they have 15 digits
// until 2100, which every reader of JSON takes as they are.
void Generations::reserve(int64_t now) {
  constexpr uint64_t kMany = 65536;
  std::string text;
  const uint64_t kept = read_file(path_, text) ? strtoull(text.c_str(), nullptr, 10) : 0;
  const uint64_t by_clock = static_cast<uint64_t>(std::max<int64_t>(now, 0)) * kMany;
  last_ = std::max({last_, kept, by_clock});
  end_ = last_ + kMany;
  const int error = files::replace(path_, std::to_string(end_) + "\n", 0600);
  if (error != 0) log(path_ + " cannot be written: " + strerror(error));
}

}  // namespace tools::mqtt
