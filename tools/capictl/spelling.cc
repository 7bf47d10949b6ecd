// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "spelling.h"

#include <algorithm>

namespace capictl {
namespace {

// How many letters have to be put in, left out or replaced, or change places with their neighbours.
size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        rows[i][j] = i + j;
        continue;
      }
      const size_t replaced = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
      const bool is_swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (is_swapped) rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows[a.size()][b.size()];
}

}  // namespace

std::string nearest(const std::string& word, const std::vector<std::string>& words) {
  constexpr size_t kLongest = 100;
  if (word.size() > kLongest) return "";
  std::string result;
  size_t least = std::max<size_t>(2, word.size() / 5) + 1;  // farther away it is another word
  for (const std::string& candidate : words) {
    const size_t here = distance(word, candidate);
    if (here >= least) continue;
    least = here;
    result = candidate;
  }
  return result;
}

}  // namespace capictl
