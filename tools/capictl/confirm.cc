// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl config confirm, cancel and pending.
#include "confirm.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "apply.h"
#include "commands.h"
#include "table.h"
#include "value.h"

namespace capictl {
namespace {

std::string this_owner() { return "capictl, user " + std::to_string(getuid()); }

// Rounded up: what is not over has a second left.
std::string seconds_left(const pending::Change& change) {
  return std::to_string((pending::remaining_ms(change, pending::now()) + 999) / 1000);
}

Failure waiting(const pending::Change& change) {
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

// False where none waits.
bool find_change(pending::Change& change) {
  const int error = pending::load(change);
  if (error != 0 && error != ENOENT) throw unusable(error);
  return error == 0;
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

// Needs the lock. What has gone back is told of even where it could not be applied.
pending::Outcome go_back(const pending::Change& change, const char* what) {
  const Attachment adapter(Context{});
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

// What the watcher does in the end. It still has its parent's adapter.
void go_back_when_over() {
  try {
    capi_uninit();
    const pending::Lock lock(pending::kLockFile, pending::Lock::Exclusive, true);
    pending::Change change;
    if (pending::load(change) != 0) return;
    if (pending::remaining_ms(change, pending::now()) == 0) go_back(change, "reverted");
  } catch (const std::exception&) {
    // The next program that starts tries again.
  }
}

std::string label_of(const pending::Key& key) {
  const Key* known = find_key(key.section, key.name);
  return known != nullptr ? known->label() : key.section + "." + key.name;
}

void tell(const pending::Outcome& outcome) {
  for (const pending::Key& key : outcome.kept) {
    fprintf(stderr, "capictl: %s stays as it is: it was changed meanwhile\n",
            printable(label_of(key)).c_str());
  }
  if (!outcome.trouble.empty()) {
    fprintf(stderr, "capictl: %s\n", printable(outcome.trouble).c_str());
  }
}

Table values_table(const pending::Change& change, const Context& context) {
  Table table("values", {{"key"}, {"old"}, {"new"}});
  for (const auto& [name, before, after] : change.values) {
    const Key* key = find_key(name.section, name.name);
    if (key == nullptr) continue;
    table.add(
        {key->label(), shown_value(*key, before, context), shown_value(*key, after, context)});
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

void print_outcome(const pending::Outcome& outcome, const Context& context) {
  print({facts_of(outcome), kept_table(outcome)}, context);
}

void show(const Context& context) {
  pending::Change change;
  if (find_change(change)) return print({facts_of(change), values_table(change, context)}, context);
  pending::Outcome outcome;
  if (pending::load(outcome) != 0) outcome = {};
  print_outcome(outcome, context);
}

// The change that waits, which has to be of this id unless that is empty. Needs the lock.
pending::Change named_change(const std::string& id) {
  pending::Change change;
  if (!find_change(change)) {
    pending::Outcome outcome;
    const bool is_last = pending::load(outcome) == 0 && (id.empty() || outcome.id == id);
    throw Failure("no change waits for a confirmation" +
                      (is_last ? "; the last one, " + outcome.id + ", was " + outcome.what : ""),
                  {kNotFound, id});
  }
  if (!id.empty() && change.id != id) {
    throw Failure(
        "no change " + id + " waits for a confirmation; the one that does is " + change.id,
        {kNotFound, id, change.id});
  }
  return change;
}

void confirm(const Context& context, const std::string& id) {
  const pending::Lock lock(pending::kLockFile, pending::Lock::Exclusive, false);
  const pending::Change change = named_change(id);
  if (pending::remaining_ms(change, pending::now()) == 0) {
    throw Failure("the confirmation of " + change.id + " comes too late: it goes back", {kRefused});
  }
  const pending::Outcome outcome{change.id, "confirmed", pending::now().seconds, {}, ""};
  const int error = pending::finish(outcome);
  if (error != 0) {
    throw Failure(std::string(pending::kDirectory) + " cannot be written: " + strerror(error));
  }
  if (context.json) print_outcome(outcome, context);
}

void cancel(const Context& context, const std::string& id) {
  const pending::Lock lock(pending::kLockFile, pending::Lock::Exclusive, false);
  const pending::Outcome outcome = go_back(named_change(id), "cancelled");
  if (context.json) return print_outcome(outcome, context);
  tell(outcome);
}

void add_values(pending::Change& change, const WayBack& way_back) {
  for (size_t i = 0; i < way_back.settings.size(); ++i) {
    if (is_overridden(way_back.settings, i)) continue;
    const Key& key = *way_back.settings[i].key;
    const std::string after = stored_value(key, way_back.settings[i].value);
    if (after == way_back.before[i].value) continue;
    change.values.push_back({{key.section, key.name}, way_back.before[i].value, after});
  }
}

void add_command(CLI::App& config, Context& context, const char* name, const char* text,
                 const char* footer, void (*run)(const Context&, const std::string&)) {
  CLI::App* command = config.add_subcommand(name, text);
  const auto id = std::make_shared<std::string>();
  command->add_option("ID", *id, "As it was printed; without, the one that waits");
  command->footer(footer);
  command->callback([id, run, &context] { run(context, *id); });
}

}  // namespace

void Turn::look() {
  pending::Change change;
  if (find_change(change)) throw waiting(change);
}

void Turn::begin(const WayBack& way_back) {
  if (!lock_.is_held()) {
    throw Failure(std::string(pending::kLockFile) + " cannot be made, without which nothing " +
                  "goes back: " + strerror(errno));
  }
  if (find_change(former_) && former_.owner != this_owner()) throw waiting(former_);
  change_ = former_;
  if (change_.id.empty()) change_.id = pending::new_id();
  change_.owner = this_owner();
  change_.is_applied |= way_back.is_applied;
  pending::give(change_, way_back.seconds, pending::now());
  add_values(change_, way_back);
  const int error = pending::save(change_);
  // One for each, as the one that there is may be about to end.
  if (error == 0 && pending::start_watcher(change_.id, go_back_when_over)) return;
  forget();
  throw Failure("nothing was set, as it could not go back: " +
                (error != 0 ? std::string(pending::kFile) + " cannot be written: " + strerror(error)
                            : "there is no process to see to it"));
}

void Turn::forget() const { former_.id.empty() ? pending::remove() : pending::save(former_); }

void Turn::tell(const Context& context) const {
  if (context.json) return;
  puts(change_.id.c_str());
  fprintf(stderr, "capictl: it goes back in %s s, at %s, unless: capictl config confirm %s\n",
          seconds_left(change_).c_str(), time_text(change_.deadline).c_str(), change_.id.c_str());
}

void go_back_if_left() {
  if (!pending::is_left()) return;
  try {
    const pending::Lock lock(pending::kLockFile, pending::Lock::Exclusive, true);
    pending::Change change;
    if (pending::load(change) != 0 || pending::is_watched()) return;
    const pending::Outcome outcome = go_back(change, "reverted");
    fprintf(stderr, "capictl: the change %s was not confirmed and has gone back\n",
            change.id.c_str());
    tell(outcome);
  } catch (const Failure&) {
    // Without an adapter there is nothing to go back yet.
  }
}

void add_config_confirm(CLI::App& config, Context& context) {
  add_command(config, context, "confirm", "Keep a change that would go back",
              "A change goes back that was made with --confirm-within.\n\n"
              "Example:\n  capictl config confirm",
              confirm);
  add_command(config, context, "cancel", "Take a change back that waits for its confirmation",
              "Values that somebody else has changed meanwhile stay, and are told of. Files\n"
              "and programs that --apply has reached get what was before.\n\n"
              "Example:\n  capictl config cancel",
              cancel);
  CLI::App* command =
      config.add_subcommand("pending", "Show the change that waits for its confirmation");
  command->footer(
      "Or what became of the last one, and which values somebody else had changed.\n"
      "Needs no adapter.\n\nExample:\n  capictl config pending");
  command->callback([&context] { show(context); });
}

}  // namespace capictl
