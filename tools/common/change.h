// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Changes of the configuration: all of their values, or none; and those that go back unless they
// are confirmed.
#pragma once

#include <pending.h>

#include <optional>
#include <string>
#include <vector>

#include "setting_file.h"
#include "table.h"
#include "value.h"

namespace tools {

// Throws a Failure for the first value that should not be set. The hint follows where it is only
// that a setting file could not keep the value.
void refuse_wrong(const std::vector<Setting>& settings, const char* hint_if_not_kept = "");

// The values of a start for a key, SECTION.FIELD, or for those of a section. Throws a Failure.
std::vector<Setting> start_values(const std::string& name);

// What the record has for each of them.
std::vector<Setting> present_values(const std::vector<Setting>& settings);

// The values that differ, one that is set twice once.
Table changes_table(const std::vector<Setting>& before, const std::vector<Setting>& settings,
                    Secrets secrets);

// The keys of settings.
std::vector<const Key*> keys_in(const std::vector<Setting>& settings);

// A change of the configuration. No other one that has a way back begins as long as it lives.
class Turn {
 public:
  // Waits for others. The owner is the program and its user: who may add to a change that waits.
  // Without a time for the confirmation, in seconds, there is no way back, and it does not mind
  // where the others' lock cannot be had.
  Turn(std::string owner, int confirm_within);

  // Sets the values in order. With a way back, keeps first what to go back to, and has somebody see
  // to it; what the same owner has waiting gets these values added. Is_applied tells that files and
  // programs will have them, too. Returns the values before. Needs an Attachment. Throws a Failure,
  // and then nothing was set.
  std::vector<Setting> make(const std::vector<Setting>& settings, bool is_applied);

  // The change that waits now; null for one without a way back.
  const pending::Change* waiting() const { return confirm_within_ != 0 ? &change_ : nullptr; }

 private:
  void begin(const std::vector<Setting>& settings, const std::vector<Setting>& before,
             bool is_applied);
  void forget() const;

  std::string owner_;
  int confirm_within_;
  pending::Lock lock_;
  pending::Change change_;
  pending::Change former_;  // the one to which it is added; without an id for none
};

// The change that waits for its confirmation. Throws a Failure where that cannot be told.
std::optional<pending::Change> waiting_change();

// The same, which has to be of this id unless that is empty. Throws a Failure where there is none.
pending::Change named_change(const std::string& id);

// The whole seconds that are left to confirm it, rounded up.
std::string seconds_left(const pending::Change& change);

// Keeps, or takes back, the change that waits, which has to be of this id and of this owner unless
// they are empty. Going back needs an Attachment. Throws a Failure.
pending::Outcome confirm_change(const std::string& id, const std::string& owner = "");
pending::Outcome cancel_change(const std::string& id, const std::string& owner = "");

// Throws a Failure while somebody makes, keeps or takes back a change, for whom the calls above and
// a Turn would wait however long that takes.
void refuse_while_busy();

// The change that waits, with its values; or what became of the last one, with the keys that
// somebody else had changed. Throws a Failure.
std::vector<Table> change_tables(Secrets secrets);
std::vector<Table> outcome_tables(const pending::Outcome& outcome);

// What became of it that nobody would expect, a sentence each.
std::vector<std::string> troubles_of(const pending::Outcome& outcome);

// Takes back a change that nobody sees to any more: its watcher was killed, or the device has
// started anew. What cannot go back, as no adapter is up, is left for later. Not while attached.
std::optional<pending::Outcome> go_back_if_left();

}  // namespace tools
