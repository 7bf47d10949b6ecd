// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "completion.h"

#include <algorithm>

#include "call_tables.h"
#include "help.h"
#include "keys.h"
#include "locks.h"
#include "messages.h"
#include "signals.h"
#include "value.h"

namespace tools::capictl {
namespace {

using Words = std::vector<std::string>;

// Where the last word stands.
struct Place {
  const CLI::App* command;
  const CLI::Option* option = nullptr;  // whose value it is
  Words arguments = {};                 // of the command, in front of it
};

const CLI::Option* find_option(const CLI::App& command, const std::string& word) {
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      if (!option->get_positional() && option->check_name(word)) return option;
    }
  }
  return nullptr;
}

// An argument may have the name of a command, but not the first.
const CLI::App* find_command(const Place& place, const std::string& word) {
  for (const CLI::App* command : subcommands(*place.command)) {
    if (place.arguments.empty() && command->get_name() == word) return command;
  }
  return nullptr;
}

Place place_of_last(const CLI::App& app, const Words& words) {
  Place place{&app};
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    const bool is_value = place.option != nullptr;
    place.option = nullptr;
    if (is_value) continue;
    if (words[i].starts_with('-')) {
      const CLI::Option* option = find_option(*place.command, words[i]);
      if (option != nullptr && option->get_items_expected_max() > 0) place.option = option;
    } else if (const CLI::App* command = find_command(place, words[i])) {
      place.command = command;
    } else {
      place.arguments.push_back(words[i]);
    }
  }
  return place;
}

// The argument that comes next; the last may be there several times.
const CLI::Option* next_argument(const Place& place) {
  size_t count = place.arguments.size();
  for (const CLI::Option* option : place.command->get_options()) {
    if (!option->get_positional()) continue;
    if (count == 0 || option->get_items_expected_max() > 1) return option;
    --count;
  }
  return nullptr;
}

Words cells_of(const Table& table) {
  Words cells;
  for (const auto& row : table.rows()) cells.push_back(row[0]);
  return cells;
}

// What an adapter has. Who completes a line does not wait for it, and can do without.
template <typename Read>
Words from_adapter(const Context& context, Read read) {
  for (const unsigned lock : {CAPI_LOCK_CONF_SHM, CAPI_LOCK_CALL_LOG, CAPI_LOCK_VOICE_SMS}) {
    if (holder_of(lock)) return {};
  }
  try {
    const Attachment adapter(context.log_sink());
    return cells_of(read());
  } catch (const Failure&) {
    return {};
  }
}

Words key_names() {
  Words names;
  for (const Key& key : all_keys()) names.push_back(key.label());
  return names;
}

// What may stand behind a key whose values have names.
Words value_names(const std::string& label) {
  Words names;
  const Key* key = find_label(label);
  if (key == nullptr) return names;
  for (const NamedValue& value : named_values(*key)) {
    names.push_back(value.name.empty() ? std::to_string(value.number) : value.name);
  }
  return names;
}

Words values_of(const CLI::Option& option, const Place& place, const Context& context) {
  const std::string name = option.get_name(option.get_positional());
  const std::string command = full_name(*place.command);
  if (name == "KEY" && command == "capictl config set" && place.arguments.size() % 2 == 1) {
    return value_names(place.arguments.back());
  }
  if (name == "KEY") return key_names();
  if (name == "SECTION" && command == "capictl config list") return all_sections();
  if (name == "NAME" && command == "capictl signal") return signal_names();
  if (name == "NODE") {
    return from_adapter(context, [] { return call_table(read_calls()); });
  }
  if (name == "ID" && !place.arguments.empty()) {
    return from_adapter(context, [&] { return message_table(place.arguments[0], {}, {}); });
  }
  return choices(option);
}

void add_options(Words& words, const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
  }
}

// The commands within the one that the words of help name.
Words commands_to_explain(const CLI::App& app, const Words& names) {
  Place place{&app};
  for (const std::string& name : names) {
    const CLI::App* command = find_command(place, name);
    if (command == nullptr) return {};
    place.command = command;
  }
  return names_of(subcommands(*place.command));
}

Words candidates(const CLI::App& app, const Context& context, const Words& words) {
  const Place place = place_of_last(app, words);
  if (place.option != nullptr) return values_of(*place.option, place, context);
  const std::string& last = words.back();
  Words result;
  if (last.starts_with('-')) {
    for (const CLI::App* one = place.command; one != nullptr; one = one->get_parent()) {
      add_options(result, *one);
    }
    return result;
  }
  if (full_name(*place.command) == "capictl help") return commands_to_explain(app, place.arguments);
  if (place.arguments.empty()) result = names_of(subcommands(*place.command));
  if (const CLI::Option* argument = next_argument(place)) {
    std::ranges::move(values_of(*argument, place, context), std::back_inserter(result));
  }
  return result;
}

}  // namespace

Words completions(const CLI::App& app, const Context& context, const Words& words) {
  if (words.empty()) return names_of(subcommands(app));
  Words result;
  for (const std::string& word : candidates(app, context, words)) {
    const bool is_new = std::ranges::find(result, word) == result.end();
    if (word.starts_with(words.back()) && is_new) result.push_back(word);
  }
  return result;
}

}  // namespace tools::capictl
