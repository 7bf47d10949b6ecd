// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "keys/spelling.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/text.h"

namespace capi::keys {
namespace {

constexpr size_t kMaxLength = sizeof(Spelling);

// How many letters have to be put in, left out or replaced, or change places with their neighbours.
int distance(std::string_view a, std::string_view b) {
  uint8_t rows[3][kMaxLength + 1];
  for (size_t j = 0; j <= b.size(); ++j) rows[0][j] = static_cast<uint8_t>(j);
  for (size_t i = 1; i <= a.size(); ++i) {
    const uint8_t* above = rows[(i - 1) % 3];
    uint8_t* row = rows[i % 3];
    row[0] = static_cast<uint8_t>(i);
    for (size_t j = 1; j <= b.size(); ++j) {
      const bool is_same = a[i - 1] == b[j - 1];
      int least = std::min(std::min(above[j], row[j - 1]) + 1, above[j - 1] + (is_same ? 0 : 1));
      const bool is_swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (is_swapped) least = std::min(least, rows[(i - 2) % 3][j - 2] + 1);
      row[j] = static_cast<uint8_t>(least);
    }
  }
  return rows[a.size() % 3][b.size()];
}

class Search {
 public:
  Search(const char* name, const char* section)
      : name_(name),
        section_(section),
        far_(std::max<int>(2, static_cast<int>(name_.size()) / 5) + 1) {
    result_.nearest.text[0] = '\0';
  }

  Suggestion run() {
    if (name_.size() < kMaxLength) capi_config_for_each(look, this);
    result_.is_near = least_ < far_;
    return result_;
  }

 private:
  static int look(const capi_config_key* key, void* user) {
    auto& search = *static_cast<Search*>(user);
    if (search.section_ == nullptr) {
      search.compare(key->section, key->section_max);
    } else if (search.is_here(*key)) {
      search.compare(key->name, key->name_max);
    }
    return 0;
  }

  bool is_here(const capi_config_key& key) const {
    const Spelling here = spell(key.section, last_number(section_));
    return strcmp(here.text, section_) == 0;
  }

  void compare(const char* pattern, int max) {
    const int number = last_number(name_.data());
    if (max != 0 && name_ == spell(pattern, number).text) result_.count = max;
    const Spelling spelling = spell(pattern, std::clamp(number, 1, std::max(max, 1)));
    // Each letter more or less is one to put in or leave out.
    const auto letters = static_cast<int>(name_.size()) - static_cast<int>(strlen(spelling.text));
    if (std::abs(letters) >= least_) return;
    const int here = distance(name_, spelling.text);
    if (here >= least_) return;
    least_ = here;
    result_.nearest = spelling;
  }

  std::string_view name_;
  const char* section_;  // null for a search of sections
  int far_;              // what differs as much is another name
  int least_ = far_;
  Suggestion result_{};
};

}  // namespace

Spelling spell(const char* pattern, int number) {
  Spelling spelling;
  snprintf(spelling.text, sizeof spelling.text, pattern, number);
  return spelling;
}

int last_number(const char* name) {
  const char* digits = strchr(name, '\0');
  while (digits > name && digits[-1] >= '0' && digits[-1] <= '9') --digits;
  constexpr size_t kMaxDigits = 9;
  return strlen(digits) <= kMaxDigits ? atoi(digits) : INT32_MAX;
}

Suggestion suggest_section(const char* section) { return Search(section, nullptr).run(); }

Suggestion suggest_key(const char* section, const char* name) {
  return Search(name, section).run();
}

}  // namespace capi::keys
