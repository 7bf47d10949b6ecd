// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "help.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>

#include "context.h"
#include "text.h"

namespace tools::capictl {
namespace {

constexpr size_t kWidth = 80;
constexpr size_t kIndent = 2;

// A name and what it is, side by side; a long name has a line of its own.
void print_item(const std::string& name, const std::string& text, size_t column) {
  std::string line = std::string(kIndent, ' ') + name;
  if (line.size() + kIndent > column) {
    puts(line.c_str());
    line.clear();
  }
  for (const std::string& part : wrapped(text, kWidth - column)) {
    line.resize(std::max(column, line.size()), ' ');
    puts((line + part).c_str());
    line.clear();
  }
}

struct Item {
  std::string name;
  std::string text;
};

void print_items(const char* title, const std::vector<Item>& items) {
  constexpr size_t kWidest = 22;
  if (items.empty()) return;
  printf("\n%s:\n", title);
  size_t column = 0;
  for (const Item& item : items) {
    if (item.name.size() <= kWidest) column = std::max(column, item.name.size() + 2 * kIndent);
  }
  for (const Item& item : items) print_item(item.name, item.text, column);
}

// "FILE" for an option that takes one, by CLI11's name of the type or the choices.
std::string value_name(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  if (type.starts_with("INT") || type.starts_with("UINT")) return "NUMBER";
  return type.substr(0, type.find_first_of(": "));
}

std::vector<Item> items_of(const CLI::App& command, bool are_arguments) {
  std::vector<Item> items;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional() != are_arguments) continue;
    std::string name = option->get_name(are_arguments, true);
    std::replace(name.begin(), name.end(), ',', ' ');
    const bool takes_value = !are_arguments && option->get_items_expected_max() > 0;
    items.push_back({takes_value ? name + " " + value_name(*option) : name, description(*option)});
  }
  return items;
}

std::vector<Item> items_of(const std::vector<CLI::App*>& commands) {
  std::vector<Item> items;
  std::ranges::transform(commands, std::back_inserter(items), [](const CLI::App* command) {
    return Item{command->get_name(), command->get_description()};
  });
  return items;
}

// The deepest command that the line names.
const CLI::App& innermost(const CLI::App& app) {
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().back();
  return *command;
}

std::vector<std::string> option_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

bool has_arguments(const CLI::App& command) {
  return !command.get_options([](const CLI::Option* option) { return option->get_positional(); })
              .empty();
}

std::string see(const CLI::App& command) { return "Help: " + full_name(command) + " --help"; }

Failure unknown_words(const CLI::App& command, const std::vector<std::string>& words) {
  const std::string& first = words[0];
  if (first.starts_with('-')) {
    return Failure(
        "there is no option " + first + guess(first, option_names(command)) + " " + see(command),
        {kUsage, first, "", "unknown_option"});
  }
  const std::vector<std::string> names = names_of(subcommands(command));
  if (!names.empty() && !has_arguments(command)) {
    return Failure("there is no command " + full_name(command) + " " + first + guess(first, names) +
                       " " + see(command),
                   {kUsage, first, joined(names, ", "), "unknown_command"});
  }
  return Failure("too many arguments: " + joined(words, " ") + ". " + see(command),
                 {kUsage, first, "", "too_many_arguments"});
}

// "BOX: draft not in {received,sent}", with a guess.
Failure no_choice(const CLI::App& command, const std::string& text, size_t list) {
  const size_t colon = text.find(": ");
  const std::string word = text.substr(colon + 2, text.rfind(" not in ") - colon - 2);
  const std::vector<std::string> words = split(text.substr(list, text.size() - list - 1), ',');
  return Failure(text.substr(0, colon) + " is one of " + joined(words, ", ") + ", not " + word +
                     guess(word, words) + " " + see(command),
                 {kUsage, word, joined(words, ", "), "unknown_choice"});
}

Failure missing_command(const CLI::App& command) {
  const std::string names = joined(names_of(subcommands(command)), ", ");
  return Failure(full_name(command) + " needs a command: " + names + ". " + see(command),
                 {kUsage, "", names, "missing_command"});
}

