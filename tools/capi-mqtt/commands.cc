// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "commands.h"

#include <apply.h>
#include <change.h>
#include <document.h>
#include <locks.h>
#include <signals.h>
#include <stack_files.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace tools::mqtt {
namespace {

std::string this_owner() { return "capi-mqtt, user " + std::to_string(getuid()); }

Refusal refusal_of(const Failure& failure, Status status) {
  const bool is_held = failure.why().code == kTimedOut;
  return Refusal(is_held ? Status::Busy : status, error_of(failure));
}

// ---- Changes ---------------------------------------------------------------------------------

void check(const Setting& setting) {
  const std::string wrong = refusal(*setting.key, setting.value);
  if (wrong.empty()) return;
  throw Refusal(Status::Refused,
                {"refused", wrong, setting.key->label(), allowed_values(*setting.key)});
}

// A number is none of the names of a value, nor a text.
Setting setting_of(const Assignment& assignment) {
  const Key& key = named_key(assignment.key);
  if (assignment.is_number && key.row.kind == CAPI_CONFIG_TEXT) {
    throw Refusal(Status::Refused,
                  {"refused", "it has to be a text", key.label(), allowed_values(key)});
  }
  return {&key, assignment.is_number ? assignment.value : taken_value(key, assignment.value)};
}

std::vector<Setting> settings_in_document(const Request& request) {
  const Settings settings = read_settings(request.document);
  for (const Finding& finding : settings.findings) {
    if (finding.is_error) throw Refusal(Status::Refused, {"refused", finding.text});
  }
  return settings.items;
}

std::vector<Setting> settings_of(const Request& request) {
  if (request.command == Command::Load) return settings_in_document(request);
  std::vector<Setting> settings;
  for (const Assignment& assignment : request.set) settings.push_back(setting_of(assignment));
  for (const std::string& name : request.texts) {
    for (const Setting& setting : start_values(name)) settings.push_back(setting);
  }
  if (request.command == Command::Set) std::ranges::for_each(settings, check);
  return settings;
}

void check_generation(const Request& request, uint64_t generation) {
  if (request.if_generation.value_or(generation) == generation) return;
  throw Refusal(Status::Refused,
                {"generation", "the settings have changed since: their generation is " +
                                   std::to_string(generation)});
}

// One of another owner, or any where this one is to be for good.
void check_turn(const Request& request) {
  const std::optional<pending::Change> change = waiting_change();
  if (!change || (request.confirm_within != 0 && change->owner == this_owner())) return;
  throw Refusal(Status::Busy, {"busy", "a change of " + change->owner + " waits for its " +
                                           "confirmation: " + change->id + ", " +
                                           seconds_left(*change) + " s left"});
}

// Others who take turns may have set something while this one waited for its own.
Outcome change(const Request& request, const std::function<uint64_t()>& generation) {
  const std::vector<Setting> settings = settings_of(request);
  need_lock(CAPI_LOCK_CONF_SHM);
  Turn turn(this_owner(), request.confirm_within);
  check_generation(request, generation());
  check_turn(request);
  turn.make(settings, request.is_applied);
  Outcome outcome;
  if (const pending::Change* waiting = turn.waiting()) outcome.waiting = *waiting;
  if (!request.is_applied) return outcome;
  try {
    apply(keys_in(settings));
  } catch (const Failure& failure) {
    outcome.errors.push_back(error_of(failure));
  }
  return outcome;
}

Outcome settle(const Request& request) {
  const pending::Outcome settled = request.command == Command::Confirm
                                       ? confirm_change(request.pending, this_owner())
                                       : cancel_change(request.pending, this_owner());
  Outcome outcome;
  for (const std::string& trouble : troubles_of(settled)) {
    outcome.errors.push_back({"failed", trouble});
  }
  return outcome;
}

// ---- Others ----------------------------------------------------------------------------------

unsigned type_of(const std::string& name) {
  const auto* row =
      std::ranges::find_if(kStackTypes, [&](const StackType& type) { return name == type.name; });
  if (row != std::end(kStackTypes)) return static_cast<unsigned>(row - std::begin(kStackTypes));
  throw Refusal(Status::Refused, {"refused", "there is no type \"" + printable(name) + "\"", name,
                                  "volte, voip, vowifi, cs, qvc, sos, generic"});
}

Outcome write_files(const Request& request) {
  std::vector<unsigned> types;
  for (const std::string& name : request.texts) types.push_back(type_of(name));
  Outcome outcome;
  for (const unsigned type : types) {
    if (capi_make_config_file(type) == 0) continue;
    const StackType& row = kStackTypes[type];
    outcome.errors.push_back({"failed", std::string(row.path) + " could not be written", row.name});
  }
  return outcome;
}

Outcome post(const Request& request) {
  const SignalCall call{request.name, request.texts};
  refuse_unsafe(call);
  const std::vector<std::string> names = signal_names();
  if (std::ranges::find(names, call.name) == names.end()) {
    throw Refusal(Status::Refused, {"refused", "no program knows the signal " + call.name,
                                    call.name, joined(names, ", ")});
  }
  Outcome outcome;
  try {
    post_signal(call);
  } catch (const Failure& failure) {
    outcome.errors.push_back(error_of(failure));
  }
  return outcome;
}

}  // namespace

Outcome carry_out(const Request& request, const std::function<uint64_t()>& generation) try {
  switch (request.command) {
    case Command::Set:
    case Command::Load:
    case Command::Reset:
      return change(request, generation);
    case Command::Confirm:
    case Command::Cancel:
      return settle(request);
    case Command::StackFile:
      return write_files(request);
    case Command::Signal:
      return post(request);
    case Command::Refresh:
      break;
  }
  return {};
} catch (const Failure& failure) {
  const bool is_wrong = failure.why().code == kRefused || failure.why().code == kNotFound ||
                        failure.why().code == kUsage;
  throw refusal_of(failure, is_wrong ? Status::Refused : Status::Failed);
}

}  // namespace tools::mqtt
