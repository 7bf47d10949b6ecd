// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "verdict.h"

#include <algorithm>
#include <iterator>

namespace capi::crash {
namespace {

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

bool logs_something_new(const Sight& sight, const Sight& usual) {
  return std::any_of(sight.log.begin(), sight.log.end(),
                     [&](const std::string& line) { return !contains(usual.log, line); });
}

Outcome judge_part(const Sight& sight, const Expectation& expected, bool promised, size_t i) {
  const std::string& part = sight.parts[i];
  const std::string& old_part = expected.before.parts[i];
  if (part == expected.after.parts[i]) return Outcome::Kept;
  if (part == old_part) {
    if (!promised) return Outcome::Kept;
    return expected.durable ? Outcome::Undone : Outcome::Earlier;
  }
  // Where nothing could be read before, nothing is lost when an empty store takes its place.
  const bool had_nothing = old_part == kAbsent || old_part == kUnreadable;
  if (had_nothing && part == expected.fresh[i]) {
    return promised && expected.durable ? Outcome::Undone : Outcome::Kept;
  }
  if (part != expected.gone.parts[i] && part != expected.fresh[i] && part != kAbsent &&
      part != kUnreadable) {
    return Outcome::Wrong;
  }
  return logs_something_new(sight, expected.before) ? Outcome::Lost : Outcome::LostSilently;
}

const Meta* meta_of(const Tree& tree, const std::string& name) {
  const auto at = tree.names.find(name);
  return at != tree.names.end() ? &tree.nodes.at(at->second).meta : nullptr;
}

}  // namespace

Outcome judge(const Sight& sight, const Expectation& expected, bool promised) {
  if (!sight.finished || sight.parts.size() != expected.before.parts.size()) return Outcome::Wrong;
  Outcome worst = Outcome::Kept;
  for (size_t i = 0; i < sight.parts.size(); ++i) {
    worst = std::max(worst, judge_part(sight, expected, promised, i));
  }
  return worst;
}

std::vector<std::string> left_over(const Sight& sight, const Expectation& expected,
                                   const std::vector<std::string>& allowed_endings) {
  std::vector<std::string> result;
  const auto is_allowed = [&](const std::string& name) {
    return contains(expected.before.names, name) || contains(expected.after.names, name) ||
           std::any_of(allowed_endings.begin(), allowed_endings.end(),
                       [&](const std::string& ending) { return name.ends_with(ending); });
  };
  std::copy_if(sight.names.begin(), sight.names.end(), std::back_inserter(result),
               [&](const std::string& name) { return !is_allowed(name); });
  return result;
}

bool has_right_meta(const Tree& state, const Tree& before, const Tree& after, bool may_change) {
  return std::all_of(state.names.begin(), state.names.end(), [&](const auto& entry) {
    const Meta* const is = meta_of(state, entry.first);
    const Meta* const was = meta_of(before, entry.first);
    const Meta* const becomes = meta_of(after, entry.first);
    if (becomes == nullptr) return true;  // a sibling, or a file that goes
    if (was != nullptr && *is == *was) return true;
    return (was == nullptr || may_change) && *is == *becomes;
  });
}

}  // namespace capi::crash