void help(const CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* command = &app;
  for (const std::string& word : words) {
    const std::vector<CLI::App*> inner = subcommands(*command);
    const auto found =
        std::ranges::find_if(inner, [&](const CLI::App* one) { return one->get_name() == word; });
    if (found == inner.end()) throw unknown_words(*command, {word});
    command = *found;
  }
  print_help(*command);
}

}  // namespace

std::vector<CLI::App*> subcommands(const CLI::App& app) {
  std::vector<CLI::App*> commands;
  for (CLI::App* command :
       const_cast<CLI::App&>(app).get_subcommands([](CLI::App*) { return true; })) {
    if (!command->get_group().empty()) commands.push_back(command);
  }
  return commands;
}

std::vector<std::string> names_of(const std::vector<CLI::App*>& commands) {
  std::vector<std::string> names;
  std::ranges::transform(commands, std::back_inserter(names),
                         [](const CLI::App* command) { return command->get_name(); });
  return names;
}

std::string full_name(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return (parent != nullptr ? full_name(*parent) + " " : "") + command.get_name();
}

std::string synopsis(const CLI::App& command) {
  std::string result = "[OPTION]...";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    result += option->get_required() ? " " : " [";
    result += option->get_name(true);
    if (option->get_items_expected_max() > 1) result += "...";
    if (!option->get_required()) result += "]";
  }
  if (!subcommands(command).empty()) result += " COMMAND ...";
  return result;
}

std::vector<std::string> choices(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t begin = type.find('{');
  if (begin == std::string::npos) return {};
  return split(type.substr(begin + 1, type.find('}') - begin - 1), ',');
}

std::string description(const CLI::Option& option) {
  const std::string& text = option.get_description();
  const std::vector<std::string> words = choices(option);
  if (!words.empty()) return text + ": " + joined(words, ", ");
  const std::string type = option.get_type_name();
  const size_t range = type.find(" in [");
  if (range == std::string::npos) return text;
  std::string limits = type.substr(range + 5, type.find(']') - range - 5);
  return text + ": " + limits.replace(limits.find(" - "), 3, " to ");
}

std::vector<Paragraph> paragraphs(const std::string& text) {
  std::vector<Paragraph> result;
  bool is_new = true;
  for (const std::string& line : split(text, '\n')) {
    const bool is_kept = line.starts_with(' ') || line.ends_with(':');
    if (line.empty()) {
      is_new = true;
    } else if (is_new || result.back().is_filled == is_kept) {
      result.push_back({line, !is_kept});
      is_new = false;
    } else {
      result.back().text += (is_kept ? "\n" : " ") + line;
    }
  }
  return result;
}

void print_help(const CLI::App& command) {
  printf("Usage: %s %s\n\n%s.\n", full_name(command).c_str(), synopsis(command).c_str(),
         command.get_description().c_str());
  print_items("Arguments", items_of(command, true));
  print_items("Commands", items_of(subcommands(command)));
  print_items("Options", items_of(command, false));
  for (const Paragraph& paragraph : paragraphs(const_cast<CLI::App&>(command).get_footer())) {
    puts("");
    const auto lines = paragraph.is_filled ? wrapped(paragraph.text, kWidth)
                                           : std::vector<std::string>{paragraph.text};
    for (const std::string& line : lines) puts(line.c_str());
  }
}

bool print_asked_help(const CLI::App& app, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::CallForHelp*>(&error) == nullptr) return false;
  print_help(innermost(app));
  return true;
}

Failure usage_failure(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& command = innermost(app);
  const std::vector<std::string> unknown = app.remaining(true);
  if (!unknown.empty()) return unknown_words(command, unknown);
  if (!subcommands(command).empty() && !has_arguments(command)) {
    return missing_command(command);
  }
  const std::string text = error.what();
  const size_t list = text.find(" not in {");
  if (list != std::string::npos) return no_choice(command, text, list + strlen(" not in {"));
  return Failure(text + ". " + see(command), {kUsage});
}

void add_help(CLI::App& app) {
  CLI::App* command = app.add_subcommand("help", "Tell about a command");
  const auto words = std::make_shared<std::vector<std::string>>();
  command->add_option("COMMAND", *words, "Which, and which of its commands");
  command->footer("Example:\n  capictl help calls list");
  command->callback([&app, words] { help(app, *words); });
}

}  // namespace tools::capictl
