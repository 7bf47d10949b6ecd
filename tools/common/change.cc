// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "change.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "adapter.h"
#include "apply.h"
#include "text.h"

namespace tools {
namespace {

bool store(const Setting& setting) {
  const Key& key = *setting.key;
  return capi_config_set(key.section.c_str(), key.name.c_str(), 0, setting.value.c_str()) == 0;
}

void store_all(const std::vector<Setting>& settings, const std::vector<Setting>& before) {
  for (size_t i = 0; i < settings.size(); ++i) {
    if (store(settings[i])) continue;
    for (size_t back = i; back > 0; --back) store(before[back - 1]);
    throw Failure(settings[i].key->label() + " could not be set; --verbose tells more");
  }
}

[[noreturn]] void throw_busy() {
  throw Failure(std::string("another program is changing settings: it holds ") + pending::kLockFile,
                {kTimedOut});
}

// Others may hold it for ever; where it cannot be had, nobody changes anything that waits.
class ChangeLock {
 public:
  ChangeLock()
      : lock_(pending::kLockFile, pending::Lock::Exclusive, false, pending::Lock::SomeSeconds) {
    if (!lock_.is_held() && errno == EWOULDBLOCK) throw_busy();
  }

 private:
  pending::Lock lock_;
};

Failure waiting_failure(const pending::Change& change) {
  const std::string& id = change.id;
  return Failure("a change of " + change.owner + " waits for its confirmation (" + id + ", " +
                     seconds_left(change) + " s left); first capictl config confirm " + id +
                     ", or capictl config cancel " + id,
                 {kRefused});
}

Failure unusable(int error) {
  if (error == EACCES) {
    return Failure("a change of another user waits for its confirmation", {kRefused});
  }
  const std::string why = error == EBADMSG ? "it is damaged" : strerror(error);
  return Failure(std::string(pending::kFile) + " cannot be read: " + why +
                     "; where no change waits, remove it",
                 {kRefused});
}

void set_back(const Key& key, const std::string& value) {
  if (capi_config_set(key.section.c_str(), key.name.c_str(), 0, value.c_str()) == 0) return;
  throw Failure(key.label() + " could not be set back");
}

// Looks at each key right before it sets it, as others may set it at any time.
std::vector<pending::Key> set_all_back(const pending::Change& change,
                                       std::vector<const Key*>& keys) {
  std::vector<pending::Key> kept;
  for (const pending::Key& one : pending::keys(change)) {
    const Key* key = find_key(one.section, one.name);
    if (key == nullptr) continue;  // of a newer program
    keys.push_back(key);
    std::string value;
    const auto verdict = pending::verdict(change, one, value_of(take_snapshot(), *key), value);
    if (verdict == pending::Verdict::Set) set_back(*key, value);
    if (verdict == pending::Verdict::Keep) kept.push_back(one);
  }
  return kept;
}

// Needs the lock and an Attachment. What has gone back is told of even where it could not be
// applied.
pending::Outcome take_back(const pending::Change& change, const char* what) {
  pending::Outcome outcome{change.id, what, pending::now().seconds, {}, ""};
  std::vector<const Key*> keys;
  outcome.kept = set_all_back(change, keys);
  try {
    if (change.is_applied) apply(keys);
  } catch (const Failure& failure) {
    outcome.trouble = failure.what();
  }
  pending::finish(outcome);
  return outcome;
}

pending::Outcome go_back(const pending::Change& change) {
  const Attachment adapter(ignore_log);
  return take_back(change, "reverted");
}

// What the watcher does in the end. It still has its parent's adapter.
void go_back_when_over() {
  try {
    capi_uninit();
    const pending::Lock lock(pending::kLockFile, pending::Lock::Exclusive, true);
    pending::Change change;
    if (pending::load(change) != 0) return;
    if (pending::remaining_ms(change, pending::now()) == 0) go_back(change);
  } catch (const std::exception&) {
    // The next program that starts tries again.
  }
}

std::string label_of(const pending::Key& key) {
  const Key* known = find_key(key.section, key.name);
  return known != nullptr ? known->label() : key.section + "." + key.name;
}

Table values_table(const pending::Change& change, Secrets secrets) {
  Table table("values", {{"key"}, {"old"}, {"new"}});
  for (const auto& [name, before, after] : change.values) {
    const Key* key = find_key(name.section, name.name);
    if (key == nullptr) continue;
    table.add(
        {key->label(), shown_value(*key, before, secrets), shown_value(*key, after, secrets)});
  }
  return table;
}

std::string yes_or_no(bool is) { return is ? "yes" : "no"; }

Table facts_of(const pending::Change& change) {
  Table facts = Table::of_facts("change");
  facts.add_fact({"pending", Type::Flag}, "yes");
  facts.add({"id", change.id});
  facts.add({"owner", change.owner});
  facts.add_fact({"deadline", Type::Time}, time_text(change.deadline));
  facts.add_fact({"seconds left", Type::Number}, seconds_left(change));
  facts.add_fact({"applied", Type::Flag}, yes_or_no(change.is_applied));
  return facts;
}

Table facts_of(const pending::Outcome& outcome) {
  Table facts = Table::of_facts("change");
  facts.add_fact({"pending", Type::Flag}, "no");
  if (outcome.id.empty()) return facts;
  facts.add({"id", outcome.id});
  facts.add({"outcome", outcome.what});
  facts.add_fact({"at", Type::Time}, time_text(outcome.at));
  if (!outcome.trouble.empty()) facts.add({"trouble", outcome.trouble});
  return facts;
}

Table kept_table(const pending::Outcome& outcome) {
  Table table("kept", {{"key"}});
  for (const pending::Key& key : outcome.kept) table.add({label_of(key)});
  return table;
}

// named_change(), which has to be of this owner unless that is empty. Needs the lock.
pending::Change own_change(const std::string& id, const std::string& owner) {
  pending::Change change = named_change(id);
  if (owner.empty() || change.owner == owner) return change;
  throw Failure("the change " + change.id + " is one of " + change.owner +
                    ", who alone may keep it or take it back here",
                {kRefused, change.id});
}

void add_values(pending::Change& change, const std::vector<Setting>& settings,
                const std::vector<Setting>& before) {
  for (size_t i = 0; i < settings.size(); ++i) {
    if (is_overridden(settings, i)) continue;
    const Key& key = *settings[i].key;
    const std::string after = stored_value(key, settings[i].value);
    if (after == before[i].value) continue;
    change.values.push_back({{key.section, key.name}, before[i].value, after});
  }
}

}  // namespace

void refuse_wrong(const std::vector<Setting>& settings, const char* hint_if_not_kept) {
  for (const auto& [key, value, line] : settings) {
    const std::string wrong = refusal(*key, value);
    if (wrong.empty()) continue;
    const char* hint = is_only_not_kept(*key, value) ? hint_if_not_kept : "";
    throw Failure(key->label() + " is left as it was: " + wrong + hint,
                  {kRefused, key->label(), allowed_values(*key)});
  }
}

std::vector<Setting> start_values(const std::string& name) {
  std::vector<Setting> settings;
  const bool is_key = name.find('.') != std::string::npos;
  const std::vector<const Key*> keys =
      is_key ? std::vector<const Key*>{&named_key(name)} : keys_of(name);
  settings.reserve(keys.size());
  for (const Key* key : keys) settings.push_back({key, key->meaning.start});
  return settings;
}

std::vector<Setting> present_values(const std::vector<Setting>& settings) {
  const cfg_shared_record record = take_snapshot();
  std::vector<Setting> present;
  present.reserve(settings.size());
  for (const Setting& setting : settings) {
    present.push_back({setting.key, value_of(record, *setting.key)});
  }
  return present;
}

std::vector<const Key*> keys_in(const std::vector<Setting>& settings) {
  std::vector<const Key*> keys;
  keys.reserve(settings.size());
  for (const Setting& setting : settings) keys.push_back(setting.key);
  return keys;
}

Table changes_table(const std::vector<Setting>& before, const std::vector<Setting>& settings,
                    Secrets secrets) {
  Table table("changes", {{"key"}, {"old"}, {"new"}});
  for (size_t i = 0; i < settings.size(); ++i) {
    const Key& key = *settings[i].key;
    const std::string value = stored_value(key, settings[i].value);
    if (is_overridden(settings, i) || value == before[i].value) continue;
    table.add({key.label(), shown_value(key, before[i].value, secrets),
               shown_value(key, value, secrets)});
  }
  return table;
}

std::string seconds_left(const pending::Change& change) {
  return std::to_string((pending::remaining_ms(change, pending::now()) + 999) / 1000);
}

std::optional<pending::Change> waiting_change() {
  pending::Change change;
  const int error = pending::load(change);
  if (error != 0 && error != ENOENT) throw unusable(error);
  return error == 0 ? std::optional(change) : std::nullopt;
}

pending::Change named_change(const std::string& id) {
  const std::optional<pending::Change> change = waiting_change();
  if (!change) {
    pending::Outcome outcome;
    const bool is_last = pending::load(outcome) == 0 && (id.empty() || outcome.id == id);
    throw Failure("no change waits for a confirmation" +
                      (is_last ? "; the last one, " + outcome.id + ", was " + outcome.what : ""),
                  {kNotFound, id});
  }
  if (!id.empty() && change->id != id) {
    throw Failure(
        "no change " + id + " waits for a confirmation; the one that does is " + change->id,
        {kNotFound, id, change->id});
  }
  return *change;
}

Turn::Turn(std::string owner, int confirm_within)
    : owner_(std::move(owner)),
      confirm_within_(confirm_within),
      lock_(pending::kLockFile, pending::Lock::Exclusive, confirm_within != 0,
            pending::Lock::SomeSeconds) {
  if (!lock_.is_held() && errno == EWOULDBLOCK) throw_busy();
}

std::vector<Setting> Turn::make(const std::vector<Setting>& settings, bool is_applied) {
  std::vector<Setting> before = present_values(settings);
  if (confirm_within_ != 0) {
    begin(settings, before, is_applied);
  } else if (const auto change = waiting_change()) {
    throw waiting_failure(*change);
  }
  try {
    store_all(settings, before);
  } catch (const Failure&) {
    if (confirm_within_ != 0) forget();
    throw;
  }
  return before;
}

void Turn::begin(const std::vector<Setting>& settings, const std::vector<Setting>& before,
                 bool is_applied) {
  if (!lock_.is_held()) {
    throw Failure(std::string(pending::kLockFile) + " cannot be made, without which nothing " +
                  "goes back: " + strerror(errno));
  }
  former_ = waiting_change().value_or(pending::Change());
  if (!former_.id.empty() && former_.owner != owner_) throw waiting_failure(former_);
  change_ = former_;
  if (change_.id.empty()) change_.id = pending::new_id();
  change_.owner = owner_;
  change_.is_applied |= is_applied;
  pending::give(change_, confirm_within_, pending::now());
  add_values(change_, settings, before);
  const int error = pending::save(change_);
  // One for each, as the one that there is may be about to end.
  if (error == 0 && pending::start_watcher(change_.id, go_back_when_over)) return;
  forget();
  throw Failure("nothing was set, as it could not go back: " +
                (error != 0 ? std::string(pending::kFile) + " cannot be written: " + strerror(error)
                            : "there is no process to see to it"));
}

void Turn::forget() const { former_.id.empty() ? pending::remove() : pending::save(former_); }

void refuse_while_busy() {
  if (!pending::is_locked()) return;
  throw Failure("somebody changes the configuration at this moment; try again", {kTimedOut});
}

pending::Outcome confirm_change(const std::string& id, const std::string& owner) {
  const ChangeLock lock;
  const pending::Change change = own_change(id, owner);
  if (pending::remaining_ms(change, pending::now()) == 0) {
    throw Failure("the confirmation of " + change.id + " comes too late: it goes back", {kRefused});
  }
  pending::Outcome outcome{change.id, "confirmed", pending::now().seconds, {}, ""};
  const int error = pending::finish(outcome);
  // What is written down of it is one thing, that it goes back no more the other.
  if (error != 0 && access(pending::kFile, F_OK) == 0) {
    throw Failure(std::string(pending::kDirectory) + " cannot be written: " + strerror(error));
  }
  return outcome;
}

pending::Outcome cancel_change(const std::string& id, const std::string& owner) {
  const ChangeLock lock;
  return take_back(own_change(id, owner), "cancelled");
}

std::vector<Table> outcome_tables(const pending::Outcome& outcome) {
  return {facts_of(outcome), kept_table(outcome)};
}

std::vector<Table> change_tables(Secrets secrets) {
  if (const auto change = waiting_change()) {
    return {facts_of(*change), values_table(*change, secrets)};
  }
  pending::Outcome outcome;
  if (pending::load(outcome) != 0) outcome = {};
  return outcome_tables(outcome);
}

std::vector<std::string> troubles_of(const pending::Outcome& outcome) {
  std::vector<std::string> troubles;
  for (const pending::Key& key : outcome.kept) {
    troubles.push_back(label_of(key) + " stays as it is: it was changed meanwhile");
  }
  if (!outcome.trouble.empty()) troubles.push_back(outcome.trouble);
  return troubles;
}

std::optional<pending::Outcome> go_back_if_left() {
  if (!pending::is_left()) return std::nullopt;
  try {
    const ChangeLock lock;
    pending::Change change;
    if (pending::load(change) != 0 || pending::is_watched()) return std::nullopt;
    return go_back(change);
  } catch (const Failure&) {
    // Without an adapter there is nothing to go back yet.
    return std::nullopt;
  }
}

}  // namespace tools
