// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a killed process left behind.
#pragma once

#include <array>
#include <cstdint>

#include "operations.h"

namespace capi::soak {

struct Tally {
  unsigned kills;  // of processes that were about to write the store
  unsigned cut;    // of these, how many left it cut
  unsigned lost;   // entries that were in it
};

class Inspection {
 public:
  explicit Inspection(Random& random);

  // Looks at everything after a process died that was about to write "victim", counts what it left
  // cut and makes that whole again.
  void after_kill(Store victim);

  const std::array<Tally, kStores>& tallies() const { return tallies_; }

 private:
  void count(Store victim, Store damaged, unsigned lost);
  void look_at_records(Store victim);
  void look_at_call_log(Store victim);
  void look_at_messages(Store victim, int selector, Store store);
  void look_at_status_files(Store victim);
  void look_at_other_files(Store victim);

  Random& random_;
  std::array<Tally, kStores> tallies_{};
  int calls_ = 0;
  int messages_[2] = {};
  uint32_t damage_[2] = {};
};

}  // namespace capi::soak
