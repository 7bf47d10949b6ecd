// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Changes that go back unless they are confirmed.
#pragma once

#include <pending.h>

#include <vector>

#include "context.h"
#include "setting_file.h"

namespace capictl {

struct WayBack {
  const std::vector<Setting>& settings;
  const std::vector<Setting>& before;
  int seconds;  // for a confirmation
  bool is_applied;
};

// A change of the configuration. No other one that asks for it begins as long as it lives.
class Turn {
 public:
  // Waits for others. One without a way back does not mind where their lock cannot be had.
  explicit Turn(bool has_way_back) : lock_(pending::kLockFile, kKind, has_way_back) {}

  // Throws a Failure where one waits.
  static void look();

  // Keeps what to go back to, and has somebody see to it; adds it to a change of the same user that
  // waits. Throws a Failure.
  void begin(const WayBack& way_back);

  // Nothing was set after all.
  void forget() const;

  // Tells people how to confirm it.
  void tell(const Context& context) const;

 private:
  static constexpr auto kKind = pending::Lock::Exclusive;
  pending::Lock lock_;
  pending::Change change_;
  pending::Change former_;  // the one to which it is added; without an id for none
};

// Takes back a change that nobody sees to any more, and tells of it: its watcher was killed, or the
// device has started anew. What cannot go back, as no adapter is up, is left for later.
void go_back_if_left();

}  // namespace capictl
